// The module's copy of one shader on disk.
#pragma once

#include <string>

namespace pixelforge::preview {

/// Removes the cached document of an identifier (UTF-8), so that its next load asks the service, and says
/// on stdout what was done. Throws `HostError`: `WrongUsage` for what is no identifier, `Failed` when the
/// file is there and cannot be removed.
void ForgetCachedShader(const std::string& identifier);

}  // namespace pixelforge::preview
