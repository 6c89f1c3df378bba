// Asks the processor which vector instructions it has.
#include "post/vector_path.h"

namespace pixelforge {

VectorPath BestVectorPath() noexcept {
#if defined(__x86_64__)
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0 ? VectorPath::Avx2 : VectorPath::Sse2;
#else
    return VectorPath::Portable;
#endif
}

}  // namespace pixelforge
