// A buffer that grows with a download.
#pragma once

#include <cstdint>
#include <span>

#include "base/heap.h"
#include "base/load_error.h"

namespace pixelforge {

/// A server that never stops sending must not exhaust the host's memory.
inline constexpr SizeLimit kResponseLimit = {std::uint64_t{1} << 30, "the service's response exceeds 1 GiB"};

/// Starts at the announced length, or at 4096 bytes without one, and doubles when full, up to the limit. One
/// spare byte beyond the capacity terminates text, and lets a body of exactly its announced length end
/// without growing.
class DownloadBuffer {
public:
    /// `announcedBytes` is 0 if unknown. Throws `LoadError` above the limit, and `std::bad_alloc`.
    void Start(std::uint32_t announcedBytes, const SizeLimit& limit = kResponseLimit);

    /// Where to write the next bytes; never empty.
    std::span<std::uint8_t> Room() noexcept;

    /// Records that `bytes` bytes were written to `Room()`, and grows a full block. Throws like `Start`.
    void Add(std::size_t bytes);

    std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(count_); }
    std::uint64_t Capacity() const noexcept { return capacity_; }

    /// The bytes, followed by at least one zero byte.
    HeapBytes Take() noexcept;

private:
    void RequireWithinLimit(std::uint64_t bytes) const;
    void Allocate(std::uint64_t capacity);

    HeapBytes block_;
    SizeLimit limit_ = kResponseLimit;
    std::uint64_t announced_ = 0;
    std::uint64_t capacity_ = 0;
    std::uint64_t count_ = 0;
};

}  // namespace pixelforge
