// Load failures: the failing step throws, and `FailureOf` turns the exception into a reason.
#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

namespace pixelforge {

/// Why a document, pass or medium failed to load: one clause of UTF-8, no line end.
class LoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The most bytes accepted from outside, and the text of the `LoadError` for more.
struct SizeLimit {
    std::uint64_t bytes;
    const char* fault;
};

/// Runs `work` and returns why it failed; empty on success.
template <class Work>
std::string FailureOf(Work&& work) {
    try {
        work();
        return {};
    } catch (const std::bad_alloc&) {
        return "out of memory";
    } catch (const std::exception& error) {
        return error.what();
    }
}

}  // namespace pixelforge
