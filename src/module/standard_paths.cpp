// The table of standard paths, in the host framework's order.
#include "module/standard_paths.h"

namespace pixelforge {

// The names of the host's own library and other tool (entries 14 and 18) are ours; nothing here opens them.
PathField standardPaths[kStandardPaths] = {
    L"%EXE_BASEFOLDER%",
    L"%DLL_BASEFOLDER%",
    L"%DAT_BASEFOLDER%",
    L"%DAT_BASEFOLDER%\\Globals.XML",
    L"%DAT_BASEFOLDER%\\Favorites.XML",
    L"%DAT_BASEFOLDER%\\Presets",
    L"%DAT_BASEFOLDER%\\Presets\\*.KV",
    L"%DLL_BASEFOLDER%\\*.DLL",
    L"%DAT_BASEFOLDER%\\Fragments",
    L"%DAT_BASEFOLDER%\\Fragments\\*.KVF",
    L"%DAT_BASEFOLDER%\\Images",
    L"%DAT_BASEFOLDER%\\Images\\*.*",
    L"%DAT_BASEFOLDER%\\Shaders",
    L"%DAT_BASEFOLDER%\\Shaders\\*.glsl",
    L"%DLL_BASEFOLDER%\\MoonreelLibrary.dll",
    L"%DAT_BASEFOLDER%\\Palettes",
    L"%DAT_BASEFOLDER%\\Objects",
    L"%DAT_BASEFOLDER%\\ScreenShots",
    L"%EXE_BASEFOLDER%\\MoonreelTool.exe",
    L"%DAT_BASEFOLDER%\\UI",
    L"%EXE_BASEFOLDER%\\GlowBench.exe",
    L"%DAT_BASEFOLDER%\\Pixelforge",
    L"%DAT_BASEFOLDER%\\Pixelforge\\PixelforgeCache",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Shaders",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Shaders\\*.json",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Playlists",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Playlists\\*.playlist",
};

}  // namespace pixelforge
