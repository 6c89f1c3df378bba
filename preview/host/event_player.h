// Delivers scripted input to the host's window.
#pragma once

#include <vector>

#include "preview/host/host_window.h"
#include "preview/host/input_events.h"

namespace pixelforge::preview {

class EventPlayer {
public:
    explicit EventPlayer(std::vector<InputEvent> events) : events_(std::move(events)) {}

    /// Posts the messages of all events up to this frame that were not posted yet, as the system would
    /// for a user; a resize takes place at once.
    void Play(std::int32_t frame, HostWindow& window);

private:
    std::vector<InputEvent> events_;
    std::size_t next_ = 0;
};

}  // namespace pixelforge::preview
