// Builds shader documents as JSON trees, and reads the format that lacks the outer "Shader" object.
#include "preview/documents/document_conversion.h"

#include <rapidjson/pointer.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <iterator>
#include <sstream>

namespace pixelforge::preview {
namespace {

using Value = rapidjson::Value;
using Allocator = rapidjson::Document::AllocatorType;

// Everything that the module requires, in the order of the format.
constexpr const char* kDocument = R"({"Shader": {"ver": "0.1", "info": {
    "id": "", "date": "0", "viewed": 0, "name": "", "username": "", "description": "",
    "likes": 0, "published": 0, "flags": 0, "usePreview": 0, "tags": [], "hasliked": 0},
    "renderpass": []}})";
constexpr const char* kPass = R"({"type": "", "name": "", "code": "", "inputs": [], "outputs": []})";
constexpr const char* kInput = R"({"ctype": "", "channel": -1, "id": 0, "src": "", "sampler": {
    "filter": "linear", "wrap": "clamp", "vflip": "false", "srgb": "false", "internal": "byte"}})";
constexpr const char* kOutput = R"({"id": 0, "channel": 0})";

/// Does not nest calls, so that no text can overflow the stack.
rapidjson::Document Parse(std::string_view text) {
    rapidjson::Document tree;
    tree.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    return tree;
}

std::string JsonOf(const rapidjson::Document& tree) {
    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
    writer.SetIndent(' ', 2);
    tree.Accept(writer);
    return {text.GetString(), text.GetSize()};
}

// The allocator is that of the object's document.

void Set(Value& object, const char* key, std::string_view text, Allocator& allocator) {
    object[key].SetString(std::string(text).c_str(), static_cast<rapidjson::SizeType>(text.size()),
                          allocator);
}

/// Copies the texts and numbers that both objects have, also in their objects.
void CopyShared(Value& target, const Value* source, Allocator& allocator) {
    if (!source || !source->IsObject()) {
        return;
    }
    // A range loop over GetObject() is ambiguous to clang.
    for (auto member = target.MemberBegin(); member < target.MemberEnd(); ++member) {
        const auto found = source->FindMember(member->name);
        if (found == source->MemberEnd() || found->value.GetType() != member->value.GetType()) {
            continue;
        }
        if (member->value.IsObject()) {
            CopyShared(member->value, &found->value, allocator);
        } else if (!member->value.IsArray()) {
            member->value.CopyFrom(found->value, allocator);
        }
    }
}

/// Adds a copy of this JSON text to the array and returns it.
Value& Append(Value& array, const char* json, Allocator& allocator) {
    rapidjson::Document part(&allocator);
    part.Parse(json);
    array.PushBack(part, allocator);
    return array[array.Size() - 1];
}

/// Without an output for 0.
Value& AddPass(rapidjson::Document& tree, int outputId) {
    Value& pass = Append(tree["Shader"]["renderpass"], kPass, tree.GetAllocator());
    if (outputId != 0) {
        Append(pass["outputs"], kOutput, tree.GetAllocator())["id"] = outputId;
    }
    return pass;
}

void AddInput(Value& inputs, std::size_t channel, const ChannelInput& input, Allocator& allocator) {
    Value& made = Append(inputs, kInput, allocator);
    Set(made, "ctype", input.type, allocator);
    made["channel"] = static_cast<int>(channel);
    made["id"] = input.id;
    Set(made, "src", input.src, allocator);
    Set(made["sampler"], "filter", input.filter, allocator);
    Set(made["sampler"], "wrap", input.wrap, allocator);
    Set(made["sampler"], "vflip", input.vflip, allocator);
}

struct PassRow {
    std::string_view stem;
    std::string_view type;
    std::string_view name;
    int outputId;              ///< 0: none
    std::string_view preview;  ///< end of the path of the service's image for the output
};

constexpr PassRow kPasses[] = {
    {"a", "buffer", "Buffer A", kBufferAId, "/media/previz/buffer00.png"},
    {"b", "buffer", "Buffer B", kBufferAId + 1, "/media/previz/buffer01.png"},
    {"c", "buffer", "Buffer C", kBufferAId + 2, "/media/previz/buffer02.png"},
    {"d", "buffer", "Buffer D", kBufferAId + 3, "/media/previz/buffer03.png"},
    {"cube", "cubemap", "Cube A", kCubeId, "/media/previz/cubemap00.png"},
    {"image", "image", "Image", kImageId, {}},
    {"common", "common", "Common", 0, {}},
};

// Plain shader files.

Channels UsualChannels(const std::vector<PassFile>& passes) {
    Channels channels = {};
    const auto has = [&](std::string_view stem) {
        return std::ranges::find(passes, stem, &PassFile::stem) != passes.end();
    };
    std::vector<ChannelInput> others = {{.type = "keyboard", .id = kKeyboardId}};
    if (has("cube")) {
        others.push_back({.type = "cubemap", .id = kCubeId});
    }
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (has(kPasses[i].stem)) {
            channels[i] = {.type = "buffer", .id = kPasses[i].outputId};
        } else if (!others.empty()) {
            channels[i] = others.back();
            others.pop_back();
        }
    }
    return channels;
}

