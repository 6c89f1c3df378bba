//@ name Oscilloscope
//@ author Pixelforge
//@ description The waveform of the computer's sound output on an old green screen.
//@ tags sound waveform
//@ iChannel0 sound
const vec3 GREEN = vec3(0.25, 1.0, 0.45);

const float SAMPLES = 256.0;    // points across the screen
const float HEIGHT = 0.35;

// Averages neighbours, because the texture's 7 bits would show as steps.
float wave(float x)
{
    float sum = 0.0;
    for (int i = -3; i <= 3; ++i)
        sum += texture(iChannel0, vec2(x + float(i) / 512.0, 0.75)).x;
    return (sum / 7.0 * 2.0 - 1.0) * HEIGHT;
}

float segmentDistance(vec2 p, vec2 a, vec2 b)
{
    vec2 line = b - a;
    return distance(p, a + line * clamp(dot(p - a, line) / dot(line, line), 0.0, 1.0));
}

float lineDistance(vec2 uv, float aspect)
{
    vec2 p = vec2(uv.x * aspect, uv.y - 0.5);
    float nearest = 1.0;
    float first = floor(uv.x * SAMPLES) - 2.0;
    vec2 a = vec2(first / SAMPLES * aspect, wave(first / SAMPLES));
    for (float i = 1.0; i < 6.0; ++i)
    {
        float x = (first + i) / SAMPLES;
        vec2 b = vec2(x * aspect, wave(x));
        nearest = min(nearest, segmentDistance(p, a, b));
        a = b;
    }
    return nearest;
}

float grid(vec2 p)
{
    vec2 cell = abs(fract(p * vec2(10.0, 8.0)) - 0.5);
    return smoothstep(0.485, 0.5, max(cell.x, cell.y));
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    float d = lineDistance(uv, iResolution.x / iResolution.y);
    float beam = smoothstep(0.005, 0.001, d) + 0.3 * smoothstep(0.016, 0.0, d);
    vec2 edge = uv * (1.0 - uv);
    float glass = pow(16.0 * edge.x * edge.y, 0.2);
    vec3 color = GREEN * (0.02 + 0.08 * grid(uv) + beam) * glass;
    fragColor = vec4(color, 1.0);
}
