//@ iChannel0 Buffer A
// Where the ink in each pixel came from: the way back to its starting point, carried along by the flow.
// Carrying the way instead of the colour keeps every filament sharp.

void mainImage(out vec4 way, in vec2 pixel)
{
    vec2 p = toPlane(pixel, iResolution.xy);
    if (iFrame == 0) {
        way = vec4(0.0);
        return;
    }
    vec2 velocity = flow(p, iTime);

    // A held mouse button stirs: ink turns around the pointer.
    if (iMouse.z > 0.0) {
        vec2 arm = p - toPlane(iMouse.xy, iResolution.xy);
        velocity += 4.0 * vec2(-arm.y, arm.x) * exp(-12.0 * dot(arm, arm));
    }

    vec2 stride = -velocity * iTimeDelta;
    vec2 rest = texture(iChannel0, toTexture(p + stride, iResolution.xy)).xy;
    // The ink slowly finds its way home, so the picture never dissolves into threads too fine to see.
    way = vec4((stride + rest) * 0.990, velocity);
}
