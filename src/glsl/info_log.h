// Messages for authors about a pass that does not compile: driver logs with the pass's name and the
// author's own line numbers, and why a text could not be assembled.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge {

class LineMap;

/// Rewrites the non-empty lines of a driver's log about the assembled `text` of a pass. A line that begins
/// with a position in one of the common forms gets the author's own position, with a column if the driver
/// gave one:
///   0:3(21): error: ...       Image:1:21: error: ...
///   0(3) : error C1008: ...   Image: Common:1: error C1008: ...
///   ERROR: 0:3: ...           Image: noise.glsl:1: ERROR: ...
/// In the module's own lines, the position becomes words: "Image: after the end of Image (a brace may be
/// missing): ...". Numbers after an author's `#line` are mapped as well. Every other line only gets the
/// pass's name: other forms, lines missing from the map, numbers out of range, and positions that may mean
/// several lines because of `#line`. After 1000 lines, one line says that the rest is left out.
std::vector<std::string> MapInfoLog(std::string_view passName, std::string_view log, std::string_view text,
                                    const LineMap& lines);

/// Why a pass's text could not be assembled: "Image:3: #include is indented; ...".
std::string AssemblyFailure(std::string_view passName, const LineMap& lines);

}  // namespace pixelforge
