// The helpers every area uses: properties, node reads and writes, strings, product lists, and the
// fixed-buffer node read.
#include <cstdlib>

#include "AreaTest.h"
#include "NodeIo.h"
#include "TevVendorUtils.h"

namespace tevhost {
namespace {

using ::vendor::quoril::hardware::tevvendorservice::implementation::decimalValue;
using ::vendor::quoril::hardware::tevvendorservice::implementation::NodeRead;
using ::vendor::quoril::hardware::tevvendorservice::implementation::readNodeOnce;
using ::vendor::quoril::hardware::tevvendorservice::implementation::TevVendorUtils;

class TevVendorUtilsTest : public AreaTest {
  protected:
    TevVendorUtils& utils = TevVendorUtils::getInstance();
};

TEST_F(TevVendorUtilsTest, ReadDropsOnlyTheFinalLineFeed) {
    const std::pair<std::string, std::string> cases[] = {
            {"5\n", "5"}, {"5", "5"},       {"a\nb\n", "a\nb"},   {"", ""},
            {"\n", "\n"}, {"a\n\n", "a\n"}, {" x \r\n", " x \r"}, {"a\nb", "a\nb"}};
    for (const auto& [content, expected] : cases) {
        node("/sys/v", content);
        EXPECT_EQ(utils.readFilePathValue("/sys/v"), expected) << "content [" << content << "]";
    }
    for (const char* path : {"/sys/absent", "/sys/denied"}) {
        if (std::string(path) == "/sys/denied") denyNode(path);
        log::clear();
        EXPECT_EQ(utils.readFilePathValue(path), "");
        EXPECT_THAT(logOf(kUtilsTag),
                    ElementsAre(std::string("E Failed to open node ") + path,
                                std::string("I ReadFilePathValue path = ") + path + " value = "));
    }
}

TEST_F(TevVendorUtilsTest, WriteSendsOnePieceUnchangedAndSeveralWithLineFeeds) {
    // The value, the bytes journaled and what the node then holds.
    const std::tuple<std::string, Lines, std::string> cases[] = {
            {"1", {"1"}, "1"},
            {"1\n", {"1\n"}, "1\n"},
            {"a\nb", {"a\nb\n"}, "a\nb\n"},
            {"a\n\nb", {"a\n\nb\n"}, "a\n\nb\n"},
            {"", {}, ""},  // only truncated
    };
    for (const auto& [value, expected, content] : cases) {
        node("/sys/w", "old content");
        sandbox::clearWrites();
        EXPECT_EQ(utils.writeFilePathValue("/sys/w", value), "success");
        EXPECT_THAT(writesTo("/sys/w"), ElementsAreArray(expected)) << "value [" << value << "]";
        EXPECT_EQ(nodeContent("/sys/w"), content);
    }
    EXPECT_THAT(logOf(kUtilsTag),
                Contains("I WriteFilePathValue path = /sys/w value = 1 result = success"));

    log::clear();
    sandbox::clearWrites();
    denyNode("/sys/denied");
    EXPECT_EQ(utils.writeFilePathValue("/sys/denied", "1"), "fail");
    EXPECT_EQ(utils.writeFilePathValue("/sys/no/such/dir/node", "1"), "fail");
    EXPECT_THAT(writes(), IsEmpty());
    EXPECT_THAT(logOf(kUtilsTag),
                ElementsAre("E Failed to open node /sys/denied",
                            "I WriteFilePathValue path = /sys/denied value = 1 result = fail",
                            "E Failed to open node /sys/no/such/dir/node",
                            "I WriteFilePathValue path = /sys/no/such/dir/node value = 1 result = "
                            "fail"));
}

TEST_F(TevVendorUtilsTest, GetPropertyLogsAndFallsBackToTheDefault) {
    prop("ro.product.name", "qab");
    prop("empty.prop", "");
    const std::tuple<const char*, const char*, const char*, int> cases[] = {
            {"ro.product.name", "x", "qab", 3},
            {"unset.prop", "unknown", "unknown", 7},
            {"unset.prop", "", "", 0},
            {"empty.prop", "", "", 0},
            {"empty.prop", "d", "d", 1}};
    for (const auto& [key, defaultValue, expected, ret] : cases) {
        log::clear();
        EXPECT_EQ(utils.getPropertyValue(key, defaultValue), expected) << key;
        Lines log = {std::string("I Getprop key = ") + key + " , value = " + expected +
                     ", ret = " + std::to_string(ret)};
        if (ret == 0) log.push_back(std::string("E Getprop ") + key + " erro\n");
        EXPECT_EQ(logOf(kUtilsTag), log);
    }
}

TEST_F(TevVendorUtilsTest, SetPropertyFailsExactlyWhenThePlatformRefuses) {
    EXPECT_EQ(utils.setPropertyValue("persist.a", "1"), "success");
    EXPECT_EQ(utils.setPropertyValue("persist.a", "2"), "success");
    EXPECT_EQ(utils.setPropertyValue("ro.once", "1"), "success");
    EXPECT_EQ(utils.setPropertyValue("ro.once", "2"), "fail");
    EXPECT_EQ(utils.setPropertyValue("persist.long", std::string(92, 'x')), "fail");
    EXPECT_EQ(utils.setPropertyValue("persist.long", std::string(91, 'x')), "success");
    EXPECT_EQ(props::get("persist.a"), "2");
    EXPECT_EQ(props::get("ro.once"), "1");
    EXPECT_THAT(logged(kUtilsTag, ANDROID_LOG_ERROR),
                ElementsAre("Setprop ro.once erro\n", "Setprop persist.long erro\n"));
    EXPECT_THAT(logOf(kUtilsTag), Contains("I Setprop key = ro.once , value = 2, ret = -1"));
}

TEST_F(TevVendorUtilsTest, SplitStartswithAndProductLists) {
    const std::tuple<std::string, std::string, Lines> splits[] = {
            {"", "\n", {}},
            {"x", "\n", {"x"}},
            {"a,b;c", ",;", {"a", "b", "c"}},
            {"a,,b", ",", {"a", "", "b"}},
            {"a,", ",", {"a"}},
            {",a", ",", {"", "a"}},
            {"a\n\nb", "\n", {"a", "", "b"}},
            {"a,b", "", {"a,b"}},
            {",,", ",", {"", ""}},
    };
    for (const auto& [str, separators, expected] : splits) {
        EXPECT_EQ(utils.splitStr(str, separators), expected) << "[" << str << "]";
    }

    EXPECT_FALSE(utils.startswith("ab", "abc"));
    EXPECT_TRUE(utils.startswith("abc", ""));
    EXPECT_TRUE(utils.startswith("abc", "ab"));
    EXPECT_FALSE(utils.startswith("abc", "b"));

    const std::tuple<std::string, Lines, bool> lists[] = {
            {"abc", {}, false},
            {"", {""}, true},
            {"", {"abc"}, false},
            {"abcin", {"abc"}, true},
            {"xabc", {"abc"}, true},
            {"ab", {"abc"}, false},
            {"qab", {"zob", "qab"}, true},
            {"QAB", {"qab"}, false},
            {"x", {"y", ""}, true},
    };
    for (const auto& [product, list, expected] : lists) {
        EXPECT_EQ(utils.checkProductInList(product, list), expected) << product;
    }
}

TEST_F(TevVendorUtilsTest, DecimalValueIsAtoiThatStopsAtTheEnd) {
    for (const char* c :
         {"128\n", "-123456\n", "  42abc", "+7", "-", "", "abc", "\n5", "2147483647", "2147483648",
          "-2147483649", "99999999999999999999", "-99999999999999999999", "0x10", " \t-0012 "}) {
        EXPECT_EQ(decimalValue(c), atoi(c)) << "[" << c << "]";
    }
    // A buffer filled to the brim has no terminator: the digits after it are not part of it.
    std::string full("1234", 4);
    EXPECT_EQ(decimalValue(full.substr(0, 2)), 12);
}

TEST_F(TevVendorUtilsTest, ReadNodeOnceReadsAtMostTheBufferAndReportsWhyItFailed) {
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
