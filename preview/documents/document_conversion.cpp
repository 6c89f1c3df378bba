// Writes shader documents; reads the format that lacks the outer "Shader" object.
#include "preview/documents/document_conversion.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "preview/documents/json_writer.h"

namespace pixelforge::preview {
namespace {

struct DocumentInfo {
    std::string_view id;
    std::string_view name;
    std::string_view username;
    std::string_view description = {};
    std::string_view tags = {};  ///< separated by blanks
};

void WriteTags(JsonWriter& json, std::string_view tags) {
    json.BeginArray("tags");
    for (std::size_t at = tags.find_first_not_of(' '); at != std::string_view::npos;
         at = tags.find_first_not_of(' ', at)) {
        const std::string_view tag = tags.substr(at, tags.find(' ', at) - at);
        json.Text({}, tag);
        at += tag.size();
    }
    json.EndArray();
}

void WriteInfo(JsonWriter& json, const DocumentInfo& info) {
    json.BeginObject("info");
    json.Text("id", info.id);
    json.Text("date", "0");
    json.Integer("viewed", 0);
    json.Text("name", info.name);
    json.Text("username", info.username);
    json.Text("description", info.description);
    for (const char* count : {"likes", "published", "flags", "usePreview"}) {
        json.Integer(count, 0);
    }
    WriteTags(json, info.tags);
    json.Integer("hasliked", 0);
    json.EndObject();
}

/// Everything around the passes, which `writePasses` adds.
template <class WritePasses>
std::string MakeDocument(const DocumentInfo& info, const WritePasses& writePasses) {
    JsonWriter json;
    json.BeginObject();
    json.BeginObject("Shader");
    json.Text("ver", "0.1");
    WriteInfo(json, info);
    json.BeginArray("renderpass");
    writePasses(json);
    json.EndArray();
    json.EndObject();
    json.EndObject();
    return json.Result();
}

void WriteSampler(JsonWriter& json, const ChannelInput& input) {
    json.BeginObject("sampler");
    json.Text("filter", input.filter);
    json.Text("wrap", input.wrap);
    json.Text("vflip", input.vflip);
    json.Text("srgb", "false");
    json.Text("internal", "byte");
    json.EndObject();
}

/// None for 0.
void WriteOutputs(JsonWriter& json, int outputId) {
    json.BeginArray("outputs");
    if (outputId != 0) {
        json.BeginObject();
        json.Integer("id", outputId);
        json.Integer("channel", 0);
        json.EndObject();
    }
    json.EndArray();
}

// Plain shader files.

struct PassRow {
    std::string_view stem;
    const char* type;
    const char* name;
    int outputId;  ///< 0: none
};

constexpr std::size_t kBufferARow = 2;
constexpr PassRow kPasses[] = {
    {"image", "image", "Image", kImageId},       {"common", "common", "Common", 0},
    {"a", "buffer", "Buffer A", kBufferAId},     {"b", "buffer", "Buffer B", kBufferAId + 1},
    {"c", "buffer", "Buffer C", kBufferAId + 2}, {"d", "buffer", "Buffer D", kBufferAId + 3},
    {"cube", "cubemap", "Cube A", kCubeId},
};

bool Has(const std::vector<PassFile>& passes, std::string_view stem) {
    return std::ranges::find(passes, stem, &PassFile::stem) != passes.end();
}

void PutOnFreeChannel(Channels& channels, std::string_view type, int id) {
    const auto free = std::ranges::find(channels, std::string_view(), &ChannelInput::type);
    if (free != channels.end()) {
        *free = {.type = type, .id = id};
    }
}

Channels ChooseChannels(const std::vector<PassFile>& passes) {
    Channels channels = {};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const PassRow& buffer = kPasses[kBufferARow + i];
        if (Has(passes, buffer.stem)) {
            channels[i] = {.type = buffer.type, .id = buffer.outputId};
        }
    }
    if (Has(passes, "cube")) {
        PutOnFreeChannel(channels, "cubemap", kCubeId);
    }
    PutOnFreeChannel(channels, "keyboard", kKeyboardId);
    return channels;
}

void WriteInputs(JsonWriter& json, const Channels& channels) {
    json.BeginArray("inputs");
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        const ChannelInput& input = channels[channel];
        if (input.type.empty()) {
            continue;
        }
        json.BeginObject();
        json.Text("ctype", input.type);
        json.Integer("channel", static_cast<std::int64_t>(channel));
        json.Integer("id", input.id);
        json.Text("src", input.src);
        WriteSampler(json, input);
        json.EndObject();
    }
    json.EndArray();
}

