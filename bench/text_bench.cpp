// Preparing a document's code for compilation, against preparing a tenth of it.
#include <memory>
#include <stdexcept>
#include <string>

#include "base/heap.h"
#include "bench/paired_runner.h"
#include "document/document_reader.h"
#include "document/usable_json.h"
#include "glsl/include_preprocessor.h"
#include "glsl/line_map.h"
#include "glsl/pass_source.h"
#include "tests/support/document_builder.h"

namespace pixelforge::bench {
namespace {

/// 10 for ten times the code, 1 more because the larger text exceeds the caches.
constexpr double kGrowthLimit = 11;
constexpr std::size_t kSizes[] = {30'000, 300'000, 3'000'000};  // bytes of code

/// A document with that much code, in lines or without any line end.
std::string DocumentOf(std::size_t bytes, bool oneLine) {
    const std::string line = "float f(float x) { return x / 3.0 * sin(x); /* a comment */ } // and one more";
    std::string code;
    while (code.size() < bytes) {
        code += oneLine ? line.substr(0, 60) : line + "\n";
    }
    return test::DocumentBuilder().Image(code).Json();
}

/// Everything from the file's bytes to the source that the driver compiles.
void Prepare(const std::string& json) {
    const HeapText text = AllocateHeapText(json.size() + 1);
    json.copy(text.get(), json.size());
    const auto document = std::make_unique<ShaderDocument>();
    const HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    LineMap lines;
    const auto image = static_cast<std::size_t>(PassKind::Image);
    const bool usable = IsUsableJsonText(text.get());
    ReadShaderDocument(text.get(), *document);
    if (!usable || !AssemblePassSource(document.get(), includes.get(), &document->passes[image], &lines)) {
        throw std::runtime_error("cannot prepare the document");
    }
}

Side SideOf(std::size_t bytes, bool oneLine) {
    const auto json = std::make_shared<const std::string>(DocumentOf(bytes, oneLine));
    const std::string name = std::to_string(bytes / 1000) + " KB";
    return {oneLine ? name + ", one line" : name, [json] { Prepare(*json); }};
}

void CompareAll(int rounds, Report& report) {
    for (const bool oneLine : {false, true}) {
        for (std::size_t i = 1; i < std::size(kSizes); ++i) {
            report.Add(
                Compare(SideOf(kSizes[i], oneLine), SideOf(kSizes[i - 1], oneLine), rounds, kGrowthLimit));
        }
    }
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 101, CompareAll);
}
