//@ name Mirror ball
//@ author Pixelforge
//@ description A ball reflecting a room; the room is a single picture, a cross of six faces.
//@ tags cubemap cross reflection
//@ iChannel0 cube media/room.png filter=mipmap

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 p = (2.0 * fragCoord - iResolution.xy) / iResolution.y;
    float turn = 0.3 * iTime;
    mat2 around = mat2(cos(turn), -sin(turn), sin(turn), cos(turn));
    vec3 eye = vec3(0.0, 0.0, -3.0);
    vec3 ray = normalize(vec3(p, 1.8));
    float b = dot(eye, ray);
    float inside = b * b - dot(eye, eye) + 1.0;
    float shade = 1.0;
    if (inside > 0.0) {
        vec3 normal = eye + ray * (-b - sqrt(inside));
        shade = mix(0.65, 1.0, pow(1.0 + dot(ray, normal), 2.0));
        ray = reflect(ray, normal);
    }
    ray.xz = around * ray.xz;
    fragColor = vec4(shade * texture(iChannel0, ray).rgb, 1.0);
}
