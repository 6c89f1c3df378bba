// Parsed JSON with typed look-ups, whose errors give the path of the missing or wrong value.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include "base/text.h"

namespace pixelforge {

/// Thrown by RapidJSON's assertions; an escaped lone low surrogate triggers one.
struct JsonAssertion {};

}  // namespace pixelforge

#define RAPIDJSON_ASSERT(condition) ((condition) ? static_cast<void>(0) : throw ::pixelforge::JsonAssertion())

#include <rapidjson/document.h>

namespace pixelforge {

/// Throwing allocator for RapidJSON, which does not check for null.
class JsonAllocator {
public:
    static const bool kNeedFree = true;
    void* Malloc(std::size_t size) { return size ? Checked(std::malloc(size)) : nullptr; }
    void* Realloc(void* block, std::size_t, std::size_t newSize) {
        if (newSize == 0) {
            std::free(block);
            return nullptr;
        }
        return Checked(std::realloc(block, newSize));
    }
    static void Free(void* block) { std::free(block); }

private:
    static void* Checked(void* block) { return block ? block : throw std::bad_alloc(); }
};

using JsonEncoding = rapidjson::UTF16<wchar_t>;
using JsonPool = rapidjson::MemoryPoolAllocator<JsonAllocator>;
using JsonValue = rapidjson::GenericValue<JsonEncoding, JsonPool>;
using JsonDocument = rapidjson::GenericDocument<JsonEncoding, JsonPool, JsonAllocator>;

/// Most values, keys included, in a text. A value takes up to 56 bytes during the parse, but only 2 in the
/// text.
inline constexpr std::size_t kMostJsonValues = std::size_t{1} << 20;

/// One value and its path, valid while its tree lives. A failed look-up throws a `LoadError` such as
/// "Shader.renderpass[2].inputs: must be an array, not a string". Of duplicate keys the first wins.
class JsonNode {
public:
    JsonNode(const JsonValue& value, std::string path) : value_(&value), path_(std::move(path)) {}

    bool IsArray() const { return value_->IsArray(); }
    bool Has(const wchar_t* key) const;

    JsonNode Object(const wchar_t* key) const;
    JsonNode Array(const wchar_t* key) const;
    std::wstring_view Text(const wchar_t* key) const;
    double Number(const wchar_t* key) const;

    std::size_t Length() const { return value_->Size(); }  ///< of an array
    JsonNode ObjectAt(std::size_t index) const;
    std::wstring_view TextAt(std::size_t index) const;

    /// Throws a `LoadError` about the member `key` of this object.
    [[noreturn]] void Fail(const wchar_t* key, const char* complaint) const;

private:
    JsonNode Member(const wchar_t* key) const;
    JsonNode Element(std::size_t index) const;
    std::string PathOf(const wchar_t* key) const;
    const JsonNode& Require(bool fits, const char* wanted) const;
    std::wstring_view AsText() const;

    const JsonValue* value_;
    std::string path_;
};

class JsonTree {
public:
    /// Throws a `LoadError` with line and column for malformed JSON, or for too many values.
    JsonTree(std::string_view text, TextEncoding encoding);

    JsonNode Root() const { return JsonNode(document_, ""); }

private:
    std::wstring units_;  ///< parsed in place: the tree's strings point into it
    JsonDocument document_;
};

}  // namespace pixelforge