const PassRow& RowOf(std::string_view stem) {
    return *std::ranges::find(kPasses, stem, &PassRow::stem);
}

void AddInputPlaces(const PassFile& pass, const CommentLines& comments, std::vector<InputPlace>& inputs) {
    for (std::size_t channel = 0; channel < comments.lines.size(); ++channel) {
        if (const int line = comments.lines[channel]; line != 0) {
            inputs.push_back({RowOf(pass.stem).name, static_cast<int>(channel),
                              std::string(comments.channels[channel].type),
                              pass.name + ":" + std::to_string(line) + ":1"});
        }
    }
}

void WritePassFile(JsonWriter& json, const PassFile& pass, const Channels& channels) {
    const PassRow& row = RowOf(pass.stem);
    json.BeginObject();
    json.Text("type", row.type);
    json.Text("name", row.name);
    json.Text("code", pass.code);
    WriteInputs(json, row.outputId != 0 ? channels : Channels{});
    WriteOutputs(json, row.outputId);
    json.EndObject();
}

// Documents without "Shader".

using Value = rapidjson::Value;

constexpr unsigned kParseFlags = rapidjson::kParseIterativeFlag;

/// The ends of the paths of the service's preview images for outputs; some documents repeat "/media/a/"
/// before them.
constexpr std::pair<std::string_view, int> kPreviews[] = {
    {"/media/previz/buffer00.png", kBufferAId},     {"/media/previz/buffer01.png", kBufferAId + 1},
    {"/media/previz/buffer02.png", kBufferAId + 2}, {"/media/previz/buffer03.png", kBufferAId + 3},
    {"/media/previz/cubemap00.png", kCubeId},
};

const Value* Member(const Value& object, const char* key) {
    const auto found = object.FindMember(key);
    return found != object.MemberEnd() ? &found->value : nullptr;
}

/// Empty if the member is missing or not a string.
std::string_view Text(const Value& object, const char* key) {
    const Value* value = Member(object, key);
    return value && value->IsString() ? std::string_view(value->GetString(), value->GetStringLength())
                                      : std::string_view();
}

template <class Visitor>
void ForEachObject(const Value& object, const char* key, const Visitor& visit) {
    const Value* array = Member(object, key);
    if (!array || !array->IsArray()) {
        return;
    }
    for (const Value& element : array->GetArray()) {
        if (element.IsObject()) {
            visit(element);
        }
    }
}

const Value* BareShader(const Value& root) {
    const Value* shader = root.IsArray() && !root.Empty() ? &root[0] : &root;
    if (!shader->IsObject() || shader->HasMember("Shader")) {
        return nullptr;
    }
    const Value* passes = Member(*shader, "renderpass");
    return passes && passes->IsArray() ? shader : nullptr;
}

/// 0 for passes without an output.
int OutputId(const Value& pass) {
    const std::string_view type = Text(pass, "type");
    const std::string_view name = Text(pass, "name");
    const char letter = name.empty() ? '?' : name.back();
    if (type == "buffer" && letter >= 'A' && letter <= 'D') {
        return kBufferAId + (letter - 'A');
    }
    return type == "cubemap" ? kCubeId : type == "image" ? kImageId : 0;
}

/// The output that an input reads, identified by the service's preview image for it; 0 for media.
int InputId(const Value& input) {
    const std::string_view path = Text(input, "filepath");
    const auto isEnd = [path](const auto& preview) { return path.ends_with(preview.first); };
    const auto found = std::ranges::find_if(kPreviews, isEnd);
    return found != std::end(kPreviews) ? found->second : 0;
}

