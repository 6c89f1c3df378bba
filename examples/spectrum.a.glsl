//@ iChannel0 sound
//@ iChannel1 buffer a filter=nearest
// One pixel per bar: its level and its falling peak. Bars widen towards the treble.
const float BARS = 64.0;
const float FALL = 0.006;    // of the full height, per frame

float band(float x)
{
    return pow(x, 1.6);
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    float bar = floor(fragCoord.x);
    if (bar >= BARS || fragCoord.y >= 1.0)
    {
        fragColor = vec4(0.0);
        return;
    }
    float level = 0.0;
    for (int i = 0; i < 4; ++i)
    {
        float x = band((bar + (float(i) + 0.5) / 4.0) / BARS);
        level = max(level, texture(iChannel0, vec2(x, 0.25)).x);
    }
    float before = iFrame == 0 ? 0.0 : texelFetch(iChannel1, ivec2(int(bar), 0), 0).y;
    fragColor = vec4(level, max(level, before - FALL), 0.0, 1.0);
}
