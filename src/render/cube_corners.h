// The corners of the cube faces as the cube pass's wrapper mixes them.
#pragma once

namespace pixelforge {

struct CubeVector {
    float x;
    float y;
    float z;
};

/// Corners at the face's lower left, lower right, upper right and upper left pixel, then the ray origin.
inline constexpr int kCubeVectors = 5;

/// Side of a face in pixels.
inline constexpr int kCubeSize = 1024;

/// Faces +X, -X, +Y, -Y, +Z, -Z of a cube of side 2 seen from its centre, turned the way GL looks a cube
/// map up: a pass that stores its ray direction reads the same direction back through a samplerCube.
extern const CubeVector kCubeCorners[6][kCubeVectors];

}  // namespace pixelforge
