//@ name Asserts
//@ author Pixelforge
//@ description Four conditions, each true in only part of the picture; where one fails, its colour shows.
//@ tags debugging assert
// Kinds 0 to 3 give red, green, blue and yellow.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    float wave = 0.5 + 0.35 * sin(9.0 * uv.x + iTime);
    vec2 p = fract(uv * vec2(4.0, 1.0)) - 0.5;
    p.x *= iResolution.x / iResolution.y / 4.0;
    int part = int(uv.x * 4.0);
    fragColor = vec4(vec3(0.12 + 0.1 * uv.y), 1.0);
    fragColor.rgb += 0.5 * smoothstep(0.01, 0.0, abs(uv.y - wave));
    pf_assert(part != 0 || length(p) > 0.1, 0);
    pf_assert(part != 1 || uv.y < wave, 1);
    pf_assert(part != 2 || abs(p.x) + abs(p.y) > 0.12, 2);
    pf_assert(part != 3 || fract(8.0 * (p.x + p.y) + iTime) > 0.25, 3);
}
