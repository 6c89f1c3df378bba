// A buffer that grows with a download.
#pragma once

#include <cstdint>
#include <span>

#include "base/heap.h"

namespace pixelforge {

/// Starts at the announced length, or at 4096 bytes without one, and doubles when full. One spare byte beyond
/// the capacity terminates text, and lets a body of exactly its announced length end without growing.
class DownloadBuffer {
public:
    /// A server that never stops sending must not exhaust the host's memory.
    static constexpr std::uint64_t kLargestCapacity = std::uint64_t{1} << 30;

    /// `announcedBytes` is 0 if unknown. Throws `LoadError` above the largest capacity, and `std::bad_alloc`.
    void Start(std::uint32_t announcedBytes);

    /// Where to write the next bytes; never empty.
    std::span<std::uint8_t> Room() noexcept;

    /// Records that `bytes` bytes were written to `Room()`, and grows a full block. Throws like `Start`.
    void Add(std::size_t bytes);

    std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(count_); }
    std::uint64_t Capacity() const noexcept { return capacity_; }

    /// The bytes, followed by at least one zero byte.
    HeapBytes Take() noexcept;

private:
    void Allocate(std::uint64_t capacity);

    HeapBytes block_;
    std::uint64_t announced_ = 0;
    std::uint64_t capacity_ = 0;
    std::uint64_t count_ = 0;
};

}  // namespace pixelforge
