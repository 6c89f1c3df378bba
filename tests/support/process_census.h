// Resource counts of this process that also work under Wine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

namespace pixelforge::test {

std::size_t OpenHandles();
std::set<std::uint32_t> ThreadIds();
std::size_t WorkingSetBytes();

}  // namespace pixelforge::test
