// An include context and texts for its table.
#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "base/heap.h"
#include "glsl/include_preprocessor.h"

namespace pixelforge {

/// A block of exactly the text and its NUL, so that a read behind it is seen by the sanitizers.
inline HeapText CopyText(std::string_view text) {
    HeapText copy = AllocateHeapText(text.size() + 1);
    text.copy(copy.get(), text.size());
    return copy;
}

class IncludeFixture : public testing::Test {
protected:
    void Register(std::wstring_view name, std::string_view text) {
        ASSERT_TRUE(RegisterVirtualInclude(*context_, name, CopyText(text)));
    }

    HeapRecord<IncludeContext> context_ = NewHeapRecord<IncludeContext>();
};

}  // namespace pixelforge
