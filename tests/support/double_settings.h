// What a person or a test wants of a device's stand-in: an environment variable of "key=value" parts.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace pixelforge::test {

/// Read anew whenever asked for, so that a test changes a device while it runs.
class DoubleSettings {
public:
    explicit DoubleSettings(const char* variable) {
        char text[512] = {};
        const DWORD length = GetEnvironmentVariableA(variable, text, sizeof(text));
        parts_ = ";" + std::string(text, length < sizeof(text) ? length : 0) + ";";
    }

    /// The text behind "key=", `otherwise` without that key.
    std::string Text(std::string_view key, const char* otherwise = "") const {
        const std::string start = ";" + std::string(key) + "=";
        const std::size_t found = parts_.find(start);
        if (found == std::string::npos) {
            return otherwise;
        }
        const std::size_t value = found + start.size();
        return parts_.substr(value, parts_.find(';', value) - value);
    }

    double Number(std::string_view key, double otherwise) const {
        const std::string text = Text(key);
        return text.empty() ? otherwise : std::atof(text.c_str());
    }

    bool Is(std::string_view key, std::string_view value) const { return Text(key) == value; }

private:
    std::string parts_;
};

}  // namespace pixelforge::test
