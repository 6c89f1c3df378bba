// Distance to the nearest ribbon, in cells, and the position along its arc.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 at = toCells(fragCoord, iResolution.xy);
    vec2 cell = floor(at);
    vec2 p = fract(at) - 0.5;
    if (random(cell + floor(iTime * 0.4)) > 0.5)
        p.x = -p.x;
    vec2 corner = p.x > -p.y ? vec2(0.5) : vec2(-0.5);
    vec2 arm = p - corner;
    fragColor = vec4(abs(length(arm) - 0.5), atan(arm.y, arm.x), 0.0, 1.0);
}
