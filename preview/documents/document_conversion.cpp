// Builds shader documents as JSON trees, and reads the format that lacks the outer "Shader" object.
#include "preview/documents/document_conversion.h"

#include <rapidjson/pointer.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

namespace pixelforge::preview {
namespace {

using Value = rapidjson::Value;

// Everything that the module requires, in the order of the format.
constexpr const char* kDocument = R"({"Shader": {"ver": "0.1", "info": {
    "id": "", "date": "0", "viewed": 0, "name": "", "username": "", "description": "",
    "likes": 0, "published": 0, "flags": 0, "usePreview": 0, "tags": [], "hasliked": 0},
    "renderpass": []}})";
constexpr const char* kPass = R"({"type": "", "name": "", "code": "", "inputs": [], "outputs": []})";
constexpr const char* kInput = R"({"ctype": "", "channel": -1, "id": 0, "src": "", "sampler": {
    "filter": "linear", "wrap": "clamp", "vflip": "false", "srgb": "false", "internal": "byte"}})";
constexpr const char* kOutput = R"({"id": 0, "channel": 0})";

class DocumentTree {
public:
    /// Does not nest calls, so that no text can overflow the stack.
    explicit DocumentTree(std::string_view text = kDocument) {
        tree_.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
    }

    Value& Root() { return tree_; }
    Value& Info() { return tree_["Shader"]["info"]; }
    std::string Json() const;

    void Set(Value& object, const char* key, std::string_view text) {
        object[key].SetString(std::string(text).c_str(), static_cast<rapidjson::SizeType>(text.size()),
                              tree_.GetAllocator());
    }
    void SetTags(std::string_view separatedByBlanks);
    void TakeShared(Value& target, const Value* source);

    /// Adds a copy of this JSON text to the array and returns it.
    Value& Append(Value& array, const char* json);
    Value& AddPass(int outputId);
    void AddInput(Value& inputs, std::size_t channel, const ChannelInput& input);

private:
    rapidjson::Document tree_;
};

std::string DocumentTree::Json() const {
    rapidjson::StringBuffer text;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(text);
    writer.SetIndent(' ', 2);
    tree_.Accept(writer);
    return {text.GetString(), text.GetSize()};
}

void DocumentTree::SetTags(std::string_view separatedByBlanks) {
    std::istringstream words{std::string(separatedByBlanks)};
    for (std::string tag; words >> tag;) {
        Info()["tags"].PushBack(Value(tag.c_str(), tree_.GetAllocator()), tree_.GetAllocator());
    }
}

/// Takes over the texts and numbers that both objects have, also in their objects.
void DocumentTree::TakeShared(Value& target, const Value* source) {
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
            TakeShared(member->value, &found->value);
        } else if (!member->value.IsArray()) {
            member->value.CopyFrom(found->value, tree_.GetAllocator());
        }
    }
}

Value& DocumentTree::Append(Value& array, const char* json) {
    rapidjson::Document part(&tree_.GetAllocator());
    part.Parse(json);
    array.PushBack(part, tree_.GetAllocator());
    return array[array.Size() - 1];
}

/// Without an output for 0.
Value& DocumentTree::AddPass(int outputId) {
    Value& pass = Append(tree_["Shader"]["renderpass"], kPass);
    if (outputId != 0) {
        Append(pass["outputs"], kOutput)["id"] = outputId;
    }
    return pass;
}

void DocumentTree::AddInput(Value& inputs, std::size_t channel, const ChannelInput& input) {
    Value& made = Append(inputs, kInput);
    Set(made, "ctype", input.type);
    made["channel"] = static_cast<int>(channel);
    made["id"] = input.id;
    Set(made, "src", input.src);
    Set(made["sampler"], "filter", input.filter);
    Set(made["sampler"], "wrap", input.wrap);
    Set(made["sampler"], "vflip", input.vflip);
}

// Plain shader files.

struct PassRow {
    std::string_view stem;
    const char* type;
    const char* name;
    int outputId;  ///< 0: none
};

constexpr PassRow kPasses[] = {
    {"a", "buffer", "Buffer A", kBufferAId},     {"b", "buffer", "Buffer B", kBufferAId + 1},
    {"c", "buffer", "Buffer C", kBufferAId + 2}, {"d", "buffer", "Buffer D", kBufferAId + 3},
    {"cube", "cubemap", "Cube A", kCubeId},      {"image", "image", "Image", kImageId},
    {"common", "common", "Common", 0},
};

const PassRow& RowOf(std::string_view stem) {
    return *std::ranges::find(kPasses, stem, &PassRow::stem);
}

Channels UsualChannels(const std::vector<PassFile>& passes) {
    Channels channels = {};
    const auto has = [&](std::string_view stem) {
        return std::ranges::find(passes, stem, &PassFile::stem) != passes.end();
    };
    const auto putOnFree = [&](std::string_view type, int id) {
        const auto free = std::ranges::find(channels, std::string_view(), &ChannelInput::type);
        if (free != channels.end()) {
            *free = {.type = type, .id = id};
        }
    };
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (has(kPasses[i].stem)) {
            channels[i] = {.type = "buffer", .id = kPasses[i].outputId};
        }
    }
    if (has("cube")) {
        putOnFree("cubemap", kCubeId);
    }
    putOnFree("keyboard", kKeyboardId);
    return channels;
}

