// Walks the JSON tree of a shader. Every key that is looked up must exist and have the right type.
#include "document/document_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include "base/load_error.h"
#include "document/json_tree.h"

namespace pixelforge {
namespace {

template <class Value>
struct Named {
    std::wstring_view name;
    Value value;
};

constexpr Named<ChannelType> kChannelTypes[] = {
    {L"buffer", ChannelType::Buffer},     {L"texture", ChannelType::Texture},
    {L"cubemap", ChannelType::CubeMap},   {L"volume", ChannelType::Volume},
    {L"keyboard", ChannelType::Keyboard}, {L"webcam", ChannelType::Webcam},
    {L"audio", ChannelType::Audio},       {L"musicstream", ChannelType::Audio},
    {L"music", ChannelType::Audio},       {L"mic", ChannelType::Audio},
};

constexpr Named<PassKind> kBufferNames[] = {
    {L"Buffer A", PassKind::BufferA}, {L"Buffer B", PassKind::BufferB}, {L"Buffer C", PassKind::BufferC},
    {L"Buffer D", PassKind::BufferD}, {L"Buf A", PassKind::BufferA},    {L"Buf B", PassKind::BufferB},
    {L"Buf C", PassKind::BufferC},    {L"Buf D", PassKind::BufferD},
};

constexpr Named<PassKind> kCubeNames[] = {{L"Cube A", PassKind::CubeA}, {L"Cubemap A", PassKind::CubeA}};

constexpr Named<std::uint32_t> kFilters[] = {
    {L"linear", kFilterLinear}, {L"nearest", kFilterNearest}, {L"mipmap", kFilterMipmap}};

constexpr Named<std::uint32_t> kWraps[] = {{L"clamp", kWrapClamp}, {L"repeat", kWrapRepeat}};

/// The service's identifiers for the outputs of a shader's own passes.
constexpr std::int32_t kFirstBufferId = 257;
constexpr std::int32_t kLastBufferId = 260;
constexpr std::int32_t kOwnCubeId = 41;

/// Longer than any real version number. The Windows runtime parses numbers in quadratic time.
constexpr std::size_t kLongestVersion = 256;

template <class Value, std::size_t N>
Value FindNamed(const Named<Value> (&table)[N], std::wstring_view name, Value otherwise) {
    const auto found = std::ranges::find(table, name, &Named<Value>::name);
    return found == std::end(table) ? otherwise : found->value;
}

/// Truncates toward zero and saturates.
template <class Integer>
Integer ToInteger(double number) {
    using Limits = std::numeric_limits<Integer>;
    if (number <= static_cast<double>(Limits::min())) {
        return Limits::min();
    }
    return number >= static_cast<double>(Limits::max()) ? Limits::max() : static_cast<Integer>(number);
}

float ReadVersion(const JsonNode& shader) {
    const std::wstring_view version = shader.Text(L"ver").substr(0, kLongestVersion);
    const std::string text = ToUtf8(version);
    char* end = nullptr;
    errno = 0;
    const float number = std::strtof(text.c_str(), &end);
    if (end == text.c_str()) {
        shader.Fail(L"ver", "invalid stof argument");
    }
    if (errno == ERANGE) {
        shader.Fail(L"ver", "stof argument out of range");
    }
    return number;
}

std::wstring JoinTags(const JsonNode& tags) {
    std::wstring joined;
    for (std::size_t i = 0; i < tags.Length(); ++i) {
        joined += i > 0 ? L", " : L"";
        joined += tags.TextAt(i);
    }
    return joined;
}

void ParseShaderInfo(const JsonNode& root, ShaderInfo& info) {
    const JsonNode node = root.Object(L"Shader").Object(L"info");
    const auto count = [&node](const wchar_t* key) { return ToInteger<std::uint32_t>(node.Number(key)); };
    CopyCut(info.id, node.Text(L"id"));
    CopyCut(info.date, node.Text(L"date"));
    CopyCut(info.name, node.Text(L"name"));
    CopyCut(info.username, node.Text(L"username"));
    CopyCut(info.description, node.Text(L"description"));
    info.viewed = count(L"viewed");
    info.likes = count(L"likes");
    info.published = count(L"published");
    info.flags = count(L"flags");
    info.usePreview = count(L"usePreview");
    info.hasliked = count(L"hasliked");
    CopyCut(info.tags, JoinTags(node.Array(L"tags")));
}

/// Flags are strings in the document.
SamplerState ParseSampler(const JsonNode& node) {
    SamplerState sampler = {};
    sampler.filter = FindNamed(kFilters, node.Text(L"filter"), kFilterLinear);
    sampler.wrap = FindNamed(kWraps, node.Text(L"wrap"), kWrapClamp);
    sampler.vflip = node.Text(L"vflip") == L"true";
    sampler.srgb = node.Text(L"srgb") == L"true";
    sampler.internalByte = node.Text(L"internal") == L"byte";
    return sampler;
}

void ResolveSource(PassInput& input, std::int32_t id) {
    if (input.ctype == ChannelType::Buffer && id >= kFirstBufferId && id <= kLastBufferId) {
        input.sourcePass = static_cast<std::int32_t>(PassKind::BufferA) + id - kFirstBufferId;
    } else if (input.ctype == ChannelType::CubeMap && id == kOwnCubeId) {
        input.ctype = ChannelType::CubeBuffer;
        input.sourcePass = static_cast<std::int32_t>(PassKind::CubeA);
    }
}

/// An invalid channel number becomes `kChannels` or more.
PassInput ParsePassInput(const JsonNode& node) {
    PassInput input = {};
    input.ctype = FindNamed(kChannelTypes, node.Text(L"ctype"), ChannelType::None);
    const auto channel = ToInteger<std::int32_t>(node.Number(L"channel"));
    input.channel = channel < 0 ? kChannels : static_cast<std::uint32_t>(channel);
    ResolveSource(input, ToInteger<std::int32_t>(node.Number(L"id")));
    CopyCut(input.src, node.Text(L"src"));
    input.sampler = ParseSampler(node.Object(L"sampler"));
    return input;
}

PassKind ReadPassKind(const JsonNode& node, std::wstring_view type) {
    if (type == L"common") {
        return PassKind::Common;
    }
    if (type == L"buffer") {
        return FindNamed(kBufferNames, node.Text(L"name"), PassKind::Other);
    }
    if (type == L"cubemap") {
        return FindNamed(kCubeNames, node.Text(L"name"), PassKind::Other);
    }
    return type == L"image" ? PassKind::Image : PassKind::Other;
}

/// Sized after the conversion, as code may grow; code that cannot be converted becomes empty. The spare byte
/// is for a final newline.
HeapText CopyCode(std::wstring_view code, TextEncoding encoding) {
    const std::string bytes = Narrow(code, encoding).value_or("");
    HeapText block = AllocateHeapText(bytes.size() + 2);
    if (!block) {
        throw std::bad_alloc();
    }
    std::ranges::copy(bytes, block.get());
    return block;
}

RenderPass ParseRenderPass(const JsonNode& node, TextEncoding codeEncoding) {
    RenderPass pass = {};
    const std::wstring_view type = node.Text(L"type");
    pass.kind = ReadPassKind(node, type);
    if (type == L"sound") {
        return pass;
    }
    pass.code = CopyCode(node.Text(L"code"), codeEncoding);
    const JsonNode inputs = node.Array(L"inputs");
    for (std::size_t i = 0; i < inputs.Length(); ++i) {
        PassInput input = ParsePassInput(inputs.ObjectAt(i));
        if (input.channel < kChannels) {
            pass.inputs[input.channel] = std::move(input);
        }
    }
    return pass;
}

/// Two document forms are in circulation; for a file of the other form, the error shows the supported one.
JsonNode ShaderOf(const JsonNode& root) {
    if (root.IsArray() || (root.Has(L"renderpass") && !root.Has(L"Shader"))) {
        throw LoadError("Shader: missing; only documents of the form {\"Shader\":{...}} are supported");
    }
    return root.Object(L"Shader");
}

/// Passes stored before an error stay in the document.
void ParseShaderDocument(const JsonNode& root, TextEncoding codeEncoding, ShaderDocument& document) {
    const JsonNode shader = ShaderOf(root);
    document.ver = ReadVersion(shader);
    ParseShaderInfo(root, document.info);
    const JsonNode passes = shader.Array(L"renderpass");
    for (std::size_t i = 0; i < passes.Length(); ++i) {
        RenderPass pass = ParseRenderPass(passes.ObjectAt(i), codeEncoding);
        document.passes[static_cast<std::uint32_t>(pass.kind)] = std::move(pass);
    }
}

}  // namespace

void ReadShaderDocument(const char* text, ShaderDocument& document) {
    const TextEncoding encoding = DetectEncoding(text);
    const JsonTree tree(text, encoding);
    ParseShaderDocument(tree.Root(), encoding, document);
}

}  // namespace pixelforge
