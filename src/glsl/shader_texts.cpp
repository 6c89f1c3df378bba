// The fixed GLSL that surrounds an author's code, and the vertex shader.
#include "glsl/shader_texts.h"

#include "glsl/pass_source.h"

namespace pixelforge {

// Shaders of the service use `char` and `packed` as ordinary names; both are reserved in desktop GLSL.
const char* const kPrefixText = R"glsl(#define HW_PERFORMANCE 1
#define char char_sYjan77j
#define packed packed_sYjan77j
uniform vec3      iResolution;           // viewport resolution (in pixels)
uniform float     iTime;                 // shader playback time (in seconds)
uniform float     iTimeDelta;            // render time (in seconds)
uniform int       iFrame;                // shader playback frame
uniform float     iFrameRate;            // frames per second
uniform float     iChannelTime[4];       // channel playback time (in seconds)
uniform vec3      iChannelResolution[4]; // channel resolution (in pixels)
uniform vec4      iMouse;                // mouse pixel coords. xy: current (if MLB down), zw: click
uniform vec4      iDate;                 // (year, month, day, time in seconds)
uniform float     iSampleRate;           // sound sample rate (i.e., 44100)

#if __VERSION__ >= 420
    out vec4 pf_FragColor;
    vec4 pf_AssertColor = vec4(1e20);
    #define gl_FragColor pf_FragColor
#endif

void pf_assert(bool cond, int v) {
    if (!cond) {
        if (v == 0) pf_AssertColor.x = -1.0;
        else if (v == 1) pf_AssertColor.y = -1.0;
        else if (v == 2) pf_AssertColor.z = -1.0;
        else pf_AssertColor.w = -1.0;
    }
}

void pf_assert(bool cond) {
    if (!cond) pf_AssertColor.x = -1.0;
}
)glsl";

const char* const kImageWrapper = R"glsl(void main(void)
{
    vec4 color = vec4(0.0);
    mainImage(color, gl_FragCoord.xy);
    if (pf_AssertColor.x < 0.0) color = vec4(1.0, 0.0, 0.0, 1.0);
    if (pf_AssertColor.y < 0.0) color = vec4(0.0, 1.0, 0.0, 1.0);
    if (pf_AssertColor.z < 0.0) color = vec4(0.0, 0.0, 1.0, 1.0);
    if (pf_AssertColor.w < 0.0) color = vec4(1.0, 1.0, 0.0, 1.0);
    gl_FragColor = color;
}
)glsl";

const char* const kCubeWrapper = R"glsl(uniform vec3 cmCornerVertices[5];

void main(void)
{
    vec4 color = vec4(1e20);
    vec3 ro = cmCornerVertices[4];
    vec2 uv = gl_FragCoord.xy / iResolution.xy;
    vec3 rd = normalize( mix( mix( cmCornerVertices[0], cmCornerVertices[1], uv.x ),
                              mix( cmCornerVertices[3], cmCornerVertices[2], uv.x ), uv.y ) - ro );
    mainCubemap(color, gl_FragCoord.xy, ro, rd);
    gl_FragColor = color;
}
)glsl";

const char* const kVertexShaderSource = R"glsl(#version 330 core
layout(location = 0) in vec2 position;
layout(location = 1) in vec2 inTexCoord;

out vec2 texCoord;
void main() {
    texCoord = inTexCoord;
    gl_Position = vec4(position.x, position.y, 0.0f, 1.0f);
}
)glsl";

}  // namespace pixelforge
