// The process's sound: one thread that listens to what the computer plays and keeps its spectrum up to date.
#pragma once

#include <cstdint>

#include "inputs/spectrum.h"

namespace pixelforge {

/// Adds a user; the first one starts the capture thread. 1, or 0 when memory or the thread cannot be had.
/// Made to be called while the library is being loaded.
std::int32_t StartAudioCapture() noexcept;

/// Takes a user away; with the last one the thread ends, after at most about a second. Made to be called
/// while the library is being unloaded; no code of the library runs on the thread afterwards.
void StopAudioCapture() noexcept;

/// A whole set from one spectrum step, zeros before the first one. Any thread, between start and stop.
SpectrumBytes CopyAudioSpectrum() noexcept;

/// Replaces the set that readers get; between start and stop. The capture thread does so behind every step.
void PublishSpectrum(const SpectrumBytes& bytes) noexcept;

}  // namespace pixelforge
