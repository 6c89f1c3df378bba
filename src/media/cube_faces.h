// Names of the files of a cube map that is kept as one picture for each face.
#pragma once

#include <cstdint>

#include "base/text.h"

namespace pixelforge {

/// Face 0 is `path` itself; face i from 1 to 5 has "_i" between the file's name and its extension. False,
/// with `out` cleared, for a name that does not fit or another face.
bool CubeFacePath(const wchar_t* path, std::uint32_t face, wchar_t (&out)[kPathUnits]);

}  // namespace pixelforge