void AddInputPlaces(const PassFile& pass, const CommentLines& comments, std::vector<InputPlace>& inputs) {
    for (std::size_t i = 0; i < comments.lines.size(); ++i) {
        if (comments.lines[i] != 0) {
            inputs.push_back(
                {RowOf(pass.stem).name, static_cast<int>(i), std::string(comments.channels[i].type),
                 pass.name + ":" + std::to_string(comments.lines[i]) + ":1", comments.channels[i].src});
        }
    }
}

void AddPassFile(DocumentTree& tree, const PassFile& file, const Channels& channels) {
    const PassRow& row = RowOf(file.stem);
    Value& pass = tree.AddPass(row.outputId);
    tree.Set(pass, "type", row.type);
    tree.Set(pass, "name", row.name);
    tree.Set(pass, "code", file.code);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        if (!channels[i].type.empty() && row.outputId != 0) {
            tree.AddInput(pass["inputs"], i, channels[i]);
        }
    }
}

// Documents without "Shader".

/// The ends of the paths of the service's preview images for outputs; some documents repeat "/media/a/"
/// before them.
constexpr std::pair<std::string_view, int> kPreviews[] = {
    {"/media/previz/buffer00.png", kBufferAId},     {"/media/previz/buffer01.png", kBufferAId + 1},
    {"/media/previz/buffer02.png", kBufferAId + 2}, {"/media/previz/buffer03.png", kBufferAId + 3},
    {"/media/previz/cubemap00.png", kCubeId},
};

/// 0 for passes without an output.
int OutputId(const Value& pass) {
    const std::string_view type = TextAt(pass, "/type");
    const std::string_view name = TextAt(pass, "/name");
    const char letter = name.empty() ? '?' : name.back();
    if (type == "buffer" && letter >= 'A' && letter <= 'D') {
        return kBufferAId + (letter - 'A');
    }
    return type == "cubemap" ? kCubeId : type == "image" ? kImageId : 0;
}

/// The output that an input reads, identified by the service's preview image for it; 0 for media.
int InputId(std::string_view path) {
    const auto isEnd = [path](const auto& preview) { return path.ends_with(preview.first); };
    const auto found = std::ranges::find_if(kPreviews, isEnd);
    return found != std::end(kPreviews) ? found->second : 0;
}

void AddBarePass(DocumentTree& tree, const Value& given) {
    Value& pass = tree.AddPass(OutputId(given));
    tree.TakeShared(pass, &given);
    for (const Value* input : ObjectsAt(given, "/inputs")) {
        const std::string_view path = TextAt(*input, "/filepath");
        Value& made = tree.Append(pass["inputs"], kInput);
        tree.TakeShared(made, input);
        tree.Set(made, "ctype", TextAt(*input, "/type"));
        tree.Set(made, "src", path);
        made["id"] = InputId(path);
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
    DocumentTree tree;
    tree.Set(tree.Info(), "id", stem);
    tree.Set(tree.Info(), "name", image.name.empty() ? stem : image.name);
    tree.Set(tree.Info(), "username", image.author.empty() ? "local file" : image.author);
    tree.Set(tree.Info(), "description", image.description);
    tree.SetTags(image.tags);
    const bool explicitInputs = std::ranges::any_of(comments, &CommentLines::nameInputs);
    const Channels usual = UsualChannels(passes);
    for (std::size_t i = 0; i < passes.size(); ++i) {
        AddPassFile(tree, passes[i], explicitInputs ? comments[i].channels : usual);
    }
    made.json = tree.Json();
    return made;
}

std::optional<std::string> ConvertBareDocument(std::string_view document) {
    DocumentTree given(document);
    const Value& root = given.Root();
    const Value& shader = root.IsArray() && !root.Empty() ? root[0] : root;
    const Value* passes = rapidjson::GetValueByPointer(shader, "/renderpass");
    if (rapidjson::GetValueByPointer(shader, "/Shader") || !passes || !passes->IsArray()) {
        return std::nullopt;
    }
    DocumentTree made;
    made.TakeShared(made.Info(), rapidjson::GetValueByPointer(shader, "/info"));
    for (const Value* pass : ObjectsAt(shader, "/renderpass")) {
        AddBarePass(made, *pass);
    }
    return made.Json();
}

std::string WithPicture(std::string_view document, std::string_view path) {
    DocumentTree tree(document);
    Value* passes = rapidjson::GetValueByPointer(tree.Root(), "/Shader/renderpass");
    for (rapidjson::SizeType i = 0; passes && passes->IsArray() && i < passes->Size(); ++i) {
        Value* inputs = rapidjson::GetValueByPointer((*passes)[i], "/inputs");
        if (TextAt((*passes)[i], "/type") == "image" && inputs && inputs->IsArray()) {
            // Of several inputs on a channel the module uses the last.
            tree.AddInput(*inputs, 0,
                          {.type = "texture",
                           .src = std::string(path),
                           .filter = "mipmap",
                           .wrap = "repeat",
                           .vflip = "true"});
            return tree.Json();
        }
    }
    return std::string(document);
}

}  // namespace pixelforge::preview
