// Forwards to RapidJSON's writer.
#include "preview/documents/json_writer.h"

namespace pixelforge::preview {
namespace {

rapidjson::SizeType LengthOf(std::string_view text) {
    return static_cast<rapidjson::SizeType>(text.size());
}

}  // namespace

JsonWriter::JsonWriter() : writer_(buffer_) {
    writer_.SetIndent(' ', 2);
    writer_.SetMaxDecimalPlaces(4);
}

void JsonWriter::Key(std::string_view key) {
    if (!key.empty()) {
        writer_.Key(key.data(), LengthOf(key));
    }
}

void JsonWriter::BeginObject(std::string_view key) {
    Key(key);
    writer_.StartObject();
}

void JsonWriter::BeginArray(std::string_view key) {
    Key(key);
    writer_.StartArray();
}

void JsonWriter::Text(std::string_view key, std::string_view text) {
    Key(key);
    writer_.String(text.data(), LengthOf(text));
}

void JsonWriter::Integer(std::string_view key, std::int64_t number) {
    Key(key);
    writer_.Int64(number);
}

void JsonWriter::Decimal(std::string_view key, double number) {
    Key(key);
    writer_.Double(number);
}

void JsonWriter::Flag(std::string_view key, bool flag) {
    Key(key);
    writer_.Bool(flag);
}

}  // namespace pixelforge::preview
