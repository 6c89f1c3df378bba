// Cube A: what it stores for a direction is read back for the same direction.
#include <gtest/gtest.h>

#include "tests/render/gl_stage.h"

namespace pixelforge::test {
namespace {

using CubePass = StageTest;

TEST_F(CubePass, AllSixFacesStoreTheirRayDirection) {
    stage_.Pass(PassKind::CubeA,
                "void mainCubemap(out vec4 c, in vec2 p, in vec3 ro, in vec3 rd) {\n"
                "    c = vec4(rd * 0.5 + 0.5, iResolution.x / 1024.0 - length(ro)); }\n");
    // Directions all around; a colour that is wrong by one level shows as 64.
    stage_.Body(PassKind::Image,
                "float turn = 6.28318530718 * p.x / 64.0; float rise = 3.14159265359 * (p.y / 48.0 - 0.5);\n"
                "vec3 d = vec3(cos(turn) * cos(rise), sin(rise), sin(turn) * cos(rise));\n"
                "vec4 seen = texture(iChannel0, d);\n"
                "c = vec4(abs(seen.rgb - (d * 0.5 + 0.5)) * 64.0, seen.a);",
                {Reads(0, PassKind::CubeA, kFilterLinear)});
    ASSERT_TRUE(stage_.Build()) << stage_.Reason();
    const Picture picture = stage_.Frame();
    for (int i = 0; i < 64 * 48; ++i) {
        const Color error = picture.At(i % 64, i / 64);
        EXPECT_TRUE(error.r <= 64 && error.g <= 64 && error.b <= 64 && error.a == 255)
            << testing::PrintToString(error) << " at " << i % 64 << ", " << i / 64;
    }
}

TEST_F(CubePass, ReadsItsOwnLastFrameAndLaterBuffersTheirs) {
    stage_.Body(PassKind::BufferA, "c = texture(iChannel2, vec3(0, 0, 1));", {Reads(2, PassKind::CubeA)});
    stage_.Pass(PassKind::CubeA,
                "void mainCubemap(out vec4 c, in vec2 p, in vec3 ro, in vec3 rd) {\n"
                "    c = texture(iChannel1, rd) + vec4(1.0 / 16.0); }\n",
                {Reads(1, PassKind::CubeA)});
    stage_.Body(PassKind::Image,
                "c = vec4(texture(iChannel0, vec3(-1, 0.5, 0)).r, T(1).r, 0, 0) * 16.0 / 255.0;",
                {Reads(0, PassKind::CubeA), Reads(1, PassKind::BufferA)});
    ASSERT_TRUE(stage_.Build()) << stage_.Reason();
    EXPECT_EQ(stage_.Frame().At(3, 4), (Color{1, 0, 0, 0}));
    EXPECT_EQ(stage_.Frame().At(3, 4), (Color{2, 1, 0, 0}));
}

}  // namespace
}  // namespace pixelforge::test
