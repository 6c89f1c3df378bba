// The backward comment walk, carried forward in constant time for each character.
#include "glsl/comment_scan.h"

namespace pixelforge {

bool CommentScan::WalkTo(const char* position, bool inside) noexcept {
    while (position_ != position) {
        inside = Step(inside);
    }
    return inside;
}

bool CommentScan::SkipTo(const char* position, bool inside) noexcept {
    bool answer = inside;
    while (position_ != position) {
        answer = Step(inside);
    }
    return answer;
}

bool CommentScan::Step(bool inside) noexcept {
    const Answer answer = AnswerAtNextPosition();
    recent_ = {answer, recent_[0], recent_[1]};
    ++position_;
    return inside ? answer.ifInside : answer.ifOutside;
}

CommentScan::Answer CommentScan::AnswerAtNextPosition() const noexcept {
    const char before = position_[0];
    const char here = position_[1];
    const Answer& oneBack = recent_[0];
    const Answer& threeBack = recent_[2];

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
