// The backward comment scan, carried forward at constant cost per character.
#include "glsl/comment_scan.h"

namespace pixelforge {

bool CommentScan::WalkTo(const char* position, bool inside) noexcept {
    while (position_ != position) {
        inside = Step(inside);
    }
    return inside;
}

bool CommentScan::SkipTo(const char* position, bool inside) noexcept {
    bool result = inside;
    while (position_ != position) {
        result = Step(inside);
    }
    return result;
}

bool CommentScan::Step(bool inside) noexcept {
    const Outcome outcome = OutcomeAtNextPosition();
    recent_ = {outcome, recent_[0], recent_[1]};
    ++position_;
    return inside ? outcome.ifInside : outcome.ifOutside;
}

CommentScan::Outcome CommentScan::OutcomeAtNextPosition() const noexcept {
    const char before = position_[0];
    const char here = position_[1];
    const Outcome& oneBack = recent_[0];
    const Outcome& threeBack = recent_[2];

    if (here == '/' && before == '*') {
        const bool afterNewline = position_ != text_ && position_[-1] == '\n';
        const bool inside = !afterNewline && threeBack.ifOutside;
        return {.ifOutside = inside, .ifInside = inside};
    }
    if (here == '*' && before == '/') {
        return {.ifOutside = threeBack.ifInside, .ifInside = threeBack.ifInside};
    }
    return {.ifOutside = here != '\n' && oneBack.ifOutside, .ifInside = oneBack.ifInside};
}

}  // namespace pixelforge
