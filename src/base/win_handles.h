// Move-only owners of Windows handles, and scopes for other Windows resources.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <utility>

#include "base/bitmap.h"
#include "base/unique_handle.h"

namespace pixelforge {

struct KernelHandleTraits {
    using Handle = HANDLE;
    static void Close(HANDLE handle) noexcept { CloseHandle(handle); }
};

/// Files, events, threads and timers.
using UniqueKernelHandle = UniqueHandle<KernelHandleTraits>;

/// Owner of the result of `CreateFileW`, whose failure value is not null.
inline UniqueKernelHandle AdoptFileHandle(HANDLE file) noexcept {
    return UniqueKernelHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

template <class Object>
struct GdiObjectTraits {
    using Handle = Object;
    static void Close(Object object) noexcept { DeleteObject(object); }
};

using UniqueBrush = UniqueHandle<GdiObjectTraits<HBRUSH>>;
using UniqueFont = UniqueHandle<GdiObjectTraits<HFONT>>;

struct MemoryDcTraits {
    using Handle = HDC;
    static void Close(HDC dc) noexcept { DeleteDC(dc); }
};

/// A device context from `CreateCompatibleDC`.
using UniqueMemoryDc = UniqueHandle<MemoryDcTraits>;

struct WindowTraits {
    using Handle = HWND;
    static void Close(HWND window) noexcept { DestroyWindow(window); }
};

/// An owned window; destroy it on the thread that created it.
using UniqueWindow = UniqueHandle<WindowTraits>;

/// The device context of a window, or of the whole screen for a null window.
class WindowDc {
public:
    WindowDc() noexcept = default;
    explicit WindowDc(HWND window) noexcept : window_(window), dc_(GetDC(window)) {}
    WindowDc(WindowDc&& other) noexcept
        : window_(std::exchange(other.window_, nullptr)), dc_(std::exchange(other.dc_, nullptr)) {}
    WindowDc& operator=(WindowDc&& other) noexcept {
        std::swap(window_, other.window_);
        std::swap(dc_, other.dc_);
        return *this;
    }
    WindowDc(const WindowDc&) = delete;
    WindowDc& operator=(const WindowDc&) = delete;
    ~WindowDc() {
        if (dc_) {
            ReleaseDC(window_, dc_);
        }
    }

    HDC Get() const noexcept { return dc_; }
    HWND Window() const noexcept { return window_; }
    explicit operator bool() const noexcept { return dc_ != nullptr; }

private:
    HWND window_ = nullptr;
    HDC dc_ = nullptr;
};

/// Selects an object into a device context and restores the previous one at the end of the scope. Both the
/// context and the object must outlive it.
class GdiSelection {
public:
    GdiSelection(HDC dc, HGDIOBJ object) noexcept : dc_(dc), previous_(SelectObject(dc, object)) {}
    GdiSelection(const GdiSelection&) = delete;
    GdiSelection& operator=(const GdiSelection&) = delete;
    ~GdiSelection() {
        if (*this) {
            SelectObject(dc_, previous_);
        }
    }

    explicit operator bool() const noexcept { return previous_ && previous_ != HGDI_ERROR; }

private:
    HDC dc_;
    HGDIOBJ previous_;
};

/// A registered window class. Unregistering lets the module be loaded again after unloading.
class WindowClass {
public:
    WindowClass() noexcept = default;
    explicit WindowClass(const WNDCLASSEXW& description) noexcept
        : module_(description.hInstance), atom_(RegisterClassExW(&description)) {}
    WindowClass(WindowClass&& other) noexcept
        : module_(other.module_), atom_(std::exchange(other.atom_, ATOM{0})) {}
    WindowClass& operator=(WindowClass&& other) noexcept {
        std::swap(module_, other.module_);
        std::swap(atom_, other.atom_);
        return *this;
    }
    WindowClass(const WindowClass&) = delete;
    WindowClass& operator=(const WindowClass&) = delete;
    ~WindowClass() {
        if (atom_) {
            UnregisterClassW(Name(), module_);
        }
    }

    /// The class name for `CreateWindowExW`.
    const wchar_t* Name() const noexcept { return MAKEINTATOM(atom_); }
    HINSTANCE Module() const noexcept { return module_; }
    explicit operator bool() const noexcept { return atom_ != 0; }

private:
    HINSTANCE module_ = nullptr;
    ATOM atom_ = 0;
};

/// A lock for use with `std::lock_guard`, not recursive. It is constant-initialised and needs no release, so
/// that it can be a static object of a library that is unloaded.
class SlimLock {
public:
    constexpr SlimLock() noexcept = default;
    SlimLock(const SlimLock&) = delete;
    SlimLock& operator=(const SlimLock&) = delete;

    void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

/// A single-threaded COM apartment for one scope. An apartment of another kind that the host has already
/// entered serves as well and is left alone.
class ComApartment {
public:
    ComApartment() noexcept : status_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() {
        if (SUCCEEDED(status_)) {
            CoUninitialize();
        }
    }

    explicit operator bool() const noexcept { return SUCCEEDED(status_) || status_ == RPC_E_CHANGED_MODE; }

    /// Keeps the destructor from leaving the apartment: on the wrong thread, or where leaving could block.
    void Abandon() noexcept { status_ = RPC_E_CHANGED_MODE; }

private:
    HRESULT status_;
};

}  // namespace pixelforge
