// The web service's host, chosen when the module is built.
#pragma once

/// A host name without scheme or path, from the build setting of the same name. The default is a reserved
/// name that no server answers to; it also serves sources that are compiled without the setting.
#ifndef PIXELFORGE_SERVICE_HOST
#define PIXELFORGE_SERVICE_HOST "pixelforge.example"
#endif

namespace pixelforge {

inline constexpr wchar_t kServiceHost[] = L"" PIXELFORGE_SERVICE_HOST;

}  // namespace pixelforge
