// Tracks whether the preprocessor's cursor is inside a block comment.
#pragma once

#include <array>

namespace pixelforge {

/// After every step the preprocessor decides whether its cursor is inside a comment. The rule is a backward
/// scan from the cursor p that starts with the current flag:
///   - p on the "/" of "*/": clear the flag; stop if a newline precedes the "*", else continue at p - 3;
///   - p on the "*" of "/*": set the flag, continue at p - 3;
///   - anything else while the flag is set: continue at p - 1;
///   - a newline: stop;
///   - anything else: continue at p - 1.
/// On reaching the first character the scan stops and leaves the flag unchanged. The result at p therefore
/// follows from the results up to three positions earlier. Carrying those forward for both flags makes the
/// cost linear in the text's length instead of quadratic.
class CommentScan {
public:
    explicit CommentScan(const char* text) noexcept : text_(text), position_(text) {}

    /// Moves forward to `position`, in the same text or on its NUL, updating the flag `inside` at every step;
    /// returns its final value.
    bool WalkTo(const char* position, bool inside) noexcept;

    /// The same, but updates the flag only at `position` itself.
    bool SkipTo(const char* position, bool inside) noexcept;

private:
    /// The scan's result for either initial flag.
    struct Outcome {
        bool ifOutside = false;
        bool ifInside = true;
    };

    bool Step(bool inside) noexcept;
    Outcome OutcomeAtNextPosition() const noexcept;

    const char* text_;
    const char* position_;
    std::array<Outcome, 3> recent_{};  ///< at the position and the two before it
};

}  // namespace pixelforge
