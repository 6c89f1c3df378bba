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
    JsonWriter();

    void BeginObject(std::string_view key = {});
    void EndObject() { writer_.EndObject(); }
    void BeginArray(std::string_view key);
    void EndArray() { writer_.EndArray(); }
    void Text(std::string_view key, std::string_view text);
    void Integer(std::string_view key, std::int64_t number);
    void Decimal(std::string_view key, double number);  ///< up to four decimal places
    void Flag(std::string_view key, bool flag);

    std::string Result() const { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
    void Key(std::string_view key);

    rapidjson::StringBuffer buffer_;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer_;
};

}  // namespace pixelforge::preview
