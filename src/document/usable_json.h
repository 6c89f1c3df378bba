// A cheap check of text before it is parsed as JSON.
#pragma once

#include <cstdint>

#include "base/load_error.h"

namespace pixelforge {

/// Of a document's text. The largest in circulation have 2.4 MB. Reading needs about five times a text's
/// size.
inline constexpr SizeLimit kDocumentLimit = {std::uint64_t{64} << 20, "the document is larger than 64 MiB"};

enum class JsonTextFault {
    None,
    Empty,
    ByteOrderMark,
    NoBrace,
    ServiceError,
    Unbalanced,
};

/// Why a NUL-terminated text is unusable. A usable text is cut in place after its last top-level closing
/// brace or bracket.
JsonTextFault CheckJsonText(char* text) noexcept;

/// The fault as one clause, for the user.
const char* DescribeFault(JsonTextFault fault) noexcept;

/// `CheckJsonText` as a yes or no; cuts the text likewise.
bool IsUsableJsonText(char* text) noexcept;

}  // namespace pixelforge
