// Writes indented JSON.
#pragma once

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace pixelforge::preview {

/// UTF-8. Keys are empty for array elements and for the outermost object.
class JsonWriter {
public:
    JsonWriter() {
        writer_.SetIndent(' ', 2);
        writer_.SetMaxDecimalPlaces(4);
    }

    void BeginObject(std::string_view key = {}) { Keyed(key).StartObject(); }
    void EndObject() { writer_.EndObject(); }
    void BeginArray(std::string_view key) { Keyed(key).StartArray(); }
    void EndArray() { writer_.EndArray(); }
    void Text(std::string_view key, std::string_view text) {
        Keyed(key).String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }
    void Integer(std::string_view key, std::int64_t number) { Keyed(key).Int64(number); }
    void Decimal(std::string_view key, double number) { Keyed(key).Double(number); }
    void Flag(std::string_view key, bool flag) { Keyed(key).Bool(flag); }

    std::string Result() const { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
    using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

    Writer& Keyed(std::string_view key) {
        if (!key.empty()) {
            writer_.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
        }
        return writer_;
    }

    rapidjson::StringBuffer buffer_;
    Writer writer_{buffer_};
};

}  // namespace pixelforge::preview
