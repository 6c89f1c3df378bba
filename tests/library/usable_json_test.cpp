// Which texts are worth parsing, and what is cut off behind them.
#include <gtest/gtest.h>

#include <string>

#include "library/usable_json.h"

namespace pixelforge {
namespace {

struct Case {
    std::string text;
    JsonTextFault fault;
    std::string left;  ///< of a usable text
};

TEST(UsableJson, JudgesAndCutsInPlace) {
    using enum JsonTextFault;
    const Case cases[] = {
        {"", Empty, ""},
        {" \t\r\n\v\f", Empty, ""},
        {" \n[1]", None, " \n[1]"},
        {"{} trailing, words", None, "{}"},
        {"{}{} x", None, "{}{}"},
        {R"({"a":"}]{["} x)", None, R"({"a":"}]{["})"},
        {R"({"a":"\"}"} x)", None, R"({"a":"\"}"})"},
        {R"({"a":"\\"} x)", None, R"({"a":"\\"})"},
        {R"({} \} x)", None, "{}"},
        {R"({"Error":"Shader not found"})", ServiceError, ""},
        {R"( {"Error":"Shader not found"})", None, R"( {"Error":"Shader not found"})"},
        {R"({"error":1})", None, R"({"error":1})"},
        {"\xEF\xBB\xBF{}", ByteOrderMark, ""},
        {"\xFF\xFE{", ByteOrderMark, ""},
        {"<html>{}</html>", NoBrace, ""},
        {"}", NoBrace, ""},
        {"[{]", Unbalanced, ""},
        {"{}}", Unbalanced, ""},
        {"[]{]", Unbalanced, ""},
        {R"({} ")", Unbalanced, ""},
        {R"({"a":"b\"})", Unbalanced, ""},
        {"{\\", Unbalanced, ""},
    };
    for (const Case& each : cases) {
        std::string text = each.text;
        EXPECT_EQ(CheckJsonText(text.data()), each.fault) << each.text;
        EXPECT_STREQ(text.c_str(), each.fault == None ? each.left.c_str() : each.text.c_str());
    }
}

}  // namespace
}  // namespace pixelforge
