// Fetches the same files wherever it runs, so that several fill one cache at once.
#pragma once

namespace pixelforge::test {

inline constexpr int kSharedFiles = 40;

/// Fetches the files one by one; false as soon as one is missing or differs from what the service sends.
bool FillCache();

}  // namespace pixelforge::test
