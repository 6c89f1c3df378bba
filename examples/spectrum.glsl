//@ name Spectrum
//@ author Pixelforge
//@ description The computer's sound output: a bar per frequency band with a slowly falling peak.
//@ tags sound spectrum analyser
//@ iChannel0 sound
//@ iChannel1 buffer a filter=nearest
// The lower row of the sound texture (512 x 2) is the spectrum up to 20 kHz, the upper one the waveform.
const float BARS = 64.0;
const float FLOOR = 0.28;    // height of the bars' base line
const vec3 LOW = vec3(0.05, 0.35, 0.95);
const vec3 HIGH = vec3(1.0, 0.25, 0.35);

vec3 barColor(float height)
{
    return mix(LOW, HIGH, smoothstep(0.1, 0.95, height));
}

// Brightness of the bars at a height above the floor; mirrored below it.
vec3 barLight(float x, float height)
{
    float bar = floor(x * BARS);
    vec2 level = texelFetch(iChannel1, ivec2(int(bar), 0), 0).xy;
    float across = abs(fract(x * BARS) - 0.5);
    float body = smoothstep(0.42, 0.38, across);
    float segments = smoothstep(0.06, 0.14, abs(fract(height * 40.0) - 0.5) * 0.5 + 0.02);
    float lit = step(height, level.x) * body * segments;
    float cap = smoothstep(0.012, 0.004, abs(height - level.y - 0.012)) * body;
    return barColor(height) * (0.06 * body + lit) + vec3(0.9) * cap;
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    float height = (uv.y - FLOOR) / (0.95 - FLOOR);
    vec3 color = vec3(0.015, 0.02, 0.04);
    if (height >= 0.0)
        color += barLight(uv.x, height);
    else
        color += barLight(uv.x, -height * 1.8) * 0.25 * smoothstep(0.0, FLOOR, uv.y);
    float wave = texture(iChannel0, vec2(uv.x, 0.75)).x - 0.5;
    float thread = abs(uv.y - 0.1 - wave * 0.12);
    color += vec3(0.3, 0.8, 0.7) * smoothstep(0.006, 0.0, thread) * 0.7;
    fragColor = vec4(color, 1.0);
}
