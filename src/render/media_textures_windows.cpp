// Uploads of still media.
#include "render/media_textures.h"

#include <windows.h>

#include <GL/glew.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "base/bitmap.h"
#include "media/volume_file.h"
#include "render/bitmap_packing.h"
#include "render/gl_diagnostics.h"

namespace pixelforge {
namespace {

struct PixelFormat {
    GLint internalFormat;
    GLenum format;
};

/// The components are bytes.
std::optional<PixelFormat> FormatOfPicture(std::int32_t bitsPerPixel) noexcept {
    switch (bitsPerPixel) {
        case 32:
            return PixelFormat{GL_RGBA8, GL_BGRA};
        case 24:
            return PixelFormat{GL_RGB8, GL_BGR};
        case 8:
            return PixelFormat{GL_R8, GL_RED};
        default:
            return std::nullopt;
    }
}

struct VolumeFormat {
    GLint internalFormat;
    GLenum type;
};

/// Always uploaded as GL_RED: of four channels too, the driver sees one byte a voxel.
VolumeFormat FormatOfVolume(std::uint8_t channels) noexcept {
    switch (channels) {
        case 1:
            return {GL_R8, GL_UNSIGNED_BYTE};
        case 2:
            return {GL_R16, GL_UNSIGNED_SHORT};
        default:
            return {GL_RGBA, GL_UNSIGNED_BYTE};
    }
}

/// A new texture, bound to its target for one scope, for uploads of tight rows.
class Upload {
public:
    explicit Upload(GLenum target) : target_(target), texture_(NewTexture()) {
        glBindTexture(target_, texture_.Get());
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    }
    Upload(const Upload&) = delete;
    Upload& operator=(const Upload&) = delete;
    ~Upload() { glBindTexture(target_, 0); }

    GlTexture Finish(bool mipmapped) {
        if (mipmapped) {
            glGenerateMipmap(target_);
        }
        ReportGlError();
        return std::move(texture_);
    }

private:
    GLenum target_;
    GlTexture texture_;
};

bool UploadPicture(GLenum target, HBITMAP bitmap, bool flip, std::string& reason) {
    const SectionPixels pixels = PixelsOf(bitmap);
    GLint largest = 0;
    glGetIntegerv(target == GL_TEXTURE_2D ? GL_MAX_TEXTURE_SIZE : GL_MAX_CUBE_MAP_TEXTURE_SIZE, &largest);
    if (pixels.width > largest || pixels.height > largest) {
        reason = "the picture is larger than the driver's limit of " + std::to_string(largest);
        return false;
    }
    const auto format = FormatOfPicture(pixels.bitsPerPixel);
    if (!format) {
        reason = std::to_string(pixels.bitsPerPixel) + "-bit pictures cannot be shown";
        return false;
    }
    const HeapBytes packed = PackBitmapRows(bitmap, flip);
    if (!packed) {
        reason = "there is no memory for the picture";
        return false;
    }
    glTexImage2D(target, 0, format->internalFormat, pixels.width, pixels.height, 0, format->format,
                 GL_UNSIGNED_BYTE, packed.get());
    return true;
}

GlTexture CreatePictureTexture(const PassInput& input, std::string& reason) {
    Upload upload(GL_TEXTURE_2D);
    return UploadPicture(GL_TEXTURE_2D, input.faces[0].Get(), input.sampler.vflip != 0, reason)
               ? upload.Finish(input.sampler.filter == kFilterMipmap)
               : GlTexture();
}

/// A cube shows nothing unless its faces are squares of one size and depth.
bool IsWholeCube(const SectionPixels (&faces)[6]) noexcept {
    for (const SectionPixels& face : faces) {
        if (face.bytes.empty() || face.width != face.height || face.width != faces[0].width ||
            face.bitsPerPixel != faces[0].bitsPerPixel) {
            return false;
        }
    }
    return true;
}

GlTexture CreateCubeTexture(const PassInput& input, std::string& reason) {
    SectionPixels faces[6];
    for (std::size_t face = 0; face < std::size(faces); ++face) {
        faces[face] = PixelsOf(input.faces[face].Get());
    }
    if (!IsWholeCube(faces)) {
        reason = "its six faces are not all there, or no squares of one size and depth";
        return {};
    }
    Upload upload(GL_TEXTURE_CUBE_MAP);
    for (GLenum face = 0; face < std::size(faces); ++face) {
        if (!UploadPicture(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, input.faces[face].Get(), false, reason)) {
            return {};
        }
    }
    return upload.Finish(input.sampler.filter == kFilterMipmap);
}

bool UploadVolume(const VolumeHeader& size, const std::uint8_t* voxels) {
    const VolumeFormat format = FormatOfVolume(size.channels);
    for (int older = 0; older < 8 && ReportGlError() != GL_NO_ERROR; ++older) {
    }
    glTexImage3D(GL_TEXTURE_3D, 0, format.internalFormat, static_cast<GLsizei>(size.width),
                 static_cast<GLsizei>(size.height), static_cast<GLsizei>(size.depth), 0, GL_RED, format.type,
                 voxels);
    return ReportGlError() == GL_NO_ERROR;
}

GlTexture CreateVolumeTexture(const PassInput& input, std::string& reason) {
    GLint largest = 0;
    glGetIntegerv(GL_MAX_3D_TEXTURE_SIZE, &largest);
    const auto header = ReadVolumeHeader({input.volume.get(), input.volumeBytes});
    const char* const fault =
        header ? FaultOfVolume(*header, input.volumeBytes, static_cast<std::uint32_t>(std::max(largest, 0)))
               : "it is no volume";
    if (fault) {
        reason = fault;
        return {};
    }
    Upload upload(GL_TEXTURE_3D);
    if (!UploadVolume(*header, input.volume.get() + kVolumeHeaderBytes)) {
        reason = "the driver refuses the volume";
        return {};
    }
    return upload.Finish(input.sampler.filter == kFilterMipmap);
}

}  // namespace

GlTexture CreateMediaTexture(const PassInput& input, std::string& reason) {
    if (input.ctype == ChannelType::Texture && input.faces[0]) {
        return CreatePictureTexture(input, reason);
    }
    if (input.ctype == ChannelType::CubeMap && input.faces[0]) {
        return CreateCubeTexture(input, reason);
    }
    if (input.ctype == ChannelType::Volume && input.volume) {
        return CreateVolumeTexture(input, reason);
    }
    return {};
}

}  // namespace pixelforge
