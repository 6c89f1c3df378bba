// Labels: letters of five by five dots, one bit per dot, rows from the top.

const int A = 0x118fe2e;
const int C = 0x1e0843e;
const int E = 0x1f0bc3f;
const int F = 0x10bc3f;
const int I = 0xe2108e;
const int L = 0x1f08421;
const int M = 0x118d771;
const int N = 0x11cd671;
const int P = 0x10be2f;
const int R = 0x114be2f;
const int S = 0xf8383e;
const int T = 0x42109f;
const int V = 0x454631;

const int kLetters = 7;    // per label
const float kAdvance = 6.0;

// 1.0 on the letters of a label, whose first letter has its upper left corner at (0, 0); y counts downwards.
float label(vec2 dot, int word[kLetters])
{
    int letter = int(floor(dot.x / kAdvance));
    ivec2 at = ivec2(floor(vec2(dot.x - kAdvance * float(letter), dot.y)));
    if (letter < 0 || letter >= kLetters || at.x > 4 || at.y < 0 || at.y > 4)
        return 0.0;
    return float((word[letter] >> (5 * at.y + at.x)) & 1);
}
