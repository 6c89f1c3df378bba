// Textures of still media: pictures, cube maps and volumes.
#pragma once

#include "document/shader_document.h"
#include "render/gl_handles.h"

namespace pixelforge {

/// Uploads the loaded medium of an input of type texture, cube map or volume, top row first; `vflip` affects
/// pictures only. Generates no mipmaps. Throws `LoadError` if GL cannot show the medium. The renderer's
/// context is current.
GlTexture CreateMediaTexture(const PassInput& input);

}  // namespace pixelforge
