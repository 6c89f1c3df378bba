// In the steady state a frame allocates nothing, neither on the C++ heap nor on the process's global heap.
// The test replaces the program's allocators, so it links the module instead of loading it.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "base/heap.h"
#include "base/text.h"
#include "module/frame_driver.h"
#include "module/module_instance.h"
#include "preview/host/host_session.h"
#include "preview/host/staged_shader.h"
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

/// Has every kind of channel that needs work on each frame.
const std::string kBusyDocument =
    DocumentBuilder()
        .Buffer(
            'A', MainImage("c = texture(iChannel0, p / iResolution.xy) + texture(iChannel1, p);"),
            {{.channel = 0, .id = 257, .filter = "mipmap"}, {.channel = 1, .ctype = "keyboard", .id = 33}})
        .Pass("cubemap", "Cube A",
              "void mainCubemap(out vec4 c, in vec2 p, in vec3 o, in vec3 d) { c = vec4(d, 1); }")
        .Image(MainImage("c = texture(iChannel0, p / iResolution.xy) + texture(iChannel1, vec3(p, 1));"),
               {{.channel = 0, .id = 257}, {.channel = 1, .ctype = "cubemap", .id = 41}})
        .Json();

/// The exports' bodies, without the DLL.
constexpr preview::ModuleFunctions kLinkedModule = {
    .getDescription = [](auto* description) { return DescribeModule(*description); },
    .buildControlStructure = [](auto** instance, void*, auto allocate,
                                void* context) { return BuildInstance(instance, allocate, context); },
    .preInitialize = [](auto* instance, auto* context) { return PrepareInstance(*instance, *context); },
    .initialize = [](auto* instance, auto* context) { return ScheduleLoad(*instance, *context); },
    .drawFrame = [](auto* instance,
                    auto* context) { return static_cast<std::int32_t>(DrawFrame(*instance, *context)); },
    .cleanUp = [](auto* instance) { return ClearOverlay(*instance); },
    .destroyControlStructure = [](auto* instance) { return DestroyInstance(instance); },
};

TEST(FrameAllocation, ASteadyFrameAllocatesNothing) {
    const struct {
        std::int32_t levelOutput;
        std::vector<preview::ControlSetting> settings;
    } cases[] = {
        {0, {}}, {1, {}}, {1, {{"Foreground Only", "1"}, {"X Tiling", "3"}}}, {0, {{"Multi-Sample", "2"}}}};
    const auto drop = preview::StagedShader::OfDocument(BytesOf(kBusyDocument));
    for (const auto& each : cases) {
        SCOPED_TRACE(&each - cases);
        const int atStart = allocations;
        preview::HostSession host(kLinkedModule, {.width = 64,
                                                  .height = 48,
                                                  .playlistName = drop.PlaylistName(),
                                                  .settings = each.settings,
                                                  .levelOutput = each.levelOutput});
        host.Open();
        const auto draw = [&host] { return DrawFrame(*host.Instance(), host.Context()); };
        ASSERT_TRUE(draw() == FrameResult::Drawn && draw() == FrameResult::Drawn);
        const int before = allocations;
        EXPECT_GT(before, atStart) << "allocations are counted";
        EXPECT_TRUE(draw() == FrameResult::Drawn && draw() == FrameResult::Drawn);
        EXPECT_EQ(allocations, before);
    }
}

}  // namespace
}  // namespace test
}  // namespace pixelforge
