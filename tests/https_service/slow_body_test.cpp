// A body that arrives byte by byte must not hold a load for hours.
#include "base/load_error.h"
#include "tests/https_service/service_support.h"

namespace pixelforge::test {
namespace {

using SlowBodyTest = ServiceTest;

TEST_F(SlowBodyTest, ABodyOfAByteASecondFails) {
    EXPECT_EQ(FailureOf([&] { HttpGetReply(session_.get(), MediaUrl(L"drip-90.bin").c_str(), nullptr); }),
              "the service sends too slowly");
}

}  // namespace
}  // namespace pixelforge::test
