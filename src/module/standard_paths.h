// The host framework's table of standard paths.
#pragma once

#include <cstddef>

#include "base/text.h"

namespace pixelforge {

inline constexpr std::size_t kStandardPaths = 27;

using PathField = wchar_t[kPathUnits];

/// Holds the placeholders of the host's folders until they are expanded in place, once a process.
extern PathField standardPaths[kStandardPaths];

/// Entries that the module itself uses.
inline constexpr std::size_t kModuleDataPath = 21;
inline constexpr std::size_t kCacheRootPath = 22;

}  // namespace pixelforge
