// Growth of the download buffer.
#include "service/download_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace pixelforge {
namespace {

constexpr std::uint64_t kFirstCapacity = 4096;

}  // namespace

void DownloadBuffer::Start(std::uint32_t announcedBytes, const SizeLimit& limit) {
    limit_ = limit;
    RequireWithinLimit(announcedBytes);
    announced_ = announcedBytes;
    count_ = 0;
    Allocate(announcedBytes ? announcedBytes : kFirstCapacity);
}

std::span<std::uint8_t> DownloadBuffer::Room() noexcept {
    const std::uint64_t room = std::max<std::uint64_t>(capacity_ - count_, 1);
    return {block_.get() + count_, static_cast<std::size_t>(room)};
}

void DownloadBuffer::Add(std::size_t bytes) {
    count_ += bytes;
    RequireWithinLimit(count_);
    if (count_ < capacity_ || count_ == announced_ || count_ == limit_.bytes) {
        return;
    }
    std::uint64_t capacity = capacity_ * 2;
    while (capacity <= count_) {
        capacity *= 2;
    }
    Allocate(std::min(capacity, limit_.bytes));
}

HeapBytes DownloadBuffer::Take() noexcept {
    capacity_ = 0;
    count_ = 0;
    return std::move(block_);
}

void DownloadBuffer::RequireWithinLimit(std::uint64_t bytes) const {
    if (bytes > limit_.bytes) {
        throw LoadError(limit_.fault);
    }
}

void DownloadBuffer::Allocate(std::uint64_t capacity) {
    HeapBytes block(static_cast<std::uint8_t*>(AllocateHeapBlock(static_cast<std::size_t>(capacity) + 1)));
    if (!block) {
        throw std::bad_alloc();
    }
    if (block_) {
        std::memcpy(block.get(), block_.get(), static_cast<std::size_t>(count_));
    }
    block_ = std::move(block);
    capacity_ = capacity;
}

}  // namespace pixelforge
