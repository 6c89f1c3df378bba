// The texts of GL error codes.
#include "render/gl_error_text.h"

#include <iterator>

namespace pixelforge {

const char* GlErrorText(std::uint32_t code) noexcept {
    constexpr std::uint32_t kFirst = 1280;
    static constexpr const char* kTexts[] = {
        "GL_INVALID_ENUM: An unacceptable value is specified for an enumerated argument.",
        "GL_INVALID_VALUE: A numeric argument is out of range.",
        "GL_INVALID_OPERATION: The specified operation is not allowed in the current state.",
        "GL_STACK_OVERFLOW: This command would cause a stack overflow.",
        "GL_STACK_UNDERFLOW: This command would cause a stack underflow.",
        "GL_OUT_OF_MEMORY: There is not enough memory left to execute the command.",
        "GL_INVALID_FRAMEBUFFER_OPERATION: The framebuffer object is not complete.",
    };
    if (code < kFirst || code - kFirst >= std::size(kTexts)) {
        return "Unknown error code.";
    }
    return kTexts[code - kFirst];
}

}  // namespace pixelforge
