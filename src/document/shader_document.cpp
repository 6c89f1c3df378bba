// The names of passes.
#include "document/shader_document.h"

namespace pixelforge {
namespace {

struct PassNames {
    const wchar_t* wide;
    const char* narrow;
};

/// Indexed by slot.
constexpr PassNames kPassNames[kPassSlots] = {
    {L"+", "+"},
    {L"Common", "Common"},
    {L"Buffer A", "Buffer A"},
    {L"Buffer B", "Buffer B"},
    {L"Buffer C", "Buffer C"},
    {L"Buffer D", "Buffer D"},
    {L"Cube A", "Cube A"},
    {L"Image", "Image"},
};

}  // namespace

const wchar_t* PassName(std::uint32_t slot) noexcept {
    return slot < kPassSlots ? kPassNames[slot].wide : L"";
}

const char* PassNarrowName(std::uint32_t slot) noexcept {
    return slot < kPassSlots ? kPassNames[slot].narrow : "";
}

}  // namespace pixelforge
