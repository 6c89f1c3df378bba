//@ name Samplers
//@ author Pixelforge
//@ description One small picture with every filter and wrap mode: clamped above, repeated on a floor below.
//@ tags texture sampler filter wrap
//@ iChannel0 media/lantern.png filter=nearest wrap=repeat
//@ iChannel1 media/lantern.png wrap=repeat
//@ iChannel2 media/lantern.png filter=mipmap wrap=repeat
//@ iChannel3 buffer a filter=nearest
// From left to right: nearest, linear, mipmap. Only mipmaps prevent aliasing on the far floor.

const int NEAREST[kLetters] = int[](N, E, A, R, E, S, T);
const int LINEAR[kLetters] = int[](L, I, N, E, A, R, 0);
const int MIPMAP[kLetters] = int[](M, I, P, M, A, P, 0);
const int CLAMP[kLetters] = int[](C, L, A, M, P, 0, 0);
const int REPEAT[kLetters] = int[](R, E, P, E, A, T, 0);
const int VFLIP[kLetters] = int[](V, F, L, I, P, 0, 0);
const int FALSE[kLetters] = int[](F, A, L, S, E, 0, 0);

// All labels, in dots of 1/180 of the picture's height; `at` counts from the upper left corner.
float labels(vec2 at, float width)
{
    float third = width / 3.0;
    float ink = label(at - vec2(6.0, 6.0), NEAREST);
    ink += label(at - vec2(74.0, 71.0), VFLIP) + label(at - vec2(74.0, 80.0), FALSE);
    ink += label(at - vec2(third + 6.0, 6.0), LINEAR) + label(at - vec2(2.0 * third + 6.0, 6.0), MIPMAP);
    ink += label(at - vec2(6.0, 80.0), CLAMP) + label(at - vec2(6.0, 169.0), REPEAT);
    return ink;
}

vec3 floorColor(vec2 uv)
{
    float distance = 0.5 / (0.52 - uv.y);
    vec2 at = vec2((uv.x - 0.5) * iResolution.x / iResolution.y, 1.0) * distance * 2.0;
    at.y += iTime;
    vec2 dx = dFdx(at);
    vec2 dy = dFdy(at);
    vec3 color;
    if (uv.x < 1.0 / 3.0)
        color = textureGrad(iChannel0, at, dx, dy).rgb;
    else if (uv.x < 2.0 / 3.0)
        color = textureGrad(iChannel1, at, dx, dy).rgb;
    else
        color = textureGrad(iChannel2, at, dx, dy).rgb;
    return color * (1.0 - 0.8 * smoothstep(4.0, 25.0, distance));
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    vec3 color = floorColor(min(uv, vec2(1.0, 0.5)));
    if (uv.y > 0.5)
        color = texture(iChannel3, uv).rgb;
    float dots = 180.0 / iResolution.y;
    float ink = labels(vec2(fragCoord.x, iResolution.y - fragCoord.y) * dots, iResolution.x * dots);
    fragColor = vec4(mix(color, vec3(0.95), ink), 1.0);
}
