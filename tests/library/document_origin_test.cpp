// Which names a document may use: one table, judged for both origins.
#include "library/document_origin.h"

#include <gtest/gtest.h>

#include <string>

namespace pixelforge {
namespace {

struct Case {
    std::wstring src;
    std::wstring fromService;
    std::wstring fromLocalFile;
};

std::wstring SourceAfter(DocumentOrigin origin, const std::wstring& src) {
    const auto document = NewHeapRecord<ShaderDocument>();
    document->origin = origin;
    PassInput& input = document->passes[7].inputs[3];
    CopyCut(input.src, src);
    RestrictSources(*document);
    return input.src;
}

TEST(RestrictSources, JudgesByOrigin) {
    const std::wstring longName(300, L'a');
    for (const Case& each : {
             Case{L"", L"", L""},
             {L"/media/a/b.jpg", L"b.jpg", L"/media/a/b.jpg"},
             {L"..\\b.jpg", L"b.jpg", L"..\\b.jpg"},
             {L"..", L"", L".."},
             {L"/media/a/..", L"", L"/media/a/.."},
             {L"C:\\b.jpg", L"b.jpg", L"C:\\b.jpg"},
             {L"C:\\x:y.jpg", L"", L""},
             {L"b.jpg:stream", L"", L""},
             {L"https://x/b.jpg", L"b.jpg", L""},
             {L"\\\\server\\share\\b.jpg", L"b.jpg", L""},
             {L"\\\\?\\C:\\b.jpg", L"b.jpg", L""},
             {L"\\\\.\\COM1", L"", L""},
             {L"/media/a/con.jpg", L"", L""},
             {L"nul\\b.jpg", L"b.jpg", L""},
             {L"b.jpg.", L"", L""},
             {L"b.jpg\\.", L"", L"b.jpg\\."},
             {longName, L"", L""},
         }) {
        SCOPED_TRACE(testing::PrintToString(each.src));
        EXPECT_EQ(SourceAfter(DocumentOrigin::Service, each.src), each.fromService);
        EXPECT_EQ(SourceAfter(DocumentOrigin::LocalFile, each.src), each.fromLocalFile);
    }
}

}  // namespace
}  // namespace pixelforge