void AddPassFile(const PassFile& file, const Channels& channels, rapidjson::Document& tree,
                 MadeDocument& made) {
    Allocator& allocator = tree.GetAllocator();
    const PassRow& row = *std::ranges::find(kPasses, file.stem, &PassRow::stem);
    const std::string name(row.name);
    made.texts.push_back({name, file.name, file.code});
    Value& pass = AddPass(tree, row.outputId);
    Set(pass, "type", row.type, allocator);
    Set(pass, "name", row.name, allocator);
    Set(pass, "code", file.code, allocator);
    for (std::size_t i = 0; i < channels.size() && row.outputId != 0; ++i) {
        const ChannelInput& input = channels[i];
        if (!input.type.empty()) {
            AddInput(pass["inputs"], i, input, allocator);
        }
        if (input.line != 0) {
            const std::string place = file.name + ":" + std::to_string(input.line) + ":1";
            made.inputs.push_back({name, static_cast<int>(i), std::string(input.type), place, input.src});
        }
    }
}

// Documents without "Shader".

/// Of the first pass for which this is true; 0 if there is none.
template <class Test>
int OutputId(Test&& test) {
    const auto row = std::ranges::find_if(kPasses, test);
    return row != std::end(kPasses) ? row->outputId : 0;
}

void AddBarePass(rapidjson::Document& tree, const Value& given) {
    const std::string_view type = TextAt(given, "/type");
    const std::string_view name = TextAt(given, "/name");
    Allocator& allocator = tree.GetAllocator();
    Value& pass =
        AddPass(tree, OutputId([&](const PassRow& row) {
                    return row.type == type && (type != "buffer" || name.ends_with(row.name.back()));
                }));
    CopyShared(pass, &given, allocator);
    for (const Value* input : ObjectsAt(given, "/inputs")) {
        const std::string_view path = TextAt(*input, "/filepath");
        Value& made = Append(pass["inputs"], kInput, allocator);
        CopyShared(made, input, allocator);
        Set(made, "ctype", TextAt(*input, "/type"), allocator);
        Set(made, "src", path, allocator);
        made["id"] =
            OutputId([&](const PassRow& row) { return !row.preview.empty() && path.ends_with(row.preview); });
    }
}

}  // namespace

std::string_view TextAt(const Value& value, const char* pointer) {
    const Value* text = rapidjson::Pointer(pointer).Get(value);
    return text && text->IsString() ? std::string_view(text->GetString(), text->GetStringLength())
                                    : std::string_view();
}

std::vector<const Value*> ObjectsAt(const Value& value, const char* pointer) {
    std::vector<const Value*> objects;
    const Value* array = rapidjson::Pointer(pointer).Get(value);
    for (rapidjson::SizeType i = 0; array && array->IsArray() && i < array->Size(); ++i) {
        if ((*array)[i].IsObject()) {
            objects.push_back(&(*array)[i]);
        }
    }
    return objects;
}

MadeDocument DocumentOfPassFiles(std::string_view stem, const std::vector<PassFile>& passes,
                                 const FileExists& exists) {
    MadeDocument made;
    std::vector<CommentLines> comments;
    for (const PassFile& pass : passes) {
        comments.push_back(ReadCommentLines(pass, passes, exists));
        std::ranges::copy(comments.back().errors, std::back_inserter(made.errors));
    }
    const CommentLines& image = comments.front();
    rapidjson::Document tree = Parse(kDocument);
    Allocator& allocator = tree.GetAllocator();
    Value& info = tree["Shader"]["info"];
    Set(info, "id", stem, allocator);
    Set(info, "name", image.name.empty() ? stem : image.name, allocator);
    Set(info, "username", image.author.empty() ? "local file" : image.author, allocator);
    Set(info, "description", image.description, allocator);
    std::istringstream tags(image.tags);
    for (std::string tag; tags >> tag;) {
        info["tags"].PushBack(Value(tag.c_str(), allocator), allocator);
    }
    const bool explicitInputs = std::ranges::any_of(comments, [](const CommentLines& lines) {
        return std::ranges::any_of(lines.channels, &ChannelInput::line);
    });
    const Channels usual = UsualChannels(passes);
    for (std::size_t i = 0; i < passes.size(); ++i) {
        AddPassFile(passes[i], explicitInputs ? comments[i].channels : usual, tree, made);
    }
    made.json = JsonOf(tree);
    return made;
}

std::optional<std::string> ConvertBareDocument(std::string_view document) {
    const rapidjson::Document root = Parse(document);
    const Value& shader = root.IsArray() && !root.Empty() ? root[0] : root;
    const Value* passes = rapidjson::GetValueByPointer(shader, "/renderpass");
    if (rapidjson::GetValueByPointer(shader, "/Shader") || !passes || !passes->IsArray()) {
        return std::nullopt;
    }
    rapidjson::Document made = Parse(kDocument);
    CopyShared(made["Shader"]["info"], rapidjson::GetValueByPointer(shader, "/info"), made.GetAllocator());
    for (const Value* pass : ObjectsAt(shader, "/renderpass")) {
        AddBarePass(made, *pass);
    }
    return JsonOf(made);
}

std::string WithPicture(std::string_view document, std::string_view path) {
    rapidjson::Document tree = Parse(document);
    Value* passes = rapidjson::GetValueByPointer(tree, "/Shader/renderpass");
    for (rapidjson::SizeType i = 0; passes && passes->IsArray() && i < passes->Size(); ++i) {
        Value* inputs = rapidjson::GetValueByPointer((*passes)[i], "/inputs");
        if (TextAt((*passes)[i], "/type") == "image" && inputs && inputs->IsArray()) {
            // Of several inputs on a channel the module uses the last.
            AddInput(*inputs, 0,
                     {.type = "texture",
                      .src = std::string(path),
                      .filter = "mipmap",
                      .wrap = "repeat",
                      .vflip = "true"},
                     tree.GetAllocator());
            return JsonOf(tree);
        }
    }
    return std::string(document);
}

}  // namespace pixelforge::preview
