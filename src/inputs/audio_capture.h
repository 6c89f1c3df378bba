// Process-wide audio capture: one thread records the system's output and publishes its spectrum.
#pragma once

#include <cstdint>

#include "inputs/spectrum.h"

namespace pixelforge {

/// Adds a user; the first one starts the capture thread. Returns 1, or 0 if memory or the thread is
/// unavailable. Safe to call during process attach.
std::int32_t StartAudioCapture() noexcept;

/// Removes a user; the last one stops the thread, within about a second. Safe to call during process detach:
/// afterwards the thread runs no code of this library.
void StopAudioCapture() noexcept;

/// The bytes of one complete spectrum step; zeros before the first. Callable from any thread between start
/// and stop.
SpectrumBytes CopyAudioSpectrum() noexcept;

/// Replaces what `CopyAudioSpectrum` returns, as the capture thread does after each step. Callable between
/// start and stop.
void PublishSpectrum(const SpectrumBytes& bytes) noexcept;

}  // namespace pixelforge
