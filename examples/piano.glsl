//@ name Piano
//@ author Pixelforge
//@ description An octave on the keys A to K, with the black keys on W, E, T, Y and U.
//@ tags keyboard
//@ iChannel0 keyboard
//@ iChannel1 buffer a filter=nearest

const int kCodes[13] = int[](65, 87, 83, 69, 68, 70, 84, 71, 89, 72, 85, 74, 75);
const int kWhite[8] = int[](0, 2, 4, 5, 7, 9, 11, 12);
const int kBlack[5] = int[](1, 3, 6, 8, 10);
const float kBlackAt[5] = float[](1.0, 2.0, 4.0, 5.0, 6.0);

float held(int key) { return texelFetch(iChannel0, ivec2(kCodes[key], 0), 0).x; }
float glow(int key) { return texelFetch(iChannel1, ivec2(key, 0), 0).x; }

vec3 hue(int key) { return 0.55 + 0.45 * cos(6.2832 * (float(key) / 12.0 + vec3(0.0, 0.33, 0.67))); }

float box(vec2 p, vec2 low, vec2 high, float radius)
{
    vec2 d = abs(p - 0.5 * (low + high)) - 0.5 * (high - low) + radius;
    return length(max(d, 0.0)) + min(max(d.x, d.y), 0.0) - radius;
}

void paint(inout vec3 color, vec2 p, vec2 low, vec2 high, vec3 base, int key)
{
    low.y += held(key) > 0.0 ? -0.06 : 0.0;
    float pixel = 8.0 / iResolution.x;
    float inside = smoothstep(pixel, -pixel, box(p, low, high, 0.08));
    vec3 lit = mix(base, hue(key), 0.85 * glow(key)) * (0.8 + 0.2 * (p.y - low.y) / (high.y - low.y));
    color = mix(color, lit, inside);
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = fragCoord / iResolution.xy * vec2(8.0, 4.0);
    vec3 color = vec3(0.05, 0.05, 0.07);
    for (int i = 0; i < 8; ++i) {
        color += hue(kWhite[i]) * glow(kWhite[i]) * 0.5 * exp(-3.0 * length(p - vec2(float(i) + 0.5, 3.2)));
        paint(color, p, vec2(float(i) + 0.04, 0.3), vec2(float(i) + 0.96, 2.9), vec3(0.93, 0.92, 0.88), kWhite[i]);
    }
    for (int i = 0; i < 5; ++i) {
        color += hue(kBlack[i]) * glow(kBlack[i]) * 0.5 * exp(-3.0 * length(p - vec2(kBlackAt[i], 3.2)));
        paint(color, p, vec2(kBlackAt[i] - 0.3, 1.3), vec2(kBlackAt[i] + 0.3, 2.9), vec3(0.10, 0.10, 0.12), kBlack[i]);
    }
    fragColor = vec4(color, 1.0);
}
