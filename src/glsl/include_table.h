// The include context: registered texts, the include folder, and the names that a run has expanded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

#include "base/heap.h"
#include "base/text.h"

namespace pixelforge {

inline constexpr std::int32_t kIncludeEntries = 64;

/// After this many names without a file, a run opens no more files: each name costs up to two searches.
inline constexpr std::size_t kUnknownNames = 4096;

struct VirtualInclude {
    wchar_t name[kPathUnits];
    HeapText text;  ///< owned by the table
};

/// A name expanded in the current run, in its resolved form.
struct IncludedName {
    wchar_t name[kPathUnits];
    std::uint32_t depth;
    std::uint32_t firstLine;  ///< output line at which its text begins
    std::uint32_t endLine;    ///< first output line after its text
};

/// One per module instance; one run at a time.
struct IncludeContext {
    VirtualInclude virtualIncludes[kIncludeEntries];
    std::int32_t virtualCount;
    wchar_t includeFolder[kPathUnits];  ///< an existing folder, or empty
    std::int32_t includedCount;
    IncludedName included[kIncludeEntries];
    bool plainNamesOnly;  ///< for untrusted texts: files by plain name only, and only from the include folder
    std::unordered_set<std::wstring> unknownNames;  ///< not found in this run; not looked for again
};

/// Registers a text under a name and takes ownership. False, with the text freed, if the table is full.
bool RegisterVirtualInclude(IncludeContext& context, std::wstring_view name, HeapText text);

/// Frees the registered texts, empties the table and forgets the unknown names.
void ClearVirtualIncludes(IncludeContext& context);

/// True if this run has already expanded the name; case-sensitive.
bool AlreadyIncluded(const IncludeContext& context, std::wstring_view name);

/// A new copy of the text for `name`, with normalised line ends and without a file's byte-order mark, or
/// null; `outError` then distinguishes a failure (1) from a silent skip (0). `outLength` receives the text's
/// length, `outEntry` the entry made for it.
HeapText ResolveInclude(IncludeContext& context, const wchar_t* name, std::uint32_t* outLength,
                        IncludedName** outEntry, std::int32_t* outError);

}  // namespace pixelforge
