//@ name Ink
//@ author Pixelforge
//@ description Hold the left button and draw: the ink is carried along and fades.
//@ tags feedback mouse
//@ iChannel0 buffer a
// Subtractive colours: ink absorbs part of the paper's white.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    vec4 ink = texture(iChannel0, max(fragCoord, vec2(2.0)) / iResolution.xy);
    vec2 pixel = 1.5 / iResolution.xy;
    float ridge = texture(iChannel0, uv + pixel).a - texture(iChannel0, uv - pixel).a;
    vec3 paper = vec3(0.96, 0.94, 0.89);
    fragColor = vec4(mix(paper, ink.rgb / max(ink.a, 0.001) * 0.85, ink.a) + 0.5 * ridge, 1.0);
}
