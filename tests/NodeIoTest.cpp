#include "NodeIo.h"

#include <cstdlib>

#include "HandsetTest.h"

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::implementation::decimalValue;
using ::vendor::quoril::hardware::tevvendorservice::implementation::NodeRead;
using ::vendor::quoril::hardware::tevvendorservice::implementation::readNodeOnce;

using NodeIoTest = HandsetTest;

TEST_F(NodeIoTest, DecimalValueIsAtoiThatStopsAtTheEnd) {
    const char* cases[] = {"128\n",
                           "-123456\n",
                           "  42abc",
                           "+7",
                           "-",
                           "",
                           "abc",
                           "\n5",
                           "2147483647",
                           "2147483648",
                           "-2147483649",
                           "99999999999999999999",
                           "-99999999999999999999",
                           "0x10",
                           " \t-0012 "};
    for (const char* c : cases) {
        EXPECT_EQ(decimalValue(c), atoi(c)) << "[" << c << "]";
    }
    // A buffer filled to the brim has no terminator: the digits after it are not part of it.
    std::string full("1234", 4);
    EXPECT_EQ(decimalValue(full.substr(0, 2)), 12);
}

TEST_F(NodeIoTest, ReadsAtMostTheBufferAndReportsWhyItFailed) {
    std::string text = "untouched";
    node("/sys/n", "123456789012345");
    EXPECT_EQ(readNodeOnce("/sys/n", 10, &text), NodeRead::kOk);
    EXPECT_EQ(text, "1234567890");
    node("/sys/n", "");
    EXPECT_EQ(readNodeOnce("/sys/n", 10, &text), NodeRead::kOk);
    EXPECT_EQ(text, "");
    text = "untouched";
    EXPECT_EQ(readNodeOnce("/sys/absent", 10, &text), NodeRead::kOpenFailed);
    denyNode("/sys/denied");
    EXPECT_EQ(readNodeOnce("/sys/denied", 10, &text), NodeRead::kOpenFailed);
    folderNode("/sys/folder");
    EXPECT_EQ(readNodeOnce("/sys/folder", 10, &text), NodeRead::kReadFailed);
    EXPECT_EQ(text, "untouched");
}

}  // namespace
}  // namespace tevhost
