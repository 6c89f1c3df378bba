//@ name Weave
//@ author Pixelforge
//@ description Common holds code shared by Buffer A, which lays out the ribbons, and Image, which draws them.
//@ tags common pattern
//@ iChannel0 buffer a filter=nearest

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec4 ribbon = texelFetch(iChannel0, ivec2(fragCoord), 0);
    vec2 at = toCells(fragCoord, iResolution.xy);
    float pixel = kCells / iResolution.y;
    float round = sqrt(max(0.0, 1.0 - pow(ribbon.x / 0.17, 2.0)));
    float stripe = 0.5 + 0.5 * cos(ribbon.y * 4.0 * 2.0 + iTime * 2.0);
    vec3 body = palette(0.35 + 0.6 * stripe) * (0.25 + 0.75 * round);
    vec3 ground = palette(0.08 + 0.06 * random(floor(at))) * smoothstep(0.15, 0.34, ribbon.x);
    fragColor = vec4(mix(body, ground, smoothstep(0.17 - pixel, 0.17 + pixel, ribbon.x)), 1.0);
}
