//@ iChannel0 keyboard filter=nearest
//@ iChannel1 sound
//@ iChannel2 camera
//@ iChannel3 media/lantern.png filter=nearest wrap=repeat
// Keyboard, sound, camera and a picture, one in each quarter.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    vec2 quarter = fract(2.0 * uv);
    vec3 color;
    if (uv.y > 0.5 && uv.x < 0.5) {
        ivec2 key = ivec2(quarter * vec2(32.0, 8.0));
        color = vec3(0.1, 0.2, 0.3) + vec3(0.9, 0.6, 0.2) * texelFetch(iChannel0, ivec2(key.x + 32 * key.y, 0), 0).r;
        color *= step(0.1, fract(quarter.x * 32.0)) * step(0.1, fract(quarter.y * 8.0));
    } else if (uv.y > 0.5) {
        float wave = texture(iChannel1, vec2(quarter.x, 0.75)).r;
        float tone = texture(iChannel1, vec2(quarter.x, 0.25)).r;
        color = mix(vec3(0.03, 0.05, 0.08), vec3(0.2, 0.7, 0.5), step(quarter.y, tone));
        color += vec3(0.9) * smoothstep(0.02, 0.01, abs(quarter.y - wave));
    } else if (uv.x < 0.5) {
        color = texture(iChannel2, quarter).rgb + vec3(0.12, 0.05, 0.15) * quarter.y;
    } else {
        color = texture(iChannel3, quarter * vec2(4.0, 2.0)).rgb;
    }
    fragColor = vec4(color, 1.0);
}
