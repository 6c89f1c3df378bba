// Resource counts of this process that also work under Wine.
#pragma once

#include <cstddef>

namespace pixelforge::test {

std::size_t OpenHandles();
std::size_t RunningThreads();
std::size_t WorkingSetBytes();

}  // namespace pixelforge::test
