// Writes the document around plain shader texts.
#include "preview/documents/raw_shader.h"

#include <algorithm>
#include <array>

#include "preview/documents/json_output.h"

namespace pixelforge::preview {
namespace {

struct PassFacts {
    std::string_view stem;
    const char* type;
    const char* name;
    int outputId;  ///< 0: none
};

constexpr PassFacts kPasses[] = {
    {"image", "image", "Image", 37},   {"common", "common", "Common", 0}, {"a", "buffer", "Buffer A", 257},
    {"b", "buffer", "Buffer B", 258},  {"c", "buffer", "Buffer C", 259},  {"d", "buffer", "Buffer D", 260},
    {"cube", "cubemap", "Cube A", 41},
};

struct Input {
    const char* type = nullptr;  ///< null: nothing on this channel
    int id = 0;
};

using Channels = std::array<Input, 4>;

bool Has(const std::vector<RawPass>& passes, std::string_view stem) {
    return std::ranges::find(passes, stem, &RawPass::stem) != passes.end();
}

void PutOnFreeChannel(Channels& channels, Input input) {
    const auto free = std::ranges::find(channels, nullptr, &Input::type);
    if (free != channels.end()) {
        *free = input;
    }
}

Channels ChooseChannels(const std::vector<RawPass>& passes) {
    Channels channels{};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const PassFacts& buffer = kPasses[2 + i];
        if (Has(passes, buffer.stem)) {
            channels[i] = {buffer.type, buffer.outputId};
        }
    }
    if (Has(passes, "cube")) {
        PutOnFreeChannel(channels, {"cubemap", 41});
    }
    PutOnFreeChannel(channels, {"keyboard", 33});
    return channels;
}

void WriteInputs(JsonWriter& json, const Channels& channels) {
    json.BeginArray("inputs");
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        if (channels[channel].type == nullptr) {
            continue;
        }
        json.BeginObject();
        json.Text("ctype", channels[channel].type);
        json.Number("channel", static_cast<int>(channel));
        json.Number("id", channels[channel].id);
        json.Text("src", "");
        json.UsualSampler();
        json.EndObject();
    }
    json.EndArray();
}

void WritePass(JsonWriter& json, const PassFacts& facts, const std::string& code, const Channels& channels) {
    json.BeginObject();
    json.Text("type", facts.type);
    json.Text("name", facts.name);
    json.Text("code", code);
    WriteInputs(json, facts.outputId != 0 ? channels : Channels{});
    json.BeginArray("outputs");
    if (facts.outputId != 0) {
        json.BeginObject();
        json.Number("id", facts.outputId);
        json.Number("channel", 0);
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
}

}  // namespace

std::string DocumentOfRawPasses(std::string_view name, const std::vector<RawPass>& passes) {
    JsonWriter json;
    json.BeginObject();
    json.BeginObject("Shader");
    json.Text("ver", "0.1");
    json.Info({.id = "local", .name = name, .username = "local file"});
    json.BeginArray("renderpass");
    const Channels channels = ChooseChannels(passes);
    for (const RawPass& pass : passes) {
        const auto facts = std::ranges::find(kPasses, pass.stem, &PassFacts::stem);
        if (facts != std::end(kPasses)) {
            WritePass(json, *facts, pass.code, channels);
        }
    }
    json.EndArray();
    json.EndObject();
    json.EndObject();
    return json.Take();
}

}  // namespace pixelforge::preview
