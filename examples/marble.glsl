//@ name Marble
//@ author Pixelforge
//@ description A ball carved from a volume with four channels, of which it shows the first.
//@ tags volume marble
//@ iChannel0 volume media/marble.bin wrap=repeat

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = (2.0 * fragCoord - iResolution.xy) / iResolution.y * 1.15;
    float height = 1.0 - dot(p, p);
    vec3 color = vec3(0.10, 0.11, 0.13) * (1.0 - 0.3 * length(p));
    if (height > 0.0) {
        vec3 normal = vec3(p, sqrt(height));
        vec3 at = normal;
        float turn = 0.4 * iTime;
        at.xz = mat2(cos(turn), -sin(turn), sin(turn), cos(turn)) * at.xz;
        float vein = texture(iChannel0, at * 0.8 + 0.5).r;
        vec3 stone = mix(vec3(0.16, 0.30, 0.27), vec3(0.86, 0.88, 0.80), smoothstep(0.15, 0.85, vein));
        vec3 sun = normalize(vec3(-0.5, 0.7, 0.6));
        float shine = pow(max(dot(reflect(-sun, normal), vec3(0.0, 0.0, 1.0)), 0.0), 40.0);
        color = stone * (0.25 + 0.8 * max(dot(normal, sun), 0.0)) + 0.5 * shine;
        color *= smoothstep(0.0, 0.03, height);
    }
    fragColor = vec4(color, 1.0);
}
