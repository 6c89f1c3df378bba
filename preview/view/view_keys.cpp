// The table of the live view's keys.
#include "preview/view/view_keys.h"

namespace pixelforge::preview {
namespace {

constexpr unsigned kPauseKey = 0x13;
constexpr unsigned kF1 = 0x70;

constexpr unsigned F(unsigned number) {
    return kF1 + number - 1;
}

struct KeyRow {
    unsigned virtualKey;
    bool shift;
    ViewCommand command;
    const wchar_t* words;
};

// F10 is left out: the system gives it to the window's menu.
constexpr KeyRow kKeys[] = {
    {F(1), false, ViewCommand::Help, L"F1 or ?\tthis list"},
    {F(2), false, ViewCommand::Pause, L"F2 or Pause\tstop, go on"},
    {kPauseKey, false, ViewCommand::Pause, nullptr},
    {F(3), false, ViewCommand::Step, L"F3\tstop, then one frame a press"},
    {F(5), false, ViewCommand::Reload, L"F5\tload the shader anew"},
    {F(6), false, ViewCommand::MoreColumns, L"F6, Shift+F6\tmore, fewer tiles across"},
    {F(6), true, ViewCommand::FewerColumns, nullptr},
    {F(7), false, ViewCommand::MoreRows, L"F7, Shift+F7\tmore, fewer tiles down"},
    {F(7), true, ViewCommand::FewerRows, nullptr},
    {F(8), false, ViewCommand::Mirror, L"F8\tmirror odd tiles, or not"},
    {F(9), false, ViewCommand::Foreground, L"F9\tforeground only, or all"},
    {F(11), false, ViewCommand::Levels, L"F11\tlevels, or colours"},
    {F(12), false, ViewCommand::SavePicture, L"F12\tsave a PNG"},
};

}  // namespace

std::optional<ViewCommand> CommandOfKey(unsigned virtualKey, bool shift) {
    for (const KeyRow& row : kKeys) {
        if (row.virtualKey == virtualKey && row.shift == shift) {
            return row.command;
        }
    }
    return std::nullopt;
}

std::wstring KeyList() {
    std::wstring list;
    for (const KeyRow& row : kKeys) {
        if (row.words != nullptr) {
            list += row.words;
            list += L'\n';
        }
    }
    return list + L"All other keys and the mouse belong to the shader.";
}

}  // namespace pixelforge::preview
