// Expands `#include "name"` lines, first from texts registered in memory, then from files.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/heap.h"
#include "base/text.h"
#include "glsl/grow_buffer.h"

namespace pixelforge {

class LineMap;

inline constexpr std::int32_t kIncludeEntries = 64;

struct VirtualInclude {
    wchar_t name[kPathUnits];
    HeapText text;  ///< owned by the table
};

/// A name that the current run has expanded, as it was resolved.
struct IncludedName {
    wchar_t name[kPathUnits];
    std::uint32_t depth;
    std::uint32_t firstLine;  ///< output line at which its text begins
    std::uint32_t endLine;    ///< output line behind its text
};

/// One per module instance; one run at a time.
struct IncludeContext {
    VirtualInclude virtualIncludes[kIncludeEntries];
    std::int32_t virtualCount;
    wchar_t includeFolder[kPathUnits];  ///< an existing folder, or empty
    std::int32_t includedCount;
    IncludedName included[kIncludeEntries];
    bool plainNamesOnly;  ///< a stranger's text: files only by plain name, and only from the include folder
};

/// Registers a text under a name; the table takes the text in every case. False when the table is full.
bool RegisterVirtualInclude(IncludeContext& context, std::wstring_view name, HeapText text);

/// Frees the registered texts and empties the table.
void ClearVirtualIncludes(IncludeContext& context);

/// Exact, case-sensitive search of the names that this run has expanded.
bool AlreadyIncluded(const IncludeContext& context, std::wstring_view name);

/// A new text for `name` with normalised line ends, or null. When null, `outError` tells a failure (1)
/// from a silent skip (0). `outLength` receives the text's length, `outEntry` the entry made for it.
HeapText ResolveInclude(IncludeContext& context, const wchar_t* name, std::uint32_t* outLength,
                        IncludedName** outEntry, std::int32_t* outError);

/// Expands `text` (NUL-terminated) into `output`, which may be null to walk without output.
/// `lineCounter` starts at 1 and counts the output's lines. The caller starts at depth 0 with an empty
/// included list. `lines` may be null; the top-level text has no name in it. The cost is linear.
/// False when the run fails: a malformed directive, a name of more than 259 units, the 65th name, no
/// memory. The output is then partial. Names that are unknown, refused or expanded before are no failure;
/// their lines are dropped.
bool PreprocessIncludes(IncludeContext& context, const char* text, GrowBuffer* output,
                        std::uint32_t& lineCounter, std::uint32_t depth, LineMap* lines = nullptr);

}  // namespace pixelforge
