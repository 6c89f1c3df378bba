// Documents made from plain shader files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

struct RawPass {
    std::string stem;  ///< which pass: "image", "common", "a" to "d", "cube"
    std::string code;  ///< UTF-8
};

/// What stands between a plain shader's name and its extension for each pass but the image, as in
/// "plasma.a.glsl".
inline constexpr std::string_view kRawPassStems[] = {"common", "a", "b", "c", "d", "cube"};

/// The JSON document of these passes, in UTF-8. Every pass that takes inputs has Buffers A to D, as far
/// as they are there, on channels 0 to 3 in that order; of the channels left, the first takes Cube A
/// if that is there, and the next the keyboard.
std::string DocumentOfRawPasses(std::string_view name, const std::vector<RawPass>& passes);

}  // namespace pixelforge::preview
