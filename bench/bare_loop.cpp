// The GL calls of the bare loop.
#include "bench/bare_loop.h"

#include <GL/glew.h>

#include <algorithm>
#include <stdexcept>

#include "base/bitmap.h"
#include "document/document_reader.h"
#include "document/usable_json.h"
#include "glsl/include_preprocessor.h"
#include "glsl/pass_source.h"

namespace pixelforge::bench {
namespace {

void Require(bool done, const std::string& what) {
    if (!done) {
        throw std::runtime_error("the bare loop cannot " + what);
    }
}

GLuint Compile(GLenum stage, const char* text) {
    const GLuint shader = glCreateShader(stage);
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    GLint status = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    Require(status == GL_TRUE, "compile a pass");
    return shader;
}

GLuint Link(GLuint vertexShader, GLuint fragmentShader) {
    const GLuint program = glCreateProgram();
    glAttachShader(program, vertexShader);
    glAttachShader(program, fragmentShader);
    glLinkProgram(program);
    GLint status = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &status);
    Require(status == GL_TRUE, "link a pass");
    glDetachShader(program, vertexShader);
    glDetachShader(program, fragmentShader);
    return program;
}

}  // namespace

BareLoop::BareLoop(std::int32_t width, std::int32_t height)
    : width_(width), height_(height), window_(width, height), surface_(width, height) {
    dc_ = GetDC(window_.Handle());
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof(format);
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.iPixelType = PFD_TYPE_RGBA;
    format.cColorBits = 32;
    SetPixelFormat(dc_, ChoosePixelFormat(dc_, &format), &format);
}

void BareLoop::CreateContext() {
    context_ = wglCreateContext(dc_);
    MakeCurrent();
    glewExperimental = GL_TRUE;
    Require(glewInit() == GLEW_OK, "load the GL entry points");
    GLint major = 0;
    GLint minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    SetVersionLine(major, minor);
    CreateQuad();
}

BareLoop::~BareLoop() {
    Release();
    ReleaseDC(window_.Handle(), dc_);
}

/// Stays bound: this context draws nothing else.
void BareLoop::CreateQuad() {
    static constexpr float kCorners[6][2] = {{-1, -1}, {-1, 1}, {1, -1}, {1, -1}, {-1, 1}, {1, 1}};
    GLuint vertexArray = 0;
    GLuint buffer = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof(kCorners), kCorners, GL_STATIC_DRAW);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glEnableVertexAttribArray(0);
}

void BareLoop::MakeCurrent() {
    Require(wglMakeCurrent(dc_, context_), "make its context current");
}

/// The programs and targets go with their context.
void BareLoop::Release() {
    wglMakeCurrent(nullptr, nullptr);
    wglDeleteContext(context_);
    context_ = nullptr;
    passes_.clear();
    frame_ = 0;
}

std::vector<std::string> BareLoop::AssembleSources(const std::string& json) {
    std::string text = json;
    document_ = std::make_unique<ShaderDocument>();
    Require(IsUsableJsonText(text.data()), "read the document");
    ReadShaderDocument(text.c_str(), *document_);
    const HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    std::vector<std::string> sources;
    for (std::uint32_t number = 0; number < kPassSlots; ++number) {
        const RenderPass& pass = document_->passes[number];
        if (IsDrawableSlot(number) && pass.kind != PassKind::Other) {
            passes_.push_back({.number = number});
            sources.emplace_back(AssemblePassSource(document_.get(), includes.get(), &pass).get());
        }
    }
    return sources;
}

LoadTimes BareLoop::Load(const std::string& json) {
    LoadTimes times;
    Stopwatch watch;
    Release();
    CreateContext();
    times["context"] = watch.Lap();
    const std::vector<std::string> sources = AssembleSources(json);
    times["text"] = watch.Lap();
    const GLuint vertexShader = Compile(GL_VERTEX_SHADER, kVertexShaderSource);
    times["compile"] = watch.Lap();
    for (std::size_t i = 0; i < passes_.size(); ++i) {
        const GLuint fragmentShader = Compile(GL_FRAGMENT_SHADER, sources[i].c_str());
        times["compile"] += watch.Lap();
        passes_[i].program = Link(vertexShader, fragmentShader);
        glDeleteShader(fragmentShader);
        SetConstants(passes_[i]);
        times["link"] += watch.Lap();
    }
    glDeleteShader(vertexShader);
    CreateTargets();
    glFinish();
    times["targets"] = watch.Lap();
    return times;
}

void BareLoop::CreateTargets() {
    glClearColor(0, 0, 0, 0);
    for (Pass& pass : passes_) {
        glGenTextures(2, pass.textures);
        glGenFramebuffers(2, pass.framebuffers);
        for (int i = 0; i < 2; ++i) {
            glBindTexture(GL_TEXTURE_2D, pass.textures[i]);
            glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, width_, height_, 0, GL_RGBA, GL_FLOAT, nullptr);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
            glBindFramebuffer(GL_FRAMEBUFFER, pass.framebuffers[i]);
            glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, pass.textures[i], 0);
            glClear(GL_COLOR_BUFFER_BIT);
        }
    }
}

void BareLoop::SetConstants(Pass& pass) {
    static constexpr const char* kChannelNames[kChannels] = {"iChannel0", "iChannel1", "iChannel2",
                                                             "iChannel3"};
    glUseProgram(pass.program);
    glUniform3f(glGetUniformLocation(pass.program, "iResolution"), static_cast<float>(width_),
                static_cast<float>(height_), 1);
    for (GLint i = 0; i < static_cast<GLint>(kChannels); ++i) {
        glUniform1i(glGetUniformLocation(pass.program, kChannelNames[i]), i);
    }
    pass.frame = glGetUniformLocation(pass.program, "iFrame");
}

BareLoop::Pass* BareLoop::Find(std::int32_t number) {
    for (Pass& pass : passes_) {
        if (number > 0 && pass.number == static_cast<std::uint32_t>(number)) {
            return &pass;
        }
    }
    return nullptr;
}

void BareLoop::BindSources(const Pass& pass) {
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
        if (const Pass* source = Find(document_->passes[pass.number].inputs[channel].sourcePass)) {
            glActiveTexture(GL_TEXTURE0 + channel);
            glBindTexture(GL_TEXTURE_2D, source->textures[(source->current + 1) % 2]);
        }
    }
}

void BareLoop::DrawPass(Pass& pass) {
    glUseProgram(pass.program);
    // Like the module, which passes 0 in its first two frames.
    glUniform1i(pass.frame, std::max(frame_ - 1, 0));
    BindSources(pass);
    glBindFramebuffer(GL_FRAMEBUFFER, pass.framebuffers[pass.current]);
    glViewport(0, 0, width_, height_);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    glFinish();
    pass.current = (pass.current + 1) % 2;
}

void BareLoop::DrawFrame() {
    for (Pass& pass : passes_) {
        DrawPass(pass);
    }
    Pass& image = passes_.back();
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, image.textures[(image.current + 1) % 2]);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_BGRA, GL_UNSIGNED_BYTE, PixelsOf(surface_.Bitmap()).bytes.data());
    ++frame_;
}

}  // namespace pixelforge::bench
