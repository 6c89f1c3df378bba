// Parsing with RapidJSON, and typed look-ups.
#include "document/json_tree.h"

#include <rapidjson/error/en.h>

#include <algorithm>

#include "base/load_error.h"

namespace pixelforge {
namespace {

/// Iterative, so that hostile nesting cannot overflow the stack. Full precision is not needed, and for
/// "0.0e30" it would count the leading zeros of 0, which is undefined behaviour. Nor is a check of the
/// encoding: the units were widened here.
constexpr unsigned kParseFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag;

using JsonStream = rapidjson::GenericInsituStringStream<JsonEncoding>;

/// Forwards a parser's events to a tree and counts the values. Keys count too: they occupy as much.
class CountedEvents {
public:
    explicit CountedEvents(JsonDocument& tree) : tree_(tree) {}

    bool Null() { return Count() && tree_.Null(); }
    bool Bool(bool value) { return Count() && tree_.Bool(value); }
    bool Int(int value) { return Count() && tree_.Int(value); }
    bool Uint(unsigned value) { return Count() && tree_.Uint(value); }
    bool Int64(std::int64_t value) { return Count() && tree_.Int64(value); }
    bool Uint64(std::uint64_t value) { return Count() && tree_.Uint64(value); }
    bool Double(double value) { return Count() && tree_.Double(value); }
    bool RawNumber(const wchar_t* text, unsigned length, bool copy) {
        return Count() && tree_.RawNumber(text, length, copy);
    }
    bool String(const wchar_t* text, unsigned length, bool copy) {
        return Count() && tree_.String(text, length, copy);
    }
    bool Key(const wchar_t* text, unsigned length, bool copy) {
        return Count() && tree_.Key(text, length, copy);
    }
    bool StartObject() { return Count() && tree_.StartObject(); }
    bool StartArray() { return Count() && tree_.StartArray(); }
    bool EndObject(unsigned members) { return tree_.EndObject(members); }
    bool EndArray(unsigned elements) { return tree_.EndArray(elements); }

private:
    bool Count() noexcept { return ++values_ <= kMostJsonValues; }

    JsonDocument& tree_;
    std::size_t values_ = 0;
};

rapidjson::ParseResult ParseInPlace(JsonStream& stream, JsonDocument& tree) {
    rapidjson::GenericReader<JsonEncoding, JsonEncoding, JsonAllocator> reader;
    rapidjson::ParseResult result;
    const auto generate = [&](JsonDocument& target) {
        CountedEvents events(target);
        result = reader.Parse<kParseFlags>(stream, events);
        return !result.IsError();
    };
    try {
        tree.Populate(generate);
    } catch (const JsonAssertion&) {
        result.Set(rapidjson::kParseErrorStringUnicodeSurrogateInvalid, stream.Tell());
    }
    return result;
}

constexpr const char* kTypeNames[] = {"null",     "false",    "true",    "an object",
                                      "an array", "a string", "a number"};

std::wstring WidenOrThrow(std::string_view text, TextEncoding encoding) {
    auto units = Widen(text, encoding);
    if (!units) {
        throw LoadError("cannot be converted to UTF-16");
    }
    return std::move(*units);
}

std::string DescribePosition(std::wstring_view text, std::size_t offset) {
    std::size_t line = 1;
    std::size_t lineStart = 0;
    const std::size_t end = std::min(offset, text.size());
    for (std::size_t i = 0; i < end; ++i) {
        const bool firstOfPair = text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n';
        if ((text[i] == L'\n' || text[i] == L'\r') && !firstOfPair) {
            ++line;
            lineStart = i + 1;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(end - lineStart + 1);
}

}  // namespace

JsonTree::JsonTree(std::string_view text, TextEncoding encoding) : units_(WidenOrThrow(text, encoding)) {
    JsonStream stream(units_.data());
    const rapidjson::ParseResult result = ParseInPlace(stream, document_);
    if (result.Code() == rapidjson::kParseErrorTermination) {
        throw LoadError("more than " + std::to_string(kMostJsonValues) + " JSON values");
    }
    if (result.IsError()) {
        // The parse overwrote the units, so locate the error in a fresh copy.
        throw LoadError(DescribePosition(WidenOrThrow(text, encoding), result.Offset()) + ": " +
                        rapidjson::GetParseError_En(result.Code()));
    }
}

bool JsonNode::Has(const wchar_t* key) const {
    return value_->IsObject() && value_->HasMember(key);
}

JsonNode JsonNode::Object(const wchar_t* key) const {
    const JsonNode member = Member(key);
    return member.Require(member.value_->IsObject(), "an object");
}

JsonNode JsonNode::Array(const wchar_t* key) const {
    const JsonNode member = Member(key);
    return member.Require(member.value_->IsArray(), "an array");
}

std::wstring_view JsonNode::Text(const wchar_t* key) const {
    return Member(key).AsText();
}

double JsonNode::Number(const wchar_t* key) const {
    const JsonNode member = Member(key);
    return member.Require(member.value_->IsNumber(), "a number").value_->GetDouble();
}

JsonNode JsonNode::ObjectAt(std::size_t index) const {
    const JsonNode element = Element(index);
    return element.Require(element.value_->IsObject(), "an object");
}

std::wstring_view JsonNode::TextAt(std::size_t index) const {
    return Element(index).AsText();
}

void JsonNode::Fail(const wchar_t* key, const char* complaint) const {
    throw LoadError(PathOf(key) + ": " + complaint);
}

JsonNode JsonNode::Member(const wchar_t* key) const {
    if (!value_->IsObject()) {
        Fail(key, "missing");
    }
    const auto found = value_->FindMember(key);
    if (found == value_->MemberEnd()) {
        Fail(key, "missing");
    }
    return JsonNode(found->value, PathOf(key));
}

JsonNode JsonNode::Element(std::size_t index) const {
    const auto position = static_cast<rapidjson::SizeType>(index);
    return JsonNode((*value_)[position], path_ + '[' + std::to_string(index) + ']');
}

std::string JsonNode::PathOf(const wchar_t* key) const {
    const std::string name = ToUtf8(key);
    return path_.empty() ? name : path_ + '.' + name;
}

const JsonNode& JsonNode::Require(bool fits, const char* wanted) const {
    if (!fits) {
        throw LoadError(path_ + ": must be " + wanted + ", not " + kTypeNames[value_->GetType()]);
    }
    return *this;
}

std::wstring_view JsonNode::AsText() const {
    Require(value_->IsString(), "a string");
    return {value_->GetString(), value_->GetStringLength()};
}

}  // namespace pixelforge
