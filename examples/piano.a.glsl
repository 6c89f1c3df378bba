//@ iChannel0 keyboard
//@ iChannel1 buffer a filter=nearest
// One pixel per key of the octave: the brightness of its fading glow.

const int kCodes[13] = int[](65, 87, 83, 69, 68, 70, 84, 71, 89, 72, 85, 74, 75);

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    ivec2 at = ivec2(fragCoord);
    float glow = 0.0;
    if (at.y == 0 && at.x < 13) {
        float held = texelFetch(iChannel0, ivec2(kCodes[at.x], 0), 0).x;
        float former = iFrame > 0 ? texelFetch(iChannel1, at, 0).x : 0.0;
        glow = max(held, former * 0.95);
    }
    fragColor = vec4(glow, 0.0, 0.0, 1.0);
}
