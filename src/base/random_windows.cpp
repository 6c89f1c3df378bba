// Random numbers from the system's preferred generator.
#include <windows.h>

#include <bcrypt.h>

#include <cstdlib>

#include "base/random.h"

namespace pixelforge {

std::uint32_t SystemRandom() noexcept {
    UCHAR bytes[4] = {};
    if (BCryptGenRandom(nullptr, bytes, sizeof(bytes), BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0) {
        for (UCHAR& byte : bytes) {
            byte = static_cast<UCHAR>(std::rand());
        }
    }
    return bytes[0] | (std::uint32_t{bytes[1]} << 8) | (std::uint32_t{bytes[2]} << 16) |
           (std::uint32_t{bytes[3]} << 24);
}

}  // namespace pixelforge
