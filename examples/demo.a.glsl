//@ iChannel0 buffer a
// The offset from each pixel to the origin of its ink, advected by the flow. Advecting offsets instead of
// colours keeps every filament sharp.

void mainImage(out vec4 way, in vec2 pixel)
{
    vec2 p = toPlane(pixel, iResolution.xy);
    if (iFrame == 0) {
        way = vec4(0.0);
        return;
    }
    vec2 velocity = flow(p, iTime);

    // While a mouse button is held, ink swirls around the pointer.
    if (iMouse.z > 0.0) {
        vec2 arm = p - toPlane(iMouse.xy, iResolution.xy);
        velocity += 4.0 * vec2(-arm.y, arm.x) * exp(-12.0 * dot(arm, arm));
    }

    vec2 stride = -velocity * iTimeDelta;
    vec2 rest = texture(iChannel0, toTexture(p + stride, iResolution.xy)).xy;
    // The ink drifts back to its origin, so the picture never dissolves into invisibly fine threads.
    way = vec4((stride + rest) * 0.990, velocity);
}
