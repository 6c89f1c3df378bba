// The equivalent code paths of the pixel kernels, and the compiler attributes that they need.
#pragma once

/// Inlined at every optimisation level, so that the body uses its caller's instruction set.
#define PIXELFORGE_INLINE inline __attribute__((always_inline))

/// The function may use AVX2, but not fused multiply-add, which would change results.
#if defined(__x86_64__)
#define PIXELFORGE_TARGET_AVX2 __attribute__((target("avx2")))
#else
#define PIXELFORGE_TARGET_AVX2
#endif

namespace pixelforge {

/// All paths produce the same bits. Paths above `BestVectorPath` must not be used.
enum class VectorPath {
    Portable,  ///< one pixel at a time
    Sse2,      ///< four pixels at a time
    Avx2,      ///< eight pixels at a time
};

/// The widest path that processor and operating system support.
inline VectorPath BestVectorPath() noexcept {
#if defined(__x86_64__)
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0 ? VectorPath::Avx2 : VectorPath::Sse2;
#else
    return VectorPath::Portable;
#endif
}

}  // namespace pixelforge
