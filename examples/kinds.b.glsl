//@ iChannel0 volume media/clouds.bin wrap=repeat
//@ iChannel1 buffer b
// Slices of a volume, blended with this buffer's previous frame.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    float slice = texture(iChannel0, vec3(uv * vec2(2.0, 1.0), 0.1 * iTime)).r;
    vec3 color = mix(vec3(0.12, 0.10, 0.25), vec3(0.95, 0.75, 0.55), smoothstep(0.35, 0.75, slice));
    vec3 before = iFrame == 0 ? color : texture(iChannel1, uv + vec2(0.002, 0.0)).rgb;
    fragColor = vec4(mix(before, color, 0.15), 1.0);
}
