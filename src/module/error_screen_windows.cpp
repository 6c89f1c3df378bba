// Drawing of the error screen.
#include "module/error_screen.h"

#include <windows.h>

#include "base/win_handles.h"

namespace pixelforge {
namespace {

constexpr COLORREF kErrorTextColor = RGB(30, 255, 60);

}  // namespace

void DrawErrorScreen(const DrawContext& context) {
    const GdiSelection target(context.dc, context.bitmap);
    SetTextColor(context.dc, kErrorTextColor);
    SetBkColor(context.dc, 0);
    PatBlt(context.dc, 0, 0, context.width, context.height, BLACKNESS);
    RECT area = {context.width / 5, context.height / 5, context.width, context.height};
    DrawTextW(context.dc, L"Shader Error", -1, &area, DT_WORDBREAK);
}

}  // namespace pixelforge
