//@ name Cloud bank
//@ author Pixelforge
//@ description Clouds ray-marched through a seamlessly repeating volume with one channel.
//@ tags volume clouds
//@ iChannel0 volume media/clouds.bin wrap=repeat

float density(vec3 at)
{
    float body = texture(iChannel0, at * 0.13 + vec3(0.0, 0.0, 0.01 * iTime)).r;
    body += 0.35 * (texture(iChannel0, at * 0.41).r - 0.5);
    return smoothstep(0.40, 0.68, body - 0.15 * at.y * at.y);
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = (2.0 * fragCoord - iResolution.xy) / iResolution.y;
    vec3 ray = normalize(vec3(p + vec2(0.0, -0.25), 1.6));
    vec3 eye = vec3(0.2 * iTime, 1.7, 0.0);
    vec3 sun = normalize(vec3(0.6, 0.5, 0.6));
    vec3 color = mix(vec3(0.78, 0.86, 0.94), vec3(0.25, 0.45, 0.78), clamp(ray.y + 0.4, 0.0, 1.0));
    color += vec3(0.5, 0.35, 0.15) * pow(max(dot(ray, sun), 0.0), 16.0);
    float through = 1.0;
    vec3 light = vec3(0.0);
    for (int i = 0; i < 32; ++i) {
        vec3 at = eye + ray * (1.2 + 0.3 * float(i));
        if (abs(at.y) > 1.5)
            continue;
        float here = density(at);
        if (here <= 0.0)
            continue;
        float lit = clamp(here - density(at + 0.35 * sun) + 0.55, 0.0, 1.0);
        vec3 tone = mix(vec3(0.38, 0.43, 0.56), vec3(1.0, 0.96, 0.88), lit);
        light += through * here * 0.45 * tone;
        through *= 1.0 - here * 0.45;
    }
    fragColor = vec4(color * through + light, 1.0);
}
