// The point from which ink flows here: a slow swirl, plus stirring by the mouse.

vec2 flow(vec2 position, vec2 size, float time)
{
    vec2 p = position / size.y * 4.0;
    vec2 swirl = vec2(sin(p.y * 1.7 + time * 0.6) + 0.5 * sin(p.y * 3.9 - time),
                      sin(p.x * 1.5 - time * 0.5) + 0.5 * sin(p.x * 4.3 + time));
    return swirl * size.y / 420.0;
}

vec3 dye(float time)
{
    return 0.5 + 0.5 * cos(6.2832 * (time * 0.35 + vec3(0.0, 0.33, 0.67)));
}
