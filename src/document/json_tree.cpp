// Parsing with RapidJSON, and typed look-ups.
#include "document/json_tree.h"

#include <rapidjson/error/en.h>

#include <algorithm>

#include "base/load_error.h"

namespace pixelforge {
namespace {

/// Iterative, so that hostile nesting cannot overflow the stack. Full precision is not needed, and for
/// "0.0e30" it would count the leading zeros of 0, which is undefined behaviour.
constexpr unsigned kParseFlags =
    rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;

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
    rapidjson::GenericInsituStringStream<JsonEncoding> stream(units_.data());
    rapidjson::ParseErrorCode code = rapidjson::kParseErrorNone;
    std::size_t offset = 0;
    try {
        document_.ParseStream<kParseFlags>(stream);
        code = document_.GetParseError();
        offset = document_.GetErrorOffset();
    } catch (const JsonAssertion&) {
        code = rapidjson::kParseErrorStringUnicodeSurrogateInvalid;
        offset = stream.Tell();
    }
    if (code != rapidjson::kParseErrorNone) {
        // The parse overwrote the units, so locate the error in a fresh copy.
        throw LoadError(DescribePosition(WidenOrThrow(text, encoding), offset) + ": " +
                        rapidjson::GetParseError_En(code));
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
