// Whether the preprocessor's cursor stands inside a block comment.
#pragma once

#include <array>

namespace pixelforge {

/// The preprocessor asks after every step whether its cursor stands inside a comment, and answers by
/// walking back over the text. From a position p behind the text's first character, with the answer so
/// far as the flag:
///   - p on the "/" of "*/": the flag is false; done if a newline stands before the "*", else on to p - 3;
///   - p on the "*" of "/*": the flag is true, on to p - 3;
///   - anything else while the flag is true: on to p - 1;
///   - a newline: done;
///   - anything else: on to p - 1.
/// At the first character and before it the flag stays as it is. The answer at p thus follows from the
/// answers up to three positions earlier. They are carried along for both flags, which makes the cost of
/// the whole text linear instead of quadratic.
class CommentScan {
public:
    explicit CommentScan(const char* text) noexcept : text_(text), position_(text) {}

    /// Moves forward to `position`, which lies in the same text or on its NUL, and answers the question at
    /// every step: what becomes of the flag `inside`.
    bool WalkTo(const char* position, bool inside) noexcept;

    /// The same with the question asked only at `position` itself.
    bool SkipTo(const char* position, bool inside) noexcept;

private:
    struct Answer {
        bool ifOutside = false;
        bool ifInside = true;
    };

    bool Step(bool inside) noexcept;
    Answer AnswerAtNextPosition() const noexcept;

    const char* text_;
    const char* position_;
    std::array<Answer, 3> recent_{};  ///< at the position, one before it and two before it
};

}  // namespace pixelforge
