// How a driver's log about a pass is worded for the shader's author.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge {

/// One output line for each non-empty line of `log`, in which positions are mapped already. A line that
/// does not begin with the pass's own position gets the pass's name in front: "Buffer A:12: ..." stays,
/// "Common:3: ..." becomes "Buffer A: Common:3: ...".
std::vector<std::string> WordPassLog(std::string_view passName, std::string_view log);

}  // namespace pixelforge
