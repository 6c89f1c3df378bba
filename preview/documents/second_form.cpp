// Translates documents of the second form.
#include "preview/documents/second_form.h"

#include <rapidjson/document.h>

#include "preview/documents/json_output.h"

namespace pixelforge::preview {
namespace {

using Value = rapidjson::Value;

constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag;
constexpr std::string_view kBufferPreview = "/media/previz/buffer0";
constexpr std::string_view kCubePreview = "/media/previz/cubemap00";
constexpr int kBufferAId = 257;
constexpr int kCubeId = 41;
constexpr int kImageId = 37;

const Value* Member(const Value& object, const char* key) {
    const auto found = object.FindMember(key);
    return found != object.MemberEnd() ? &found->value : nullptr;
}

/// Empty for a missing member and for one that is no text.
std::string_view Text(const Value& object, const char* key) {
    const Value* value = Member(object, key);
    return value != nullptr && value->IsString()
               ? std::string_view(value->GetString(), value->GetStringLength())
               : std::string_view();
}

template <class Visitor>
void ForEachObject(const Value& object, const char* key, const Visitor& visit) {
    const Value* array = Member(object, key);
    if (array == nullptr || !array->IsArray()) {
        return;
    }
    for (const Value& element : array->GetArray()) {
        if (element.IsObject()) {
            visit(element);
        }
    }
}

const Value* SecondFormShader(const Value& root) {
    const Value* shader = root.IsArray() && !root.Empty() ? &root[0] : &root;
    if (!shader->IsObject() || shader->HasMember("Shader")) {
        return nullptr;
    }
    const Value* passes = Member(*shader, "renderpass");
    return passes != nullptr && passes->IsArray() ? shader : nullptr;
}

/// The number of a pass's own output; 0 for passes without one.
int OutputId(const Value& pass) {
    const std::string_view type = Text(pass, "type");
    const std::string_view name = Text(pass, "name");
    const char letter = name.empty() ? '?' : name.back();
    if (type == "buffer" && letter >= 'A' && letter <= 'D') {
        return kBufferAId + (letter - 'A');
    }
    return type == "cubemap" ? kCubeId : type == "image" ? kImageId : 0;
}

/// By the file that the service shows for a pass's output. 0 for real media.
int InputId(const Value& input) {
    const std::string_view path = Text(input, "filepath");
    if (path.starts_with(kBufferPreview) && path.size() > kBufferPreview.size()) {
        const char digit = path[kBufferPreview.size()];
        return digit >= '0' && digit <= '3' ? kBufferAId + (digit - '0') : 0;
    }
    return path.starts_with(kCubePreview) ? kCubeId : 0;
}

void WriteSampler(JsonWriter& json, const Value& input) {
    const Value* sampler = Member(input, "sampler");
    if (sampler == nullptr || !sampler->IsObject()) {
        json.UsualSampler();
        return;
    }
    json.BeginObject("sampler");
    for (const char* key : {"filter", "wrap", "vflip", "srgb", "internal"}) {
        json.Text(key, Text(*sampler, key));
    }
    json.EndObject();
}

void WriteInput(JsonWriter& json, const Value& input) {
    const Value* channel = Member(input, "channel");
    json.BeginObject();
    json.Text("ctype", Text(input, "type"));
    json.Number("channel", channel != nullptr && channel->IsInt() ? channel->GetInt() : -1);
    json.Number("id", InputId(input));
    json.Text("src", Text(input, "filepath"));
    WriteSampler(json, input);
    json.EndObject();
}

void WritePass(JsonWriter& json, const Value& pass) {
    json.BeginObject();
    json.Text("type", Text(pass, "type"));
    json.Text("name", Text(pass, "name"));
    json.Text("code", Text(pass, "code"));
    json.BeginArray("inputs");
    ForEachObject(pass, "inputs", [&](const Value& input) { WriteInput(json, input); });
    json.EndArray();
    json.BeginArray("outputs");
    if (const int id = OutputId(pass)) {
        json.BeginObject();
        json.Number("id", id);
        json.Number("channel", 0);
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
}

}  // namespace

std::optional<std::string> TranslateSecondForm(std::string_view document) {
    rapidjson::Document tree;
    tree.Parse<kParseFlags>(document.data(), document.size());
    const Value* shader = tree.HasParseError() ? nullptr : SecondFormShader(tree);
    if (shader == nullptr) {
        return std::nullopt;
    }
    static const Value kNoInfo(rapidjson::kObjectType);
    const Value* given = Member(*shader, "info");
    const Value& info = given != nullptr && given->IsObject() ? *given : kNoInfo;
    JsonWriter json;
    json.BeginObject();
    json.BeginObject("Shader");
    json.Text("ver", "0.1");
    json.Info({.id = Text(info, "id"),
               .name = Text(info, "name"),
               .username = Text(info, "username"),
               .description = Text(info, "description")});
    json.BeginArray("renderpass");
    ForEachObject(*shader, "renderpass", [&](const Value& pass) { WritePass(json, pass); });
    json.EndArray();
    json.EndObject();
    json.EndObject();
    return json.Take();
}

}  // namespace pixelforge::preview
