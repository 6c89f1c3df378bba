// Land and sea of a planet by direction from its centre; alpha is land.

float hash(vec3 p)
{
    return fract(sin(dot(p, vec3(12.9898, 78.233, 37.719))) * 43758.5453);
}

float noise(vec3 p)
{
    vec3 i = floor(p);
    vec3 f = p - i;
    f = f * f * (3.0 - 2.0 * f);
    vec2 o = vec2(0.0, 1.0);
    vec4 low = vec4(hash(i), hash(i + o.yxx), hash(i + o.xyx), hash(i + o.yyx));
    vec4 high = vec4(hash(i + o.xxy), hash(i + o.yxy), hash(i + o.xyy), hash(i + o.yyy));
    vec4 z = mix(low, high, f.z);
    return mix(mix(z.x, z.y, f.x), mix(z.z, z.w, f.x), f.y);
}

float terrain(vec3 p)
{
    float sum = 0.0;
    float weight = 0.5;
    for (int i = 0; i < 7; ++i) {
        sum += weight * noise(p);
        p = p * 2.03 + 17.1;
        weight *= 0.5;
    }
    return sum;
}

void mainCubemap(out vec4 fragColor, in vec2 fragCoord, in vec3 rayOri, in vec3 rayDir)
{
    float height = terrain(rayDir * 2.2 + 4.0);
    float land = smoothstep(0.5, 0.515, height);
    vec3 sea = mix(vec3(0.01, 0.05, 0.14), vec3(0.04, 0.24, 0.36), smoothstep(0.3, 0.5, height));
    vec3 ground = mix(vec3(0.14, 0.26, 0.08), vec3(0.5, 0.38, 0.24), smoothstep(0.52, 0.66, height));
    float ice = smoothstep(0.78, 0.84, abs(rayDir.y) + 0.25 * (height - 0.5));
    fragColor = vec4(mix(mix(sea, ground, land), vec3(0.92), ice), land);
}
