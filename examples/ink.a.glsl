//@ iChannel0 buffer a
// Advects and fades the last frame's ink and adds a stroke where the mouse is dragged. The lower left pixel
// holds the previous mouse position, so that quick strokes have no gaps.

float toSegment(vec2 p, vec2 from, vec2 to)
{
    vec2 along = to - from;
    float t = clamp(dot(p - from, along) / max(dot(along, along), 0.001), 0.0, 1.0);
    return distance(p, from + t * along);
}

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    bool pressed = iMouse.z > 0.0;
    vec3 former = iFrame > 0 ? texelFetch(iChannel0, ivec2(0), 0).xyz : vec3(0.0);
    if (ivec2(fragCoord) == ivec2(0)) {
        fragColor = vec4(iMouse.xy, pressed ? 1.0 : 0.0, 0.0);
        return;
    }
    vec2 from = max(fragCoord - flow(fragCoord, iResolution.xy, iTime), vec2(2.0));
    fragColor = iFrame > 0 ? texture(iChannel0, from / iResolution.xy) * 0.9985 : vec4(0.0);
    if (pressed) {
        vec2 start = former.z > 0.0 ? former.xy : iMouse.xy;
        float stroke = smoothstep(0.035, 0.0, toSegment(fragCoord, start, iMouse.xy) / iResolution.y);
        fragColor = mix(fragColor, vec4(dye(iTime), 1.0), stroke);
    }
}
