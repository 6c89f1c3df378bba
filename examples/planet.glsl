//@ name Planet
//@ author Pixelforge
//@ description A planet's surface, drawn by direction in Cube A and mapped onto a rotating ball.
//@ tags cubemap sphere
//@ iChannel0 cube

const vec3 kSun = normalize(vec3(-0.6, 0.45, 0.65));

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = (2.0 * fragCoord - iResolution.xy) / iResolution.y / 0.8;
    float r2 = dot(p, p);
    float star = fract(sin(dot(floor(fragCoord / 2.0), vec2(12.9898, 78.233))) * 43758.5453);
    vec3 color = vec3(step(0.9985, star) * fract(star * 7000.0));
    float edge = 3.0 / iResolution.y;
    vec3 normal = vec3(p, sqrt(max(0.0, 1.0 - r2)));
    float turn = iTime * 0.4;
    vec3 look = vec3(normal.x * cos(turn) - normal.z * sin(turn), normal.y,
                     normal.x * sin(turn) + normal.z * cos(turn));
    vec4 surface = texture(iChannel0, look);
    float day = max(0.0, dot(normal, kSun));
    float glint = pow(max(0.0, reflect(-kSun, normal).z), 30.0) * (1.0 - surface.a);
    vec3 ball = surface.rgb * (0.03 + 1.1 * day) + glint * vec3(1.0, 0.9, 0.7);
    vec3 air = vec3(0.25, 0.5, 1.0);
    ball += air * 0.5 * pow(1.0 - normal.z, 3.0) * (0.1 + day);
    color += air * 0.5 * exp(-12.0 * max(0.0, sqrt(r2) - 1.0)) * max(0.0, dot(normalize(vec3(p, 0.3)), kSun));
    fragColor = vec4(mix(ball, color, smoothstep(1.0 - edge, 1.0 + edge, r2)), 1.0);
}
