// The stand-in host's only exception type: a message for the user and the exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace pixelforge::preview {

enum class ExitStatus : int {
    Drawn = 0,       ///< at least one frame was drawn and none failed
    Failed = 1,      ///< the module, the load or a frame failed
    WrongUsage = 2,  ///< invalid options, or no writable drive D: to stage the shader on
};

/// The message is UTF-8, without the program's name and without a line end.
class HostError : public std::runtime_error {
public:
    HostError(ExitStatus status, const std::string& text) : std::runtime_error(text), status_(status) {}

    ExitStatus Status() const noexcept { return status_; }

private:
    ExitStatus status_;
};

}  // namespace pixelforge::preview
