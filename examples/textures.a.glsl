//@ iChannel0 media/lantern.png filter=nearest vflip=false
//@ iChannel1 media/lantern.png
//@ iChannel2 media/lantern.png filter=mipmap
// The three filters side by side; clamping extends the picture's edge. The first one is not flipped.

void mainImage(out vec4 fragColor, in vec2 fragCoord)
{
    vec2 uv = fragCoord / iResolution.xy * vec2(3.0, 2.0);
    vec2 at = vec2(fract(uv.x), uv.y - 1.0) * 1.5 - 0.25;
    vec2 dx = dFdx(fragCoord / iResolution.xy) * vec2(4.5, 3.0);
    vec2 dy = dFdy(fragCoord / iResolution.xy) * vec2(4.5, 3.0);
    if (uv.x < 1.0)
        fragColor = textureGrad(iChannel0, at, dx, dy);
    else if (uv.x < 2.0)
        fragColor = textureGrad(iChannel1, at, dx, dy);
    else
        fragColor = textureGrad(iChannel2, at, dx, dy);
}
