// Compiler attributes of the vector code.
#pragma once

/// Inlined at every optimisation level, so that a body takes its caller's instruction set.
#define PIXELFORGE_INLINE inline __attribute__((always_inline))

/// The function may use AVX2. Fused multiply-add stays out: it would change results.
#if defined(__x86_64__)
#define PIXELFORGE_TARGET_AVX2 __attribute__((target("avx2")))
#else
#define PIXELFORGE_TARGET_AVX2
#endif