void WriteSampler(JsonWriter& json, const Value& input) {
    const Value* sampler = Member(input, "sampler");
    if (!sampler || !sampler->IsObject()) {
        WriteSampler(json, ChannelInput{});
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
    json.Integer("channel", channel && channel->IsInt() ? channel->GetInt() : -1);
    json.Integer("id", InputId(input));
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
    WriteOutputs(json, OutputId(pass));
    json.EndObject();
}

// Changes to documents.

/// Null unless there is such an array.
Value* ArrayIn(Value& object, const char* key) {
    const auto found = object.IsObject() ? object.FindMember(key) : Value::MemberIterator();
    const bool any = object.IsObject() && found != object.MemberEnd() && found->value.IsArray();
    return any ? &found->value : nullptr;
}

/// Null if there is no image pass.
Value* InputsOfImage(Value& root) {
    const bool enclosed = root.IsObject() && root.HasMember("Shader");
    Value* passes = enclosed ? ArrayIn(root["Shader"], "renderpass") : nullptr;
    for (rapidjson::SizeType i = 0; passes && i < passes->Size(); ++i) {
        Value& pass = (*passes)[i];
        if (pass.IsObject() && Text(pass, "type") == "image") {
            return ArrayIn(pass, "inputs");
        }
    }
    return nullptr;
}

}  // namespace

std::string_view PassNameOf(std::string_view stem) {
    return RowOf(stem).name;
}

MadeDocument DocumentOfPassFiles(std::string_view stem, const std::vector<PassFile>& passes,
                                 const FileExists& exists) {
    MadeDocument made;
    std::vector<CommentLines> comments;
    for (const PassFile& pass : passes) {
        comments.push_back(ReadCommentLines(pass, passes, exists));
        std::ranges::copy(comments.back().errors, std::back_inserter(made.errors));
        AddInputPlaces(pass, comments.back(), made.inputs);
    }
    const CommentLines& image = comments.front();
    const bool explicitInputs = std::ranges::any_of(comments, &CommentLines::nameInputs);
    const Channels usual = ChooseChannels(passes);
    const auto orElse = [](std::string_view text, std::string_view other) {
        return text.empty() ? other : text;
    };
    const DocumentInfo info = {.id = stem,
                               .name = orElse(image.name, stem),
                               .username = orElse(image.author, "local file"),
                               .description = image.description,
                               .tags = image.tags};
    made.json = MakeDocument(info, [&](JsonWriter& json) {
        for (std::size_t i = 0; i < passes.size(); ++i) {
            WritePassFile(json, passes[i], explicitInputs ? comments[i].channels : usual);
        }
    });
    return made;
}

std::optional<std::string> ConvertBareDocument(std::string_view document) {
    rapidjson::Document tree;
    tree.Parse<kParseFlags>(document.data(), document.size());
    const Value* shader = tree.HasParseError() ? nullptr : BareShader(tree);
    if (!shader) {
        return std::nullopt;
    }
    static const Value kNoInfo(rapidjson::kObjectType);
    const Value* given = Member(*shader, "info");
    const Value& info = given && given->IsObject() ? *given : kNoInfo;
    return MakeDocument({.id = Text(info, "id"),
                         .name = Text(info, "name"),
                         .username = Text(info, "username"),
                         .description = Text(info, "description")},
                        [&](JsonWriter& json) {
                            ForEachObject(*shader, "renderpass",
                                          [&](const Value& pass) { WritePass(json, pass); });
                        });
}

std::string WithPicture(std::string_view document, std::string_view path) {
    rapidjson::Document tree;
    tree.Parse<kParseFlags>(document.data(), document.size());
    Value* inputs = tree.HasParseError() ? nullptr : InputsOfImage(tree);
    if (!inputs) {
        return std::string(document);
    }
    JsonWriter json;
    json.BeginObject();
    json.Text("ctype", "texture");
    json.Integer("channel", 0);
    json.Integer("id", 0);
    json.Text("src", path);
    WriteSampler(json, ChannelInput{.filter = "mipmap", .wrap = "repeat", .vflip = "true"});
    json.EndObject();
    rapidjson::Document input(&tree.GetAllocator());
    input.Parse(json.Result().c_str());
    // Of several inputs on a channel the module uses the last.
    inputs->PushBack(input, tree.GetAllocator());
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    tree.Accept(writer);
    return text.GetString();
}

}  // namespace pixelforge::preview
