// The stand-in host as a command.
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

/// UTF-8 and plain line ends on both streams, on a console as in a pipe; a console gets its code page
/// back, because it outlives the program.
class Utf8Streams {
public:
    Utf8Streams() : formerCodePage_(GetConsoleOutputCP()) {
        SetConsoleOutputCP(CP_UTF8);
        _setmode(_fileno(stdout), _O_BINARY);
        _setmode(_fileno(stderr), _O_BINARY);
    }
    ~Utf8Streams() {
        std::fflush(stdout);
        std::fflush(stderr);
        SetConsoleOutputCP(formerCodePage_);
    }
    Utf8Streams(const Utf8Streams&) = delete;
    Utf8Streams& operator=(const Utf8Streams&) = delete;

private:
    UINT formerCodePage_;
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

}  // namespace

int main() {
    const Utf8Streams streams;
    try {
        return static_cast<int>(RunCommand());
    } catch (const HostError& error) {
        std::fprintf(stderr, "preview: %s\n", error.what());
        return static_cast<int>(error.Status());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "preview: %s\n", error.what());
        return static_cast<int>(ExitStatus::Failed);
    }
}
