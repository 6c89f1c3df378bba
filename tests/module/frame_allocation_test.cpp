// A steady frame takes nothing from the C++ heap and nothing from the process's global heap. The allocators
// of the whole program are replaced, so the module is linked in instead of loaded.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "base/heap.h"
#include "module/frame_driver.h"
#include "module/instance.h"
#include "preview/host_controls.h"
#include "preview/host_surface.h"
#include "preview/host_window.h"
#include "preview/shader_drop.h"
#include "tests/support/document_builder.h"

namespace {

std::atomic<int> allocations{0};

}  // namespace

void* operator new(std::size_t bytes) {
    ++allocations;
    if (void* block = std::malloc(bytes)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace pixelforge {

void* AllocateHeapBlock(std::size_t bytes) noexcept {
    ++allocations;
    return std::calloc(1, bytes + 1);
}

void ReleaseHeapBlock(void* block) noexcept {
    std::free(block);
}

namespace test {
namespace {

/// Channels of every kind that has something to do in each frame.
std::string BusyDocument() {
    return DocumentBuilder()
        .Buffer(
            'A', MainImage("c = texture(iChannel0, p / iResolution.xy) + texture(iChannel1, p);"),
            {{.channel = 0, .id = 257, .filter = "mipmap"}, {.channel = 1, .ctype = "keyboard", .id = 33}})
        .Pass("cubemap", "Cube A",
              "void mainCubemap(out vec4 c, in vec2 p, in vec3 o, in vec3 d) { c = vec4(d, 1); }")
        .Image(MainImage("c = texture(iChannel0, p / iResolution.xy) + texture(iChannel1, vec3(p, 1));"),
               {{.channel = 0, .id = 257}, {.channel = 1, .ctype = "cubemap", .id = 41}})
        .Json();
}

/// The module as a host drives it, without the library around it.
class LinkedModule {
public:
    LinkedModule(const std::vector<preview::ControlSetting>& settings, std::int32_t levelOutput)
        : document_(BusyDocument()),
          drop_(preview::ShaderDrop::OfDocument(
              {reinterpret_cast<const std::uint8_t*>(document_.data()), document_.size()})) {
        BuildInstance(&instance_, &preview::HostControls::Allocate, &controls_);
        controls_.Apply({"Playlist File(s)", drop_.PlaylistName()});
        for (const preview::ControlSetting& setting : settings) {
            controls_.Apply(setting);
        }
        context_.levelDivisor = 256;
        context_.levelOutput = levelOutput;
        context_.width = 64;
        context_.height = 48;
        context_.bitmap = surface_.Bitmap();
        context_.dc = surface_.DeviceContext();
        context_.window = window_.Handle();
        PrepareInstance(*instance_, context_);
        ScheduleLoad(*instance_, context_);
    }
    ~LinkedModule() { DestroyInstance(instance_); }
    LinkedModule(const LinkedModule&) = delete;
    LinkedModule& operator=(const LinkedModule&) = delete;

    FrameResult Frame() { return DrawFrame(*instance_, context_); }

private:
    std::string document_;
    preview::ShaderDrop drop_;
    preview::HostWindow window_{64, 48};
    preview::HostSurface surface_{64, 48};
    preview::HostControls controls_;
    DrawContext context_{};
    ModuleInstance* instance_ = nullptr;
};

TEST(FrameAllocation, ASteadyFrameAllocatesNothing) {
    struct Case {
        const char* name;
        std::vector<preview::ControlSetting> settings;
        std::int32_t levelOutput;
    };
    const Case cases[] = {{"plain", {}, 0},
                          {"levels", {}, 1},
                          {"foreground, tiled", {{"Foreground Only", "1"}, {"X Tiling", "3"}}, 1},
                          {"multisampled", {{"Multi-Sample", "2"}}, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const int atStart = allocations;
        LinkedModule module(c.settings, c.levelOutput);
        ASSERT_EQ(module.Frame(), FrameResult::Drawn);
        ASSERT_EQ(module.Frame(), FrameResult::Drawn);
        const int before = allocations;
        EXPECT_GT(before, atStart) << "the counting works";
        for (int frame = 0; frame < 3; ++frame) {
            ASSERT_EQ(module.Frame(), FrameResult::Drawn);
        }
        EXPECT_EQ(allocations, before);
    }
}

}  // namespace
}  // namespace test
}  // namespace pixelforge
