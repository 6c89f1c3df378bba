// Shared by both passes: the pattern's grid, its turns and its colours.

const float kCells = 9.0;

float random(vec2 cell)
{
    return fract(sin(dot(cell, vec2(41.3, 289.1))) * 45758.5453);
}

vec3 palette(float t)
{
    vec3 night = vec3(0.05, 0.08, 0.16);
    vec3 gold = vec3(0.98, 0.72, 0.28);
    vec3 sea = vec3(0.12, 0.62, 0.66);
    return mix(mix(night, sea, smoothstep(0.0, 0.6, t)), gold, smoothstep(0.5, 1.0, t));
}

vec2 toCells(vec2 fragCoord, vec2 size)
{
    return fragCoord / size.y * kCells;
}
