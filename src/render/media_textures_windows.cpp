// Uploads of still media.
#include "render/media_textures.h"

#include <windows.h>

#include <GL/glew.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include "base/bitmap.h"
#include "base/load_error.h"
#include "media/volume_file.h"
#include "render/bitmap_packing.h"
#include "render/gl_diagnostics.h"

namespace pixelforge {
namespace {

struct PixelFormat {
    GLint internalFormat;
    GLenum format;
};

/// The type is always GL_UNSIGNED_BYTE.
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

/// The upload format is always GL_RED: even with four channels the driver reads one byte per voxel.
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

/// Rows that are copied at a time where their order is reversed.
constexpr std::int32_t kBandRows = 32;

/// A new texture, bound for one scope to receive uploads.
class Upload {
public:
    Upload(GLenum target, bool mipmapped) : target_(target), texture_(GlTexture::Create()) {
        glBindTexture(target_, texture_.Get());
        if (!mipmapped) {
            // The default filter reads mipmaps, for which drivers reserve memory at the upload.
            glTexParameteri(target_, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        }
    }
    Upload(const Upload&) = delete;
    Upload& operator=(const Upload&) = delete;
    ~Upload() {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glBindTexture(target_, 0);
    }

    GlTexture Finish() {
        ReportGlError();
        return std::move(texture_);
    }

private:
    GLenum target_;
    GlTexture texture_;
};

/// In bands, because a reversed copy of the whole picture would need as much memory again.
void UploadReversed(GLenum target, const SectionPixels& pixels, GLenum format) {
    const auto stride = static_cast<std::size_t>(SectionRowBytes(pixels.width, pixels.bitsPerPixel));
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    for (std::int32_t end = pixels.height; end > 0; end -= kBandRows) {
        SectionPixels band = pixels;
        band.height = std::min(end, kBandRows);
        const std::int32_t first = end - band.height;
        band.bytes = pixels.bytes.subspan(static_cast<std::size_t>(first) * stride,
                                          static_cast<std::size_t>(band.height) * stride);
        const HeapBytes packed = PackBitmapRows(band, true);
        if (!packed) {
            throw LoadError("not enough memory for the picture");
        }
        glTexSubImage2D(target, 0, 0, pixels.height - end, pixels.width, band.height, format,
                        GL_UNSIGNED_BYTE, packed.get());
    }
}

void UploadPicture(GLenum target, const SectionPixels& pixels, bool flip) {
    GLint largest = 0;
    glGetIntegerv(target == GL_TEXTURE_2D ? GL_MAX_TEXTURE_SIZE : GL_MAX_CUBE_MAP_TEXTURE_SIZE, &largest);
    if (pixels.width > largest || pixels.height > largest) {
        throw LoadError("the picture exceeds the driver's size limit of " + std::to_string(largest));
    }
    const auto format = FormatOfPicture(pixels.bitsPerPixel);
    if (!format) {
        throw LoadError(std::to_string(pixels.bitsPerPixel) + "-bit pictures are not supported");
    }
    // Sections align their rows as GL does by default.
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(target, 0, format->internalFormat, pixels.width, pixels.height, 0, format->format,
                 GL_UNSIGNED_BYTE, flip ? nullptr : pixels.bytes.data());
    if (flip) {
        UploadReversed(target, pixels, format->format);
    }
}

GlTexture CreatePictureTexture(const PassInput& input) {
    Upload upload(GL_TEXTURE_2D, input.sampler.filter == kFilterMipmap);
    UploadPicture(GL_TEXTURE_2D, PixelsOf(input.medium->faces[0].Get()), input.sampler.vflip != 0);
    return upload.Finish();
}

/// GL samples a cube as black unless its faces are squares of the same size and depth.
bool IsCompleteCube(const SectionPixels (&faces)[6]) noexcept {
    for (const SectionPixels& face : faces) {
        if (face.bytes.empty() || face.width != face.height || face.width != faces[0].width ||
            face.bitsPerPixel != faces[0].bitsPerPixel) {
            return false;
        }
    }
    return true;
}

GlTexture CreateCubeTexture(const PassInput& input) {
    SectionPixels faces[6];
    for (std::size_t face = 0; face < std::size(faces); ++face) {
        faces[face] = PixelsOf(input.medium->faces[face].Get());
    }
    if (!IsCompleteCube(faces)) {
        throw LoadError("its six faces are incomplete or not squares of the same size and depth");
    }
    Upload upload(GL_TEXTURE_CUBE_MAP, input.sampler.filter == kFilterMipmap);
    for (GLenum face = 0; face < std::size(faces); ++face) {
        UploadPicture(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, faces[face], false);
    }
    return upload.Finish();
}

bool UploadVolume(const VolumeHeader& size, const std::uint8_t* voxels) {
    const VolumeFormat format = FormatOfVolume(size.channels);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    // Discard older errors, but only a few: a lost context reports them endlessly.
    for (int older = 0; older < 8 && ReportGlError() != GL_NO_ERROR; ++older) {
    }
    glTexImage3D(GL_TEXTURE_3D, 0, format.internalFormat, static_cast<GLsizei>(size.width),
                 static_cast<GLsizei>(size.height), static_cast<GLsizei>(size.depth), 0, GL_RED, format.type,
                 voxels);
    return ReportGlError() == GL_NO_ERROR;
}

GlTexture CreateVolumeTexture(const PassInput& input) {
    GLint largest = 0;
    glGetIntegerv(GL_MAX_3D_TEXTURE_SIZE, &largest);
    const Medium& medium = *input.medium;
    const auto header = ReadVolumeHeader({medium.volume.get(), medium.volumeBytes});
    if (!header) {
        throw LoadError("not a volume");
    }
    if (const char* fault =
            FaultOfVolume(*header, medium.volumeBytes, static_cast<std::uint32_t>(std::max(largest, 0)))) {
        throw LoadError(fault);
    }
    Upload upload(GL_TEXTURE_3D, input.sampler.filter == kFilterMipmap);
    if (!UploadVolume(*header, medium.volume.get() + kVolumeHeaderBytes)) {
        throw LoadError("the driver rejects the volume");
    }
    return upload.Finish();
}

}  // namespace

GlTexture CreateMediaTexture(const PassInput& input) {
    switch (input.ctype) {
        case ChannelType::Volume:
            return CreateVolumeTexture(input);
        case ChannelType::CubeMap:
            return CreateCubeTexture(input);
        default:
            return CreatePictureTexture(input);
    }
}

}  // namespace pixelforge
