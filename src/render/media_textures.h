// Textures of still media: pictures, cube maps and volumes.
#pragma once

#include "document/shader_document.h"
#include "render/gl_handles.h"

namespace pixelforge {

/// Uploads the loaded medium of an input of type texture, cube map or volume, top row first; `vflip` affects
/// pictures only. Generates mipmaps if the sampler reads them. Empty for an input without a medium; throws
/// `LoadError` if GL cannot show the medium. The renderer's context is current.
GlTexture CreateMediaTexture(const PassInput& input);

}  // namespace pixelforge
