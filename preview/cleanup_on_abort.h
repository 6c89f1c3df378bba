// Clean-up when the program ends without running destructors: console interrupts and crashes of the module.
#pragma once

#include <atomic>

#include "preview/host/staged_shader.h"

namespace pixelforge::preview {

/// While alive, an interrupt sets `StopRequested` instead of ending the program; a second one, or a crash,
/// ends it with status 1 and a message on stderr. In any case the staged shader is removed, at the latest by
/// the destructor. Only one may exist at a time.
class CleanupOnAbort {
public:
    explicit CleanupOnAbort(StagedShader& shader);
    ~CleanupOnAbort();
    CleanupOnAbort(const CleanupOnAbort&) = delete;
    CleanupOnAbort& operator=(const CleanupOnAbort&) = delete;

    static const std::atomic<bool>& StopRequested() noexcept;
};

}  // namespace pixelforge::preview
