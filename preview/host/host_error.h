// The one exception of the stand-in host: what went wrong, in words, and the exit status it ends in.
#pragma once

#include <stdexcept>
#include <string>

namespace pixelforge::preview {

enum class ExitStatus : int {
    Drawn = 0,       ///< at least one frame was drawn and none failed
    Failed = 1,      ///< the module, the load or a frame failed
    WrongUsage = 2,  ///< options that cannot be followed, or no drive D: to hand the shader over
};

/// The text is UTF-8, without a program name and without a line end.
class HostError : public std::runtime_error {
public:
    HostError(ExitStatus status, const std::string& text) : std::runtime_error(text), status_(status) {}

    ExitStatus Status() const noexcept { return status_; }

private:
    ExitStatus status_;
};

}  // namespace pixelforge::preview
