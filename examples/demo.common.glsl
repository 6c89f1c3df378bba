// Shared by all passes: coordinates, the flow and the sun's position.

const vec3 kSunDirection = vec3(0.3887, 0.8583, -0.3348);

// From pixels to coordinates centred in a picture two units high, and from those to texture coordinates.
vec2 toPlane(vec2 pixel, vec2 size) { return (2.0 * pixel - size) / size.y; }
vec2 toTexture(vec2 p, vec2 size) { return 0.5 + 0.5 * p * vec2(size.y / size.x, 1.0); }

// Divergence-free velocity: the curl of several layers of waves, each finer and rotated further.
vec2 flow(vec2 p, float time)
{
    mat2 turn = mat2(0.8, 0.6, -0.6, 0.8);
    mat2 layer = turn;
    vec2 slope = vec2(0.0);
    float scale = 1.7;
    float weight = 0.5;
    for (int i = 0; i < 4; ++i) {
        vec2 q = scale * (layer * p) + vec2(1.3, 4.1) * float(i);
        float drift = time * (0.6 + 0.25 * float(i));
        float inner = 1.4 * q.y - drift;
        float outer = cos(q.x + drift + 1.1 * sin(inner));
        slope += weight * (outer * vec2(1.0, 1.54 * cos(inner))) * layer;
        layer = turn * layer;
        scale *= 1.75;
        weight *= 0.62;
    }
    return vec2(slope.y, -slope.x);
}
