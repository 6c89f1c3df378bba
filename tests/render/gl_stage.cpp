// Stage and picture of the engine's tests.
#include "tests/render/gl_stage.h"

#include <GL/glew.h>

#include "base/load_error.h"
#include "document/document_reader.h"
#include "render/gl_context.h"
#include "render/render_frame.h"

namespace pixelforge::test {

Color Picture::At(int x, int y) const {
    const auto bytes = Pixels().Row(Pixels().height - 1 - y).subspan(static_cast<std::size_t>(x) * 4, 4);
    return {bytes[2], bytes[1], bytes[0], bytes[3]};
}

std::string Body(const std::string& body) {
    return "#define T(n) texelFetch(iChannel##n, ivec2(p), 0)\n" + MainImage(body);
}

Stage::Stage() : renderer(CreateGlRenderer(window.Handle(), 64, 48)) {
    renderer->includes = includes.get();
}

Stage& Stage::Load(const DocumentBuilder& document) {
    renderer->document = ShaderDocument{};
    ReadShaderDocument(document.Json().c_str(), renderer->document);
    return *this;
}

Stage& Stage::LoadImage(const std::string& body, const std::vector<Input>& inputs) {
    return Load(DocumentBuilder().Image(Body(body), inputs));
}

bool Stage::Build() {
    MakeRendererCurrent(*renderer, window.Handle());
    reason = FailureOf([this] { BuildPassGraph(*renderer); });
    return reason.empty();
}

void Stage::Draw(float speed) {
    const FrameParameters parameters{1, speed};
    EXPECT_TRUE(MakeRendererCurrent(*renderer, window.Handle()));
    EXPECT_EQ(RenderFrame(renderer.get(), &parameters, 1, 0, 0), 1);
}

Picture Stage::Read() {
    Picture picture(static_cast<int>(renderer->resolution[0]), static_cast<int>(renderer->resolution[1]));
    EXPECT_EQ(ReadFrameIntoBitmap(renderer.get(), PixelsOf(picture.Bitmap())), 1);
    return picture;
}

Picture Stage::Frame(float speed) {
    Draw(speed);
    return Read();
}

void Stage::Start() {
    EXPECT_TRUE(Build()) << reason;
}

Picture Stage::Show() {
    Start();
    return Frame();
}

StageTest::StageTest() {
    static const auto attach = __glewFramebufferTexture2D;
    __glewFramebufferTexture2D = [](auto... arguments) {
        attach(arguments...);
        if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
            glClearColor(1, 1, 1, 1);
            glClear(GL_COLOR_BUFFER_BIT);
        }
    };
}

StageTest::~StageTest() {
    SetSampleExponent(0);
    EXPECT_EQ(TakeLines(), std::vector<std::string>());
}

std::vector<std::string> StageTest::TakeLines() {
    std::vector<std::string> lines = output_.Lines();
    output_.Clear();
    return lines;
}

}  // namespace pixelforge::test
