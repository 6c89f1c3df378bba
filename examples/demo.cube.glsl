// The evening sky reflected by the wet ink. Kept cheap, because it has seven times the picture's pixels.

void mainCubemap(out vec4 color, in vec2 pixel, in vec3 origin, in vec3 direction)
{
    float height = direction.y;
    vec3 sky = mix(vec3(0.96, 0.52, 0.30), vec3(0.16, 0.25, 0.50), smoothstep(0.0, 0.75, height));
    sky *= smoothstep(-0.15, 0.10, height);

    // Long high clouds.
    float cloud = sin(5.0 * direction.z + 3.0 * sin(3.0 * direction.x + 0.3 * iTime));
    sky += vec3(0.95, 0.80, 0.70) * smoothstep(0.0, 1.0, cloud * height);

    float sun = max(dot(direction, kSunDirection), 0.0);
    float glow = sun * sun * sun * sun;
    sky += vec3(1.0, 0.72, 0.42) * (glow * glow) + 10.0 * smoothstep(0.985, 0.999, sun);
    color = vec4(sky, 1.0);
}
