// Process-wide audio capture: one thread records the system's output and publishes its spectrum.
#pragma once

#include <cstdint>

#include "inputs/spectrum.h"

namespace pixelforge {

/// Adds a user; the first one starts the capture thread, which stays away from the sound system until a
/// listener is added. Returns 1, or 0 if memory or the thread is unavailable. Safe to call during process
/// attach.
std::int32_t StartAudioCapture() noexcept;

/// Removes a user; the last one stops the thread, within about a second. Safe to call during process detach:
/// afterwards the thread runs no code of this library.
void StopAudioCapture() noexcept;

/// Adds a listener; the capture thread then opens the stream, for the first one. Returns immediately. Not for
/// process attach.
void AddAudioListener() noexcept;

/// Removes a listener; the last one closes the stream and waits for that, at most two seconds. If it takes
/// longer, it ends by itself, and so does an opening; the library stays loaded until then. Not for process
/// detach, where the sound system could not finish its own threads.
void RemoveAudioListener() noexcept;

/// The bytes of one complete spectrum step; zeros before the first. Callable from any thread.
SpectrumBytes CopyAudioSpectrum() noexcept;

/// Replaces what `CopyAudioSpectrum` returns, as the capture thread does after each step.
void PublishSpectrum(const SpectrumBytes& bytes) noexcept;

}  // namespace pixelforge
