//@ name Edges
//@ author Pixelforge
//@ description With multisampling this shader runs once per sample, which smooths its edges.
//@ tags multisample antialiasing
// Without "Multi-Sample" the only sample is at the pixel's centre.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = (2.0 * (fragCoord + gl_SamplePosition - 0.5) - iResolution.xy) / iResolution.y;
    float angle = atan(p.y, p.x) / 6.2832;
    float ring = floor(length(p) * 5.0 - iTime * 0.2);
    float ray = step(0.5, fract(angle * 16.0 + 0.07 * ring + iTime * 0.05));
    float dark = mod(ring + ray, 2.0);
    fragColor = vec4(mix(vec3(0.97, 0.93, 0.82), vec3(0.08, 0.16, 0.28), dark), 1.0);
}
