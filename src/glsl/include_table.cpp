// Where an included name's text comes from: registered texts first, then files.
#include "glsl/include_table.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "base/debug_output.h"
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

std::string DecodeUtf16(std::string_view bytes, std::size_t lowByte) {
    std::wstring units(bytes.size() / 2, L'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        const auto low = static_cast<std::uint8_t>(bytes[2 * i + lowByte]);
        const auto high = static_cast<std::uint8_t>(bytes[2 * i + 1 - lowByte]);
        units[i] = static_cast<wchar_t>(high << 8 | low);
    }
    return ToUtf8(units);
}

/// Removes a byte-order mark, at which a driver may end the text without an error.
HeapText ReadText(const wchar_t* path, std::uint32_t& length) {
    HeapText text(reinterpret_cast<char*>(ReadWholeFile(path, &length).release()));
    const std::string_view bytes(text.get(), text ? length : 0);
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        return CopyText(text.get() + 3, length);
    }
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        return CopyText(DecodeUtf16(bytes.substr(2), bytes.starts_with('\xFE') ? 1 : 0).c_str(), length);
    }
    return text;
}

/// False if there is no include folder or the path is too long.
bool FormatFolderPath(const IncludeContext& context, const wchar_t* name,
                      wchar_t (&path)[kPathUnits]) noexcept {
    return context.includeFolder[0] != L'\0' &&
           FormatBounded(path, kPathUnits, L"%s\\%s", context.includeFolder, name) == kFormatComplete;
}

bool MayOpen(const IncludeContext& context, std::wstring_view name) noexcept {
    return context.unknownNames.size() < kUnknownNames &&
           (context.plainNamesOnly ? context.includeFolder[0] != L'\0' && IsPlainFileName(name)
                                   : IsOpenableLocalName(name));
}

void RememberUnknown(IncludeContext& context, const wchar_t* name) {
    context.unknownNames.insert(name);
    if (context.unknownNames.size() == kUnknownNames) {
        WriteDebugLine(std::to_string(kUnknownNames) +
                       " names of #include lead to no file; no more are looked for");
    }
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
    context.unknownNames = {};
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
    if (AlreadyIncluded(context, name) || context.unknownNames.contains(name)) {
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
        if (!text) {
            RememberUnknown(context, name);
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
