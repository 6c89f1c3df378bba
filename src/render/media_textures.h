// Textures of still media: pictures, cube maps and volumes.
#pragma once

#include <string>

#include "document/shader_document.h"
#include "render/gl_handles.h"

namespace pixelforge {

/// Uploads what the media step left in an input of type texture, cube map or volume, top row first; `vflip`
/// turns pictures only. Mipmaps are made at once when the sampler reads them. Empty, with one clause of
/// UTF-8 in `reason`, for a medium that GL cannot show; `reason` stays empty for an input without a medium.
/// The renderer's context is current.
GlTexture CreateMediaTexture(const PassInput& input, std::string& reason);

}  // namespace pixelforge
