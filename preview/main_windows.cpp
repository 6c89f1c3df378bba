// The command `preview`: standard streams, arguments, exit status.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "preview/host/file_paths.h"
#include "preview/preview_run.h"

namespace {

using namespace pixelforge::preview;

/// UTF-8 and plain "\n" on both streams, console or pipe. Restores the console's code page, because the
/// console outlives the program.
class Utf8Streams {
public:
    Utf8Streams() : previousCodePage_(GetConsoleOutputCP()) {
        SetConsoleOutputCP(CP_UTF8);
        _setmode(_fileno(stdout), _O_BINARY);
        _setmode(_fileno(stderr), _O_BINARY);
    }
    ~Utf8Streams() {
        std::fflush(stdout);
        std::fflush(stderr);
        SetConsoleOutputCP(previousCodePage_);
    }
    Utf8Streams(const Utf8Streams&) = delete;
    Utf8Streams& operator=(const Utf8Streams&) = delete;

private:
    UINT previousCodePage_;
};

std::vector<std::string> Arguments() {
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(pixelforge::ToUtf8(wide[i]));
    }
    LocalFree(wide);
    return arguments;
}

ExitStatus RunCommand() {
    const Options options = ParseOptions(Arguments());
    if (!options.helpText.empty()) {
        std::fputs(options.helpText.c_str(), stdout);
        return ExitStatus::Drawn;
    }
    return RunPreview(options);
}

ExitStatus RunAndReport() {
    const Utf8Streams streams;
    try {
        return RunCommand();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "preview: %s\n", error.what());
        const auto* hostError = dynamic_cast<const HostError*>(&error);
        return hostError ? hostError->Status() : ExitStatus::Failed;
    }
}

}  // namespace

int main() {
    const ExitStatus status = RunAndReport();
    // Everything of ours is closed. An ordinary exit runs the graphics driver's clean-up, which under Wine
    // can crash or exceed the time that the server allows, and then the status would be lost.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
}
