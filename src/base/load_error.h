// How a load fails: whatever gives it up throws, and one place turns that into a reason.
#pragma once

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

namespace pixelforge {

/// Why a document, a pass or a medium cannot be had: one clause of UTF-8 without a line end.
class LoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Runs `work`. Empty when it succeeded, else the reason why it did not.
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
