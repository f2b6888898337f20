#include "HandsetTest.h"
#include "TevVendorUtils.h"

namespace tevhost {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;
using ::vendor::quoril::hardware::tevvendorservice::implementation::TevVendorUtils;

constexpr const char* kTag = "vendor.quoril.hardware.tevvendorservice@1.0-TevVendorUtils";

class TevVendorUtilsTest : public HandsetTest {
  protected:
    TevVendorUtils& utils = TevVendorUtils::getInstance();
};

TEST_F(TevVendorUtilsTest, ReadDropsOnlyTheFinalLineFeed) {
    const struct {
        std::string content;
        std::string expected;
    } cases[] = {
            {"5\n", "5"},     {"5", "5"},           {"a\nb\n", "a\nb"},
            {"", ""},         {"\n", "\n"},  // a lone line feed is kept
            {"a\n\n", "a\n"}, {" x \r\n", " x \r"}, {"a\nb", "a\nb"},
    };
    for (const auto& c : cases) {
        node("/sys/v", c.content);
        EXPECT_EQ(utils.readFilePathValue("/sys/v"), c.expected) << "content [" << c.content << "]";
    }
}

TEST_F(TevVendorUtilsTest, ReadOfAnUnopenableNodeIsEmptyAndLogged) {
    for (const char* path : {"/sys/absent", "/sys/denied"}) {
        if (std::string(path) == "/sys/denied") denyNode(path);
        log::clear();
        EXPECT_EQ(utils.readFilePathValue(path), "");
        EXPECT_THAT(logLines(), ElementsAre(LogLine(ANDROID_LOG_ERROR, kTag,
                                                    std::string("Failed to open node ") + path),
                                            LogLine(ANDROID_LOG_INFO, kTag,
                                                    std::string("ReadFilePathValue path = ") +
                                                            path + " value = ")));
    }
}

TEST_F(TevVendorUtilsTest, WriteSendsOnePieceUnchangedAndSeveralWithLineFeeds) {
    const struct {
        std::string value;
        std::vector<std::string> expected;  // journaled bytes
        std::string content;
    } cases[] = {
            {"1", {"1"}, "1"},
            {"1\n", {"1\n"}, "1\n"},
            {"a\nb", {"a\nb\n"}, "a\nb\n"},
            {"a\n\nb", {"a\n\nb\n"}, "a\n\nb\n"},
            {"", {}, ""},  // only truncated
    };
    for (const auto& c : cases) {
        node("/sys/w", "old content");
        sandbox::clearWrites();
        EXPECT_EQ(utils.writeFilePathValue("/sys/w", c.value), "success");
        EXPECT_THAT(writesTo("/sys/w"), ElementsAreArray(c.expected)) << "value [" << c.value << "]";
        EXPECT_EQ(nodeContent("/sys/w"), c.content);
    }
    EXPECT_THAT(logLines(), Contains(LogLine(ANDROID_LOG_INFO, kTag,
                                             "WriteFilePathValue path = /sys/w value = 1 result = "
                                             "success")));
}

TEST_F(TevVendorUtilsTest, WriteToAnUnopenableNodeFails) {
    denyNode("/sys/denied");
    EXPECT_EQ(utils.writeFilePathValue("/sys/denied", "1"), "fail");
    EXPECT_EQ(utils.writeFilePathValue("/sys/no/such/dir/node", "1"), "fail");
    EXPECT_THAT(writes(), IsEmpty());
    EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR),
                ElementsAre("Failed to open node /sys/denied",
                            "Failed to open node /sys/no/such/dir/node"));
    EXPECT_THAT(logLines(),
                Contains(LogLine(ANDROID_LOG_INFO, kTag,
                                 "WriteFilePathValue path = /sys/denied value = 1 result = fail")));
}

TEST_F(TevVendorUtilsTest, GetPropertyLogsAndFallsBackToTheDefault) {
    prop("ro.product.name", "qab");
    prop("empty.prop", "");
    const struct {
        const char* key;
        const char* defaultValue;
        const char* expected;
        int ret;
    } cases[] = {
            {"ro.product.name", "", "qab", 3},
            {"ro.product.name", "x", "qab", 3},
            {"unset.prop", "unknown", "unknown", 7},
            {"unset.prop", "", "", 0},
            {"empty.prop", "", "", 0},
            {"empty.prop", "d", "d", 1},
    };
    for (const auto& c : cases) {
        log::clear();
        EXPECT_EQ(utils.getPropertyValue(c.key, c.defaultValue), c.expected) << c.key;
        std::vector<::testing::Matcher<const log::Line&>> expected;
        expected.push_back(LogLine(ANDROID_LOG_INFO, kTag,
                                   std::string("Getprop key = ") + c.key + " , value = " +
                                           c.expected + ", ret = " + std::to_string(c.ret)));
        if (c.ret == 0) {
            expected.push_back(
                    LogLine(ANDROID_LOG_ERROR, kTag, std::string("Getprop ") + c.key + " erro\n"));
        }
        EXPECT_THAT(logLines(), ElementsAreArray(expected)) << c.key;
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
    EXPECT_THAT(logged(kTag, ANDROID_LOG_ERROR),
                ElementsAre("Setprop ro.once erro\n", "Setprop persist.long erro\n"));
    EXPECT_THAT(logLines(), Contains(LogLine(ANDROID_LOG_INFO, kTag,
                                             "Setprop key = ro.once , value = 2, ret = -1")));
}

TEST_F(TevVendorUtilsTest, SplitTakesSeparatorsAsASetOfCharacters) {
    using V = std::vector<std::string>;
    const struct {
        std::string str;
        std::string separators;
        V expected;
    } cases[] = {
            {"", "\n", {}},
            {"x", "\n", {"x"}},
            {"a,b;c", ",;", {"a", "b", "c"}},
            {"a,,b", ",", {"a", "", "b"}},
            {"a,", ",", {"a"}},
            {",a", ",", {"", "a"}},
            {"a\n\nb", "\n", {"a", "", "b"}},
            {"a,b", "", {"a,b"}},
            {"a;b", ";,", {"a", "b"}},
            {",,", ",", {"", ""}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(utils.splitStr(c.str, c.separators), c.expected) << "[" << c.str << "]";
    }
}

TEST_F(TevVendorUtilsTest, StartswithComparesThePrefix) {
    EXPECT_FALSE(utils.startswith("ab", "abc"));
    EXPECT_TRUE(utils.startswith("abc", ""));
    EXPECT_TRUE(utils.startswith("abc", "ab"));
    EXPECT_FALSE(utils.startswith("abc", "b"));
    EXPECT_TRUE(utils.startswith("", ""));
}

TEST_F(TevVendorUtilsTest, ProductListMatchesByContainment) {
    using V = std::vector<std::string>;
    const struct {
        std::string product;
        V list;
        bool expected;
    } cases[] = {
            {"abc", {}, false},       {"", {}, false},
            {"", {""}, true},         {"", {"abc"}, false},
            {"abcin", {"abc"}, true}, {"xabc", {"abc"}, true},
            {"ab", {"abc"}, false},   {"qab", {"zob", "qab"}, true},
            {"QAB", {"qab"}, false},  {"x", {"y", ""}, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(utils.checkProductInList(c.product, c.list), c.expected) << c.product;
    }
}

}  // namespace
}  // namespace tevhost
