// Parses event files.
#include "preview/host/input_events.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

#include "base/bitmap.h"
#include "base/text.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

struct Action {
    std::string_view name;
    EventKind kind;
    std::size_t numbers;
    std::int32_t least;
    std::int32_t most;
};

// Mouse messages carry positions as signed 16-bit halves.
constexpr Action kActions[] = {
    {"key-down", EventKind::KeyDown, 1, 0, 255},
    {"key-up", EventKind::KeyUp, 1, 0, 255},
    {"mouse-move", EventKind::MouseMove, 2, -32768, 32767},
    {"button-down", EventKind::ButtonDown, 2, -32768, 32767},
    {"button-up", EventKind::ButtonUp, 2, -32768, 32767},
    {"resize", EventKind::Resize, 2, 1, kLargestSide},
};

std::vector<std::string> Words(std::string_view line) {
    std::istringstream words{std::string(line.substr(0, line.find('#')))};
    return {std::istream_iterator<std::string>(words), {}};
}

std::optional<std::int32_t> Number(std::string_view word, std::int32_t least, std::int32_t most) {
    const bool hex = word.starts_with("0x");
    word.remove_prefix(hex ? 2 : 0);
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, hex ? 16 : 10);
    const bool whole = error == std::errc() && end == word.data() + word.size();
    return whole && number >= least && number <= most ? std::optional(number) : std::nullopt;
}

std::optional<InputEvent> ParseEvent(const std::vector<std::string>& words) {
    const auto frame = Number(words[0], 0, 10'000'000);
    const auto action = std::ranges::find_if(
        kActions, [&](const Action& row) { return words.size() == row.numbers + 2 && words[1] == row.name; });
    if (!frame || action == std::end(kActions)) {
        return std::nullopt;
    }
    InputEvent event{.frame = *frame, .kind = action->kind};
    std::int32_t* const fields[] = {&event.a, &event.b};
    for (std::size_t i = 0; i < action->numbers; ++i) {
        const auto number = Number(words[i + 2], action->least, action->most);
        if (!number) {
            return std::nullopt;
        }
        *fields[i] = *number;
    }
    return event;
}

}  // namespace

std::vector<InputEvent> ParseInputEvents(std::string_view text, std::string_view fileName) {
    std::vector<InputEvent> events;
    for (int number = 1; !text.empty(); ++number) {
        const auto words = Words(TakeLine(text));
        if (words.empty()) {
            continue;
        }
        const auto event = ParseEvent(words);
        if (!event) {
            throw HostError(ExitStatus::WrongUsage,
                            std::string(fileName) + ":" + std::to_string(number) +
                                ": not an event; expected FRAME key-down|key-up CODE, FRAME "
                                "mouse-move|button-down|button-up X Y or FRAME resize WIDTH HEIGHT");
        }
        events.push_back(*event);
    }
    std::ranges::stable_sort(events, {}, &InputEvent::frame);
    return events;
}

}  // namespace pixelforge::preview
