// Zero-filled blocks and records on the process's global heap, and their owners.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace pixelforge {

/// A zero-filled block from the global heap, or null. Free it with `ReleaseHeapBlock`.
void* AllocateHeapBlock(std::size_t bytes) noexcept;

/// Frees a block from `AllocateHeapBlock`; null is allowed.
void ReleaseHeapBlock(void* block) noexcept;

struct HeapBlockDeleter {
    void operator()(void* block) const noexcept { ReleaseHeapBlock(block); }
};

/// Owner of a NUL-terminated narrow string.
using HeapText = std::unique_ptr<char[], HeapBlockDeleter>;

/// Owner of raw bytes; the length is kept separately.
using HeapBytes = std::unique_ptr<std::uint8_t[], HeapBlockDeleter>;

/// A zero-filled text block of `bytes` bytes, terminator included, or null.
inline HeapText AllocateHeapText(std::size_t bytes) noexcept {
    return HeapText(static_cast<char*>(AllocateHeapBlock(bytes)));
}

template <class Record>
struct HeapRecordDeleter {
    void operator()(Record* record) const noexcept {
        record->~Record();
        ReleaseHeapBlock(record);
    }
};

/// Owner of one record on the global heap.
template <class Record>
using HeapRecord = std::unique_ptr<Record, HeapRecordDeleter<Record>>;

/// A value-initialised record in a zero-filled block, or null if the heap is exhausted.
template <class Record>
HeapRecord<Record> NewHeapRecord() noexcept {
    void* block = AllocateHeapBlock(sizeof(Record));
    return HeapRecord<Record>(block ? ::new (block) Record() : nullptr);
}

}  // namespace pixelforge
