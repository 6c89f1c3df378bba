// The cheap check of a text before it is parsed as JSON.
#pragma once

namespace pixelforge {

enum class JsonTextFault {
    None,
    Empty,
    ByteOrderMark,
    NoBrace,
    ServiceError,
    Unbalanced,
};

/// What makes a NUL-terminated text unusable. A usable text is shortened in place: bytes behind the last
/// top-level closing brace or bracket are cut off.
JsonTextFault CheckJsonText(char* text) noexcept;

/// One clause in English for a person who looks at the file.
const char* DescribeFault(JsonTextFault fault) noexcept;

}  // namespace pixelforge
