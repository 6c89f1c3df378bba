// Ridged noise. Includes noise.glsl, which is inserted only once however often it is included.
#include "noise.glsl"

float ridges(vec2 p)
{
    float sum = 0.0;
    float weight = 0.55;
    for (int i = 0; i < 5; ++i) {
        sum += weight * (1.0 - abs(2.0 * noise(p) - 1.0));
        p = mat2(1.6, 1.2, -1.2, 1.6) * p;
        weight *= 0.45;
    }
    return sum;
}
