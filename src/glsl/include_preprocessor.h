// Expands `#include "name"` lines, first from texts registered in memory, then from files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/heap.h"
#include "glsl/include_table.h"

namespace pixelforge {

class LineMap;

/// The output: an array on the global heap that grows by doubling.
struct GrowBuffer {
    HeapBytes data;
    std::uint32_t count = 0;     ///< elements in use
    std::uint32_t capacity = 0;  ///< elements that fit
    std::uint32_t elementSize = 1;

    /// Appends `added` elements of `elementSize` bytes. While they do not fit, the block is replaced by one
    /// for max(2 * capacity, max(capacity + 1, 1024)) elements. False, with the elements unchanged, if that
    /// allocation fails.
    bool Append(const void* elements, std::size_t added) noexcept;
};

/// Expands `text` (NUL-terminated) into `output`; a null `output` only counts lines and resolves names.
/// `lineCounter` starts at 1 and counts the output's lines. The caller starts at depth 0 with an empty
/// included list. `lines` may be null; the top-level text has no name in it. Runs in linear time. Fails on a
/// malformed directive, a name of more than 259 units, the 65th name or lack of memory; the output is then
/// partial, and `lines` holds the cause. Unknown, refused and already expanded names are not failures: their
/// lines are dropped.
bool PreprocessIncludes(IncludeContext& context, const char* text, GrowBuffer* output,
                        std::uint32_t& lineCounter, std::uint32_t depth, LineMap* lines = nullptr);

}  // namespace pixelforge
