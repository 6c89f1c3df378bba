// Which of the equal code paths the pixel kernels take.
#pragma once

namespace pixelforge {

/// All paths give the same bits. A path wider than `BestVectorPath` must not be asked for.
enum class VectorPath {
    Portable,  ///< one pixel at a time
    Sse2,      ///< four pixels at a time
    Avx2,      ///< eight pixels at a time
};

/// The widest path that this processor and its system support.
VectorPath BestVectorPath() noexcept;

}  // namespace pixelforge
