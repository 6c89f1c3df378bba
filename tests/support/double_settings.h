// Settings of a device double: an environment variable of "key=value" parts, separated by semicolons.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace pixelforge::test {

/// Constructed for every call, so that a test can change a device while it runs.
class DoubleSettings {
public:
    explicit DoubleSettings(const char* variable) {
        char text[512] = {};
        const DWORD length = GetEnvironmentVariableA(variable, text, sizeof(text));
        parts_ = ";" + std::string(text, length < sizeof(text) ? length : 0) + ";";
    }

    /// The value of `key`, or `fallback` if there is none.
    std::string Text(std::string_view key, const char* fallback = "") const {
        const std::string start = ";" + std::string(key) + "=";
        const std::size_t found = parts_.find(start);
        if (found == std::string::npos) {
            return fallback;
        }
        const std::size_t value = found + start.size();
        return parts_.substr(value, parts_.find(';', value) - value);
    }

    double Number(std::string_view key, double fallback) const {
        const std::string text = Text(key);
        return text.empty() ? fallback : std::atof(text.c_str());
    }

    bool Is(std::string_view key, std::string_view value) const { return Text(key) == value; }

private:
    std::string parts_;
};

}  // namespace pixelforge::test
