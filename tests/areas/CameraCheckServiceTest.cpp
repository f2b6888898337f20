// The camera's text replacement, which no answer shows on its own. What the area answers and
// writes for each product, property and torch node state is in tests/cases/qab/camera-*.case.
#include "CameraCheckService.h"

#include <gtest/gtest.h>

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

TEST(CameraReplaceTest, EveryOccurrenceIsReplacedSearchingFromTheStartAgain) {
    ::android::sp<CameraCheckService> camera = new CameraCheckService();
    EXPECT_EQ(camera->replaceCamera("a=x\nb=x", "x", "yy"), "a=yy\nb=yy");
    EXPECT_EQ(camera->replaceCamera("aab", "ab", "b"), "b");  // the first makes a new "ab"
    EXPECT_EQ(camera->replaceCamera("a;b", ";;", "\n"), "a;b");
}

}  // namespace
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
