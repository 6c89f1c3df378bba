// The corners of the cube faces. A face's first texture coordinate runs from corner 0 to 1, its second
// from corner 0 to 3.
#include "render/cube_corners.h"

namespace pixelforge {

const CubeVector kCubeCorners[6][kCubeVectors] = {
    {{1, 1, 1}, {1, 1, -1}, {1, -1, -1}, {1, -1, 1}, {0, 0, 0}},
    {{-1, 1, -1}, {-1, 1, 1}, {-1, -1, 1}, {-1, -1, -1}, {0, 0, 0}},
    {{-1, 1, -1}, {1, 1, -1}, {1, 1, 1}, {-1, 1, 1}, {0, 0, 0}},
    {{-1, -1, 1}, {1, -1, 1}, {1, -1, -1}, {-1, -1, -1}, {0, 0, 0}},
    {{-1, 1, 1}, {1, 1, 1}, {1, -1, 1}, {-1, -1, 1}, {0, 0, 0}},
    {{1, 1, -1}, {-1, 1, -1}, {-1, -1, -1}, {1, -1, -1}, {0, 0, 0}},
};

}  // namespace pixelforge
