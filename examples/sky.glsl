//@ name Evening
//@ author Pixelforge
//@ description A panorama of the sea at sunset, a cube map from six files. Drag the mouse to look around.
//@ tags cubemap sky
//@ iChannel0 cube media/evening.png

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = (2.0 * fragCoord - iResolution.xy) / iResolution.y;
    float turn = 0.7 + 0.2 * iTime + iMouse.x / iResolution.x * 6.28;
    vec3 direction = normalize(vec3(p + vec2(0.0, 0.25), 1.3));
    direction.xz = mat2(cos(turn), -sin(turn), sin(turn), cos(turn)) * direction.xz;
    vec3 color = texture(iChannel0, direction).rgb;
    fragColor = vec4(color, 1.0);
}
