// Owner of a system handle, parameterised by traits. Needs no Windows header.
#pragma once

#include <utility>

namespace pixelforge {

/// Move-only owner that closes its handle exactly once. `Traits` names the handle's type and how to close it;
/// an empty handle is null.
template <class Traits>
class UniqueHandle {
public:
    using Handle = typename Traits::Handle;

    UniqueHandle() noexcept = default;
    explicit UniqueHandle(Handle handle) noexcept : handle_(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;
    ~UniqueHandle() { Reset(); }

    Handle Get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != nullptr; }
    [[nodiscard]] Handle Release() noexcept { return std::exchange(handle_, nullptr); }
    void Reset(Handle handle = nullptr) noexcept {
        const Handle old = std::exchange(handle_, handle);
        if (old && old != handle) {
            Traits::Close(old);
        }
    }

private:
    Handle handle_ = nullptr;
};

}  // namespace pixelforge
