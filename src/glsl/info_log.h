// Driver logs of compile errors: line numbers mapped back to the author's own lines, and pass names added.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge {

class LineMap;

/// Rewrites a driver's log, line by line. A line that begins with a position in one of the common forms
/// becomes "SOURCE:LINE: message", or "SOURCE:LINE:COLUMN: message" if the driver gave a column:
///   0:3(21): error: ...       Image:1:21: error: ...
///   0(3) : error C1008: ...   Image:1: error C1008: ...
///   ERROR: 0:3: ...           Image:1: ERROR: ...
/// SOURCE is a pass's name, "Common", an include's name, "PREFIX" or "SUFFIX". Every other line is unchanged:
/// other forms, lines missing from the map, numbers out of range, and source strings other than 0, which
/// only an author's `#line` can cause. Each line of the result ends in "\n".
std::string MapInfoLog(std::string_view log, const LineMap& lines);

/// The non-empty lines of a mapped log. Lines without a position in the pass itself are prefixed with its
/// name: "Buffer A:12: ..." stays, "Common:3: ..." becomes "Buffer A: Common:3: ...".
std::vector<std::string> PrefixPassLog(std::string_view passName, std::string_view log);

}  // namespace pixelforge
