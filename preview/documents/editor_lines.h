// Names the user's own files in the module's messages, so that an editor can jump to each error.
#pragma once

#include <string>
#include <vector>

namespace pixelforge::preview {

/// One of the shader's texts.
struct ShaderText {
    std::string source;  ///< as the module names it: a pass, or an include file's path
    std::string place;   ///< as the user knows it: "plasma.a.glsl" or "evening.json: Buffer A"
    std::string code;    ///< UTF-8
};

/// Where the user named a channel's input.
struct InputPlace {
    std::string pass;
    int channel = 0;
    std::string type;       ///< the document's "ctype"
    std::string place;      ///< "FILE:LINE:COLUMN"
    std::string file = {};  ///< the document's "src"
};

/// What the module's names mean to the user.
struct SourceNames {
    std::string shader;                   ///< path or identifier as the user wrote it; empty for a playlist
    bool file = false;                    ///< `shader` is a path
    std::vector<ShaderText> texts = {};   ///< empty unless it is a file
    std::vector<InputPlace> inputs = {};  ///< likewise
    std::vector<std::string> includes = {};  ///< names in include lines, of missing files too
    std::string includeFolder = {};          ///< absolute, or empty
    std::string includeName = {};            ///< the same folder as the user wrote it
};

/// The module's lines (as `ReadableLines` returns them) in the form "FILE:LINE:COLUMN: error: MESSAGE", each
/// once. A line of no text or unknown meaning stays; an error without a position is placed in line 1, one
/// without a column in column 1. Lists of candidates are shortened.
std::vector<std::string> EditorLines(const std::vector<std::string>& lines, const SourceNames& names);

}  // namespace pixelforge::preview
