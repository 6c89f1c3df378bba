// Window, renderer, picture and debugger output of the engine's tests.
#include "tests/render/gl_stage.h"

#include <cstring>
#include <ostream>

#include "base/bitmap.h"
#include "render/build_settings.h"
#include "render/gl_context.h"
#include "render/pass_graph.h"
#include "render/readback.h"

namespace pixelforge::test {

namespace {

std::vector<std::string>* writes = nullptr;

/// OutputDebugString reaches the process itself as an exception before any debugger sees it.
LONG CALLBACK CollectDebugOutput(EXCEPTION_POINTERS* exception) {
    constexpr DWORD kNarrowDebugText = 0x40010006;
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != kNarrowDebugText || !writes || record.NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    writes->emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

HiddenTestWindow::HiddenTestWindow(int width, int height)
    : window_(CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, width, height, nullptr, nullptr, nullptr,
                              nullptr)) {}

void HiddenTestWindow::Resize(int width, int height) {
    SetWindowPos(Get(), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

DebugOutput::DebugOutput() : handler_(AddVectoredExceptionHandler(1, CollectDebugOutput)) {
    writes = new std::vector<std::string>();
}

DebugOutput::~DebugOutput() {
    RemoveVectoredExceptionHandler(handler_);
    delete std::exchange(writes, nullptr);
}

std::vector<std::string> DebugOutput::Take() {
    return std::exchange(*writes, {});
}

void PrintTo(const Color& color, std::ostream* out) {
    *out << "(" << color.r << ", " << color.g << ", " << color.b << ", " << color.a << ")";
}

Picture::Picture(int width, int height) : bitmap_(CreateHostBitmap(width, height)) {}

Color Picture::At(int x, int y) const {
    BITMAP map{};
    GetObjectW(Bitmap(), sizeof(map), &map);
    const auto* pixel = static_cast<const std::uint8_t*>(map.bmBits) + y * map.bmWidthBytes + x * 4;
    return Color{pixel[2], pixel[1], pixel[0], pixel[3]};
}

Stage::Stage(HWND window, int width, int height)
    : window_(window), renderer_(CreateGlRenderer(window, width, height)) {
    renderer_->includes = includes_.get();
}

Stage& Stage::Clear() {
    renderer_->document = ShaderDocument{};
    return *this;
}

Stage& Stage::Pass(PassKind kind, const std::string& code, std::initializer_list<Channel> channels) {
    RenderPass& pass = renderer_->document.passes[static_cast<std::size_t>(kind)];
    pass.kind = kind;
    pass.code = AllocateHeapText(code.size() + 1);
    std::strcpy(pass.code.get(), code.c_str());
    for (const Channel& channel : channels) {
        PassInput& input = pass.inputs[channel.number];
        input.ctype = channel.type;
        input.sourcePass = static_cast<std::int32_t>(channel.source);
        input.channel = channel.number;
        input.sampler.filter = channel.filter;
        input.sampler.wrap = channel.wrap;
    }
    return *this;
}

Stage& Stage::Body(PassKind kind, const std::string& body, std::initializer_list<Channel> channels) {
    return Pass(kind,
                "#define T(n) texelFetch(iChannel##n, ivec2(p), 0)\n"
                "void mainImage(out vec4 c, in vec2 p) {\n" +
                    body + "\n}\n",
                channels);
}

bool Stage::Build() {
    reason_.clear();
    return MakeRendererCurrent(*renderer_, window_) && BuildPassGraph(*renderer_, reason_);
}

void Stage::Draw(float speed) {
    const FrameParameters parameters{1, speed};
    EXPECT_TRUE(MakeRendererCurrent(*renderer_, window_));
    EXPECT_EQ(RenderFrame(renderer_.get(), &parameters, 1, 0, 0), 1);
}

Picture Stage::Read() {
    Picture picture(static_cast<int>(renderer_->resolution[0]), static_cast<int>(renderer_->resolution[1]));
    EXPECT_EQ(ReadFrameIntoBitmap(renderer_.get(), picture.Bitmap()), 1);
    return picture;
}

Picture Stage::Frame(float speed) {
    Draw(speed);
    return Read();
}

SampleScope::SampleScope(int exponent) {
    SetSampleExponent(exponent);
}

SampleScope::~SampleScope() {
    SetSampleExponent(0);
}

}  // namespace pixelforge::test
