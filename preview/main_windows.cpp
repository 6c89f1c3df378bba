// The command `preview`: standard streams, arguments, exit status.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <vector>

#include "base/text.h"
#include "preview/preview_run.h"

namespace {

using namespace pixelforge::preview;

ExitStatus RunAndReport(std::span<wchar_t*> words) {
    try {
        std::vector<std::string> arguments;
        for (const wchar_t* word : words) {
            arguments.push_back(pixelforge::ToUtf8(word));
        }
        return RunPreview(ParseOptions(arguments));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "preview: %s\n", error.what());
        const auto* hostError = dynamic_cast<const HostError*>(&error);
        return hostError ? hostError->Status() : ExitStatus::Failed;
    }
}

}  // namespace

int wmain(int count, wchar_t** words) {
    // The current folder becomes that of a stranger's shader: no library is looked up there.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    // UTF-8 and plain "\n" on both streams. The console and its code page outlive the program.
    const UINT codePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    const ExitStatus status = RunAndReport(std::span(words, static_cast<std::size_t>(count)).subspan(1));
    std::fflush(nullptr);
    SetConsoleOutputCP(codePage);
    // Everything of ours is closed. An ordinary exit runs the graphics driver's clean-up, which under Wine
    // can crash or exceed the time that the server allows, and then the status would be lost.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    return 0;
}
