// Where an included name's text comes from: registered texts first, then files.
#include "glsl/include_table.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/file.h"

namespace pixelforge {
namespace {

/// Null if there is no entry of that name or the first has no text.
const char* FindVirtualText(const IncludeContext& context, std::wstring_view name) noexcept {
    for (std::int32_t i = 0; i < context.virtualCount; ++i) {
        const VirtualInclude& entry = context.virtualIncludes[i];
        if (EqualIgnoringAsciiCase(entry.name, name)) {
            return entry.text.get();
        }
    }
    return nullptr;
}

/// The copy has one spare byte for `EndWithOneNewline`.
HeapText CopyText(const char* text, std::uint32_t& length) noexcept {
    const std::size_t bytes = std::strlen(text);
    HeapText copy = AllocateHeapText(bytes + 2);
    if (copy) {
        std::memcpy(copy.get(), text, bytes);
        length = static_cast<std::uint32_t>(bytes);
    }
    return copy;
}

HeapText ReadText(const wchar_t* path, std::uint32_t& length) {
    return HeapText(reinterpret_cast<char*>(ReadWholeFile(path, &length).release()));
}

/// False if there is no include folder or the path is too long.
bool FormatFolderPath(const IncludeContext& context, const wchar_t* name,
                      wchar_t (&path)[kPathUnits]) noexcept {
    return context.includeFolder[0] != L'\0' &&
           FormatBounded(path, kPathUnits, L"%s\\%s", context.includeFolder, name) == kFormatComplete;
}

bool MayOpen(const IncludeContext& context, std::wstring_view name) noexcept {
    return context.plainNamesOnly ? IsPlainFileName(name) : IsOpenableLocalName(name);
}

IncludedName* AppendIncluded(IncludeContext& context, std::wstring_view name) noexcept {
    if (context.includedCount >= kIncludeEntries) {
        return nullptr;
    }
    IncludedName& entry = context.included[context.includedCount++];
    entry = {};
    CopyCut(entry.name, name);
    return &entry;
}

}  // namespace

bool RegisterVirtualInclude(IncludeContext& context, std::wstring_view name, HeapText text) {
    if (context.virtualCount >= kIncludeEntries) {
        return false;
    }
    VirtualInclude& entry = context.virtualIncludes[context.virtualCount++];
    CopyCut(entry.name, name);
    entry.text = std::move(text);
    return true;
}

void ClearVirtualIncludes(IncludeContext& context) {
    for (VirtualInclude& entry : context.virtualIncludes) {
        entry = {};
    }
    context.virtualCount = 0;
}

bool AlreadyIncluded(const IncludeContext& context, std::wstring_view name) {
    return std::any_of(context.included, context.included + context.includedCount,
                       [name](const IncludedName& entry) { return name == entry.name; });
}

// Texts are found regardless of case, expanded names are compared exactly: "common" finds the text "Common",
// and a later "Common" expands it again.
HeapText ResolveInclude(IncludeContext& context, const wchar_t* name, std::uint32_t* outLength,
                        IncludedName** outEntry, std::int32_t* outError) {
    *outLength = 0;
    *outEntry = nullptr;
    *outError = 0;
    if (AlreadyIncluded(context, name)) {
        return nullptr;
    }

    HeapText text;
    const wchar_t* resolved = name;
    wchar_t folderPath[kPathUnits];
    if (const char* known = FindVirtualText(context, name)) {
        text = CopyText(known, *outLength);
        *outError = text ? 0 : 1;
    } else if (MayOpen(context, name)) {
        text = context.plainNamesOnly ? nullptr : ReadText(name, *outLength);
        if (!text && FormatFolderPath(context, name, folderPath) && !AlreadyIncluded(context, folderPath)) {
            resolved = folderPath;
            text = ReadText(folderPath, *outLength);
        }
    }
    if (!text) {
        return nullptr;
    }

    *outEntry = AppendIncluded(context, resolved);
    if (!*outEntry) {
        *outError = 1;
        return nullptr;
    }
    if (*outLength == 0) {
        return nullptr;
    }
    NormalizeLineEnds(text.get(), text.get(), std::size_t{*outLength} + 1);
    EndWithOneNewline(text.get());
    *outLength = static_cast<std::uint32_t>(std::strlen(text.get()));
    return text;
}

}  // namespace pixelforge
