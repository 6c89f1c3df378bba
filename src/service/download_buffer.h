// The block that a download grows in.
#pragma once

#include <cstdint>
#include <span>

#include "base/heap.h"

namespace pixelforge {

/// Starts at the announced length, or at 4096 bytes without one, and doubles whenever it is full. One
/// byte is kept spare behind the capacity: text is terminated, and a body that has its announced length
/// needs no growth to find its end.
class DownloadBuffer {
public:
    /// A service that never stops sending must not fill the host's memory.
    static constexpr std::uint64_t kLargestCapacity = std::uint64_t{1} << 30;

    /// `announcedBytes` is 0 when unknown. False when the block is too large or the heap refuses.
    bool Start(std::uint32_t announcedBytes);

    /// Where the next bytes go: never empty.
    std::span<std::uint8_t> Room() noexcept;

    /// Counts bytes that were written to the room. False when the block would have to grow and cannot.
    bool Add(std::size_t bytes);

    std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(count_); }
    std::uint64_t Capacity() const noexcept { return capacity_; }

    /// The bytes, with at least one zero byte behind them.
    HeapBytes Take() noexcept;

private:
    bool Allocate(std::uint64_t capacity);

    HeapBytes block_;
    std::uint64_t announced_ = 0;
    std::uint64_t capacity_ = 0;
    std::uint64_t count_ = 0;
};

}  // namespace pixelforge
