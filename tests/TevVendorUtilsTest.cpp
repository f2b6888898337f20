// The helpers every area uses: properties, node reads and writes, strings, product lists, the
// product name and its two list rules, the fixed-buffer node read with its log lines, and the
// node descriptor.
#include <fcntl.h>

#include <cstdlib>

#include "AreaTest.h"
#include "NodeIo.h"
#include "TevVendorUtils.h"
#include "Vocabulary.h"

namespace tevhost {
namespace {

using namespace ::vendor::quoril::hardware::tevvendorservice::implementation;

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
          "-2147483649", "99999999999999999999", "-99999999999999999999", "0x10", " \t-0012 ",
          // Past the range of a long: the digits must never wrap the running value around.
          "18446744073709551617", "-9223372036854775809",
          "00000000000000000000080000000000000000000"}) {
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

TEST_F(TevVendorUtilsTest, ProductListsMatchTheWholeNameOrAFragment) {
    // Product, list, whole-name rule, fragment rule.
    const std::tuple<std::string, ProductList, bool, bool> cases[] = {
            {"fand", {"quenrath", "fand"}, true, true},
            {"fandpro", {"fand"}, false, true},  // a variant: only the fragment rule takes it
            {"xqab", {"qab"}, false, true},
            {"qa", {"qab"}, false, false},  // the entry must be in the name, not the other way
            {"FAND", {"fand"}, false, false},
            {"", {"qab"}, false, false},
            {"", {""}, true, true},
            {"dolv", {"x", ""}, false, true},  // an empty fragment is in every name
            {"dolv", {}, false, false},
    };
    for (const auto& [product, list, whole, fragment] : cases) {
        EXPECT_EQ(productIsOneOf(product, list), whole) << "[" << product << "]";
        EXPECT_EQ(productContainsOneOf(product, list), fragment) << "[" << product << "]";
    }
    EXPECT_TRUE(contains("morquetin", "morquet"));
    EXPECT_FALSE(contains("morq", "morquet"));
    EXPECT_TRUE(beginsWith("panel_name=x", "panel_name"));
    EXPECT_FALSE(beginsWith("panel_nam", "panel_name"));
    EXPECT_FALSE(beginsWith(" panel_name", "panel_name"));
}

TEST_F(TevVendorUtilsTest, ProductNameIsReadWithOrWithoutTheHelpersLog) {
    // The property (null: unset), the name, and the helper's log of the logged read.
    const std::tuple<const char*, std::string, Lines> cases[] = {
            {"qab", "qab", {"I Getprop key = ro.product.name , value = qab, ret = 3"}},
            {nullptr,
             "",
             {"I Getprop key = ro.product.name , value = , ret = 0",
              "E Getprop ro.product.name erro\n"}},
    };
    for (const auto& [value, name, logLines] : cases) {
        prop("ro.product.name", value);
        log::clear();
        EXPECT_EQ(productName(), name);
        EXPECT_EQ(logOf(kUtilsTag), logLines);
        log::clear();
        std::string unlogged = "old";
        EXPECT_TRUE(readProductNameUnlogged(&unlogged));
        EXPECT_EQ(unlogged, name);
        EXPECT_THAT(log::lines(), IsEmpty());
    }
}

TEST_F(TevVendorUtilsTest, LoggedNodeReadLogsWhyItFailedWithTheCallersArguments) {
    constexpr LoggedNode kNode = {
            "/sys/n", 4, {"open %d"}, {"read %d  isMax = %d", ANDROID_LOG_INFO}};
    // The node's state, the answer, and the lines under the caller's tag.
    const std::tuple<std::string, bool, Lines> cases[] = {
            {"12345", true, {}},
            {kAbsent, false, {"E open 7"}},
            {kDenied, false, {"E open 7"}},
            {kFolder, false, {"I read 7  isMax = 1"}},
    };
    for (const auto& [state, ok, logLines] : cases) {
        setNode(kNode.path, state);
        log::clear();
        std::string text;
        EXPECT_EQ(readLoggedNode("Area", kNode, &text, 7, 1), ok) << state;
        EXPECT_EQ(logOf("Area"), logLines) << state;
        EXPECT_EQ(text, ok ? "1234" : "") << state;
    }
}

TEST_F(TevVendorUtilsTest, NodeDescriptorIsClosedOnEveryPathAndOnlyOnce) {
    const size_t before = openDescriptors();
    node("/sys/d", "");
    {
        NodeDescriptor absent("/sys/absent", O_RDWR);
        EXPECT_FALSE(absent.isOpen());
        EXPECT_EQ(absent.get(), -1);
        EXPECT_EQ(absent.write("1", 1), -1);

        NodeDescriptor first("/sys/d", O_RDWR | O_NONBLOCK);
        ASSERT_TRUE(first.isOpen());
        EXPECT_EQ(first.write("75", 3), 3);
        EXPECT_EQ(openDescriptors(), before + 1);

        NodeDescriptor moved(std::move(first));  // the descriptor changes hands, still one
        EXPECT_FALSE(first.isOpen());
        moved = NodeDescriptor("/sys/d", O_RDONLY);  // the one it held is closed
        EXPECT_EQ(openDescriptors(), before + 1);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_THAT(writesTo("/sys/d"), ElementsAre(std::string("75\0", 3)));
}

}  // namespace
}  // namespace tevhost
