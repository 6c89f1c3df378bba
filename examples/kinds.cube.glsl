//@ iChannel0 cube media/evening.png
// The evening sky under a grid of directions.

void mainCubemap(out vec4 fragColor, in vec2 fragCoord, in vec3 rayOri, in vec3 rayDir)
{
    vec3 grid = abs(fract(rayDir * 4.0) - 0.5);
    float line = smoothstep(0.47, 0.49, max(grid.x, max(grid.y, grid.z)));
    fragColor = vec4(mix(texture(iChannel0, rayDir).rgb, vec3(0.1, 0.5, 0.6), 0.5 * line), 1.0);
}
