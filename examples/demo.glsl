//@ name Marbled ink
//@ author Pixelforge
//@ description Ink carried by a feedback buffer, lit by a sky from a cube pass. Hold a mouse button to stir.
//@ tags ink marbling feedback cubemap
//@ iChannel0 buffer a
//@ iChannel1 cube
// Colours the ink by its origin and lights it as a wet surface.

vec4 hash(vec2 p)
{
    vec4 q = p.xyxy * vec4(0.1031, 0.1130, 0.1737, 0.0973) + p.yxyx * vec4(0.2371, 0.0713, 0.1319, 0.1931);
    q = fract(q);
    q += dot(q, q.wzxy + 33.33);
    return fract((q.xxyz + q.yzzw) * q.zywx);
}

vec3 inkColor(float number)
{
    vec3 color = vec3(0.010, 0.110, 0.190);
    color = mix(color, vec3(0.760, 0.640, 0.450), step(0.26, number));
    color = mix(color, vec3(0.480, 0.035, 0.030), step(0.46, number));
    color = mix(color, vec3(0.780, 0.300, 0.030), step(0.64, number));
    return mix(color, vec3(0.010, 0.240, 0.230), step(0.80, number));
}

struct Paint {
    vec3 color;
    vec2 slope; // of the wet surface
};

// Drops on dark water, larger ones below smaller ones, each with rings in two colours. The columns of `warp`
// are the steps in the plane of the drops for one pixel to the right and one pixel up.
Paint paintAt(vec2 p, mat2 warp)
{
    Paint paint = Paint(vec3(0.004, 0.008, 0.030), vec2(0.0));
    for (int i = 0; i < 3; ++i) {
        float scale = 1.3 + 0.9 * float(i);
        vec2 q = p * scale + 7.3 * float(i);
        vec2 cell = floor(q);
        vec4 random = hash(cell + 17.0 * float(i));
        vec2 arm = q - cell - 0.5 - 0.2 * (random.xy - 0.5);
        float radius = length(arm) + 1e-5;
        float size = 0.27 + 0.12 * random.z;
        vec2 slant = scale * (arm / radius) * warp;
        float soft = 0.7 * length(slant) + 1e-4;

        float ring = 2.0 * abs(fract(4.5 * radius + random.w) - 0.5);
        float softRing = 9.0 * soft + 0.01;
        vec3 color = mix(inkColor(random.w), inkColor(fract(3.0 * random.w + random.z)),
                         smoothstep(0.5 - softRing, 0.5 + softRing, ring));
        color *= 0.6 + 0.4 * smoothstep(0.0, 0.06 + softRing, abs(ring - 0.5));

        float cover = 1.0 - smoothstep(size - soft, size + soft, radius);
        vec2 slope = -radius / (size * size) * slant;
        paint.color = mix(paint.color, color, cover);
        paint.slope = mix(paint.slope, slope, cover);
    }
    return paint;
}

void mainImage(out vec4 fragColor, in vec2 pixel)
{
    vec2 p = toPlane(pixel, iResolution.xy);
    vec4 way = texture(iChannel0, pixel / iResolution.xy);
    vec2 start = p + way.xy;
    Paint paint = paintAt(start, mat2(dFdx(start), dFdy(start)));

    vec2 slope = 0.018 * iResolution.y * paint.slope;
    slope = slope / (1.0 + length(slope)) + 0.22 * way.zw;
    vec3 normal = normalize(vec3(-slope, 1.0));
    vec3 view = normalize(vec3(0.30 * p, -1.6));
    vec3 mirrored = reflect(view, normal);
    // The sheet lies flat, so out of the picture is up into the sky.
    vec3 sky = texture(iChannel1, vec3(mirrored.x, mirrored.z, -mirrored.y)).rgb;

    float away = 1.0 - max(dot(-view, normal), 0.0);
    vec3 toSun = vec3(kSunDirection.x, -kSunDirection.z, kSunDirection.y);
    float light = 0.45 + 0.75 * max(dot(normal, toSun), 0.0);
    vec3 color = paint.color * light + sky * (0.05 + 0.6 * away * away);
    color *= max(1.15 - 0.13 * dot(p, p), 0.4);
    fragColor = vec4(sqrt(color / (0.85 + 0.35 * color)), 1.0);
}
