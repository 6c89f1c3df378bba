// Random numbers of the native build.
#include <sys/random.h>

#include <cstdlib>
#include <cstring>

#include "base/random.h"

namespace pixelforge {

std::uint32_t SystemRandom() noexcept {
    unsigned char bytes[4] = {};
    if (getrandom(bytes, sizeof(bytes), 0) != static_cast<ssize_t>(sizeof(bytes))) {
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(std::rand());
        }
    }
    std::uint32_t number = 0;
    std::memcpy(&number, bytes, sizeof(number));
    return number;
}

}  // namespace pixelforge
