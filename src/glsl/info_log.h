// Driver logs of compile errors, with line numbers mapped back to the author's own lines.
#pragma once

#include <string>
#include <string_view>

namespace pixelforge {

class LineMap;

/// Rewrites a driver's log, line by line. A line that begins with a position in one of the common forms
/// becomes "SOURCE:LINE: message", or "SOURCE:LINE:COLUMN: message" where the driver gave a column:
///   0:3(21): error: ...       Image:1:21: error: ...
///   0(3) : error C1008: ...   Image:1: error C1008: ...
///   ERROR: 0:3: ...           Image:1: ERROR: ...
/// SOURCE is a pass's name, "Common", an include's name, "PREFIX" or "SUFFIX". Every other line is kept:
/// other forms, lines the map does not know, numbers out of range, and strings other than 0, which only
/// a `#line` of the author's can bring about. Each line of the result ends in "\n".
std::string MapInfoLog(std::string_view log, const LineMap& lines);

}  // namespace pixelforge
