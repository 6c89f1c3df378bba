//@ name Camera mirror
//@ author Pixelforge
//@ description The camera as a mirror, surrounded by a kaleidoscope of its picture.
//@ tags camera mirror
//@ iChannel0 camera
const float SECTORS = 8.0;
const float PI = 3.14159265;

vec3 camera(vec2 uv)
{
    return texture(iChannel0, vec2(1.0 - uv.x, uv.y)).rgb;
}

vec3 kaleidoscope(vec2 p)
{
    float angle = atan(p.y, p.x) + iTime * 0.1;
    float sector = 2.0 * PI / SECTORS;
    angle = abs(mod(angle, sector) - sector * 0.5);
    vec2 q = length(p) * vec2(cos(angle), sin(angle));
    return camera(abs(fract(0.5 + q * 0.45) * 2.0 - 1.0));
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = (2.0 * fragCoord - iResolution.xy) / iResolution.y;
    vec2 frame = vec2(1.0667, 0.6);    // half the mirror's width and height, 16:9
    vec2 outside = abs(p) - frame;
    float edge = max(outside.x, outside.y);
    vec3 color = kaleidoscope(p) * 0.35;
    if (edge < 0.0)
        color = camera(p / frame * 0.5 + 0.5);
    color = mix(color, vec3(0.85, 0.8, 0.7), smoothstep(0.03, 0.02, abs(edge)));
    fragColor = vec4(color, 1.0);
}
