//@ name Eight kinds
//@ author Pixelforge
//@ description Every kind of input in one document: keyboard, sound, camera, picture, volume, buffer, cube.
//@ tags inputs keyboard music webcam texture volume cubemap buffer
//@ iChannel0 buffer a
//@ iChannel1 buffer b
//@ iChannel2 cube
// A screen with the four plain inputs in front of the cube map, framed by the volume's buffer.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    vec2 p = (2.0 * fragCoord - iResolution.xy) / iResolution.y;
    float turn = 0.9 + 0.15 * iTime;
    vec3 direction = normalize(vec3(p, 1.4));
    direction.xz = mat2(cos(turn), -sin(turn), sin(turn), cos(turn)) * direction.xz;
    fragColor = texture(iChannel2, direction);
    vec2 screen = (uv - vec2(0.5)) / vec2(0.66, 0.66) + 0.5;
    vec2 edge = abs(screen - 0.5);
    float outside = max(edge.x, edge.y);
    if (outside < 0.5)
        fragColor = texture(iChannel0, screen);
    else if (outside < 0.56)
        fragColor = texture(iChannel1, uv);
}
