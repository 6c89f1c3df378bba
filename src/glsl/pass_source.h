// Assembles the complete fragment shader of one pass.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/heap.h"
#include "document/shader_document.h"

namespace pixelforge {

struct IncludeContext;
class LineMap;

/// Names of the module's own texts, before and after the author's.
inline constexpr std::wstring_view kPrefixName = L"PREFIX";
inline constexpr std::wstring_view kSuffixName = L"SUFFIX";

/// Ends the words that stand for an author's `char` and `packed`.
inline constexpr std::string_view kRenamed = "_sYjan77j";

/// The vertex shader of every program.
extern const char* const kVertexShaderSource;

/// Sets the "#version" line of every text assembled from now on, process-wide; initially "#version 330".
/// Called once a context exists.
void SetVersionLine(int major, int minor) noexcept;

/// The complete text of `pass`, NUL-terminated, owned by the caller, or null if an argument is null, memory
/// runs out, or an `#include` is refused; `lines` then holds the cause. Always leaves the table of virtual
/// includes empty; the list of included names remains until the next run. `lines`, if given, maps the
/// result's lines to the author's texts.
HeapText AssemblePassSource(const ShaderDocument* document, IncludeContext* includes, const RenderPass* pass,
                            LineMap* lines = nullptr);

}  // namespace pixelforge
