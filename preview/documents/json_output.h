// Writes the parts of shader documents that conversions have in common.
#pragma once

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <string>
#include <string_view>

namespace pixelforge::preview {

struct DocumentInfo {
    std::string_view id;
    std::string_view name;
    std::string_view username;
    std::string_view description = {};
};

class JsonWriter {
public:
    JsonWriter() : writer_(buffer_) {}

    /// An empty key inside an array, or for the outermost object.
    void BeginObject(std::string_view key = {});
    void EndObject() { writer_.EndObject(); }
    void BeginArray(std::string_view key);
    void EndArray() { writer_.EndArray(); }
    void Text(std::string_view key, std::string_view text);
    void Number(std::string_view key, int number);

    /// "info" with every key that the module wants, what is not given as 0 or empty.
    void Info(const DocumentInfo& info);

    /// "sampler" with the service's defaults.
    void UsualSampler();

    std::string Take() { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
    void Key(std::string_view key);

    rapidjson::StringBuffer buffer_;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer_;
};

}  // namespace pixelforge::preview
