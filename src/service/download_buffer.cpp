// Growth of the download buffer.
#include "service/download_buffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace pixelforge {
namespace {

constexpr std::uint64_t kFirstCapacity = 4096;

}  // namespace

bool DownloadBuffer::Start(std::uint32_t announcedBytes) {
    announced_ = announcedBytes;
    count_ = 0;
    return Allocate(announcedBytes ? announcedBytes : kFirstCapacity);
}

std::span<std::uint8_t> DownloadBuffer::Room() noexcept {
    const std::uint64_t room = std::max<std::uint64_t>(capacity_ - count_, 1);
    return {block_.get() + count_, static_cast<std::size_t>(room)};
}

bool DownloadBuffer::Add(std::size_t bytes) {
    count_ += bytes;
    if (count_ < capacity_ || count_ == announced_) {
        return true;
    }
    std::uint64_t capacity = capacity_ * 2;
    while (capacity <= count_) {
        capacity *= 2;
    }
    return Allocate(capacity);
}

HeapBytes DownloadBuffer::Take() noexcept {
    capacity_ = 0;
    count_ = 0;
    return std::move(block_);
}

bool DownloadBuffer::Allocate(std::uint64_t capacity) {
    if (capacity > kLargestCapacity) {
        return false;
    }
    HeapBytes block(static_cast<std::uint8_t*>(AllocateHeapBlock(static_cast<std::size_t>(capacity) + 1)));
    if (!block) {
        return false;
    }
    if (block_) {
        std::memcpy(block.get(), block_.get(), static_cast<std::size_t>(count_));
    }
    block_ = std::move(block);
    capacity_ = capacity;
    return true;
}

}  // namespace pixelforge
