// The "//@" comment lines of plain shader files: each pass's inputs and the shader's name, author and so on.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

/// One plain shader file.
struct PassFile {
    std::string stem;  ///< which pass: "image", "common", "a" to "d", "cube"
    std::string code;  ///< UTF-8
    std::string name;  ///< of the file as the user would write it, for errors
};

/// "shaders/plasma.a.glsl" for "shaders/plasma.glsl" and "a".
std::string PassFileName(std::string_view shaderName, std::string_view stem);

/// One input in the terms of a document.
struct ChannelInput {
    std::string_view type = {};  ///< "ctype"; empty if the channel is free
    int id = 0;
    std::string src = {};
    std::string_view filter = "linear";
    std::string_view wrap = "clamp";
    std::string_view vflip = "false";
    int line = 0;  ///< number of the line that names it; 0: none
};

using Channels = std::array<ChannelInput, 4>;

// The ids that documents use for the outputs of passes and for the keyboard.
inline constexpr int kKeyboardId = 33;
inline constexpr int kImageId = 37;
inline constexpr int kCubeId = 41;
inline constexpr int kBufferAId = 257;

struct CommentLines {
    Channels channels = {};
    std::string name;  ///< this and the next three are empty without a line
    std::string author;
    std::string description;
    std::string tags;                 ///< separated by blanks
    std::vector<std::string> errors;  ///< "FILE:LINE:COLUMN: error: one clause"
};

/// True if a path relative to the shader's folder names an existing file.
using FileExists = std::function<bool(const std::string&)>;

/// The comment lines of `file`, one of `passes`; the first of these is the shader's own file.
CommentLines ReadCommentLines(const PassFile& file, const std::vector<PassFile>& passes,
                              const FileExists& exists);

}  // namespace pixelforge::preview
