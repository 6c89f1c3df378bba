// What this process holds, counted in ways that work under Wine as well.
#pragma once

#include <cstddef>

namespace pixelforge::test {

std::size_t OpenHandles();
std::size_t RunningThreads();
std::size_t WorkingSetBytes();

}  // namespace pixelforge::test
