//@ name Samplers
//@ author Pixelforge
//@ description One small picture with every filter and wrap mode: clamped above, repeated on a floor below.
//@ tags texture sampler filter wrap
//@ iChannel0 media/lantern.png filter=nearest wrap=repeat
//@ iChannel1 media/lantern.png wrap=repeat
//@ iChannel2 media/lantern.png filter=mipmap wrap=repeat
//@ iChannel3 buffer a filter=nearest
// From left to right: nearest, linear, mipmap. Only mipmaps prevent aliasing on the far floor.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy;
    if (uv.y > 0.5) {
        fragColor = texture(iChannel3, uv);
        return;
    }
    float distance = 0.5 / (0.52 - uv.y);
    vec2 floorAt = vec2((uv.x - 0.5) * iResolution.x / iResolution.y, 1.0) * distance * 2.0;
    floorAt.y += iTime;
    vec2 dx = dFdx(floorAt);
    vec2 dy = dFdy(floorAt);
    if (uv.x < 1.0 / 3.0)
        fragColor = textureGrad(iChannel0, floorAt, dx, dy);
    else if (uv.x < 2.0 / 3.0)
        fragColor = textureGrad(iChannel1, floorAt, dx, dy);
    else
        fragColor = textureGrad(iChannel2, floorAt, dx, dy);
    fragColor.rgb *= 1.0 - 0.8 * smoothstep(4.0, 25.0, distance);
}
