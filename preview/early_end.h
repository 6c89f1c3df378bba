// Ends of the program that do not run destructors: an interrupt from the console, a crash of the module.
#pragma once

#include <atomic>

#include "preview/host/shader_drop.h"

namespace pixelforge::preview {

/// For its life, an interrupt asks the run to stop instead of ending the program, and a crash ends the
/// program with status 1 and a word on stderr. The drop is removed by then in every case, at the
/// guard's own end at the latest. One at a time.
class EarlyEndGuard {
public:
    explicit EarlyEndGuard(ShaderDrop& drop);
    ~EarlyEndGuard();
    EarlyEndGuard(const EarlyEndGuard&) = delete;
    EarlyEndGuard& operator=(const EarlyEndGuard&) = delete;

    /// Becomes true on another thread.
    const std::atomic<bool>& StopWanted() const noexcept;
};

}  // namespace pixelforge::preview
