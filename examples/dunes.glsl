//@ name Dunes
//@ author Pixelforge
//@ description Noise and ridges come from files in the include folder.
//@ tags include landscape
#include "noise.glsl"
#include "ridges.glsl"

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.y;
    float high = fragCoord.y / iResolution.y;
    vec3 color = mix(vec3(1.0, 0.72, 0.45), vec3(0.25, 0.35, 0.6), high);
    color += 0.9 * vec3(1.0, 0.85, 0.6) * smoothstep(0.075, 0.07, distance(uv, vec2(1.25, 0.74)));
    for (int layer = 0; layer < 6; ++layer) {
        float near = float(layer) / 5.0;
        vec2 at = vec2(uv.x * mix(1.1, 2.2, near) + float(layer) * 7.3 + iTime * near, float(layer) * 3.1);
        float top = mix(0.62, 0.05, near) + 0.28 * (ridges(at * 0.8) - 0.45);
        vec3 sand = mix(vec3(0.75, 0.5, 0.45), vec3(0.35, 0.12, 0.1), near);
        sand *= 0.85 + 0.3 * noise(vec2(at.x * 9.0, high * 60.0));
        color = mix(color, sand, smoothstep(0.0, 3.0 / iResolution.y, top - high));
    }
    fragColor = vec4(color, 1.0);
}
