// Ends the program properly on console interrupts and crashes of the module.
#pragma once

#include <atomic>

namespace pixelforge::preview {

/// From now on an interrupt sets the returned flag, from another thread, instead of ending the program; a
/// second one, or a crash, ends it with status 1 and a message on stderr. May be called again.
const std::atomic<bool>& HandleAborts();

}  // namespace pixelforge::preview
