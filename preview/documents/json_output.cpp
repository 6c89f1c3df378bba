// The writer behind document conversions.
#include "preview/documents/json_output.h"

namespace pixelforge::preview {

void JsonWriter::Key(std::string_view key) {
    if (!key.empty()) {
        writer_.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
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
    writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void JsonWriter::Number(std::string_view key, int number) {
    Key(key);
    writer_.Int(number);
}

void JsonWriter::Info(const DocumentInfo& info) {
    BeginObject("info");
    Text("id", info.id);
    Text("date", "0");
    Text("name", info.name);
    Text("username", info.username);
    Text("description", info.description);
    for (const char* count : {"viewed", "likes", "published", "flags", "usePreview", "hasliked"}) {
        Number(count, 0);
    }
    BeginArray("tags");
    EndArray();
    EndObject();
}

void JsonWriter::UsualSampler() {
    BeginObject("sampler");
    Text("filter", "linear");
    Text("wrap", "clamp");
    Text("vflip", "false");
    Text("srgb", "false");
    Text("internal", "byte");
    EndObject();
}

}  // namespace pixelforge::preview
