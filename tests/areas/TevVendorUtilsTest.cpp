// The helpers every area uses: strings, the product name and its two list rules (the fragment rule
// is the utilities' checkProductInList), the fixed-buffer node read with its log lines, and the
// node descriptor. Property and node pass-throughs are in tests/cases/qab/root-passthrough.case.
#include <fcntl.h>

#include <cstdlib>

#include "AreaTest.h"
#include "NodeIo.h"
#include "TevVendorUtils.h"
#include "Vocabulary.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation::test {
namespace {

using namespace ::tevhost;

class TevVendorUtilsTest : public AreaTest {
  protected:
    TevVendorUtils& utils = TevVendorUtils::getInstance();
};

TEST_F(TevVendorUtilsTest, SplitAndStartswith) {
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
}

TEST_F(TevVendorUtilsTest, DecimalValueIsAtoiThatStopsAtTheEnd) {
    for (const char* c :
         {"128\n", "-123456\n", "  42abc", "+7", "-", "", "abc", "\n5", "2147483647", "2147483648",
          "-2147483649", "99999999999999999999", "-99999999999999999999", "0x10", " \t-0012 ",
          // At the ends of a long, and past them: the digits must never wrap the running value.
          "9223372036854775807", "9223372036854775808", "-9223372036854775807",
          "-9223372036854775808", "18446744073709551617", "-9223372036854775809",
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
    setNode("/sys/denied", kDenied);
    EXPECT_EQ(readNodeOnce("/sys/denied", 10, &text), NodeRead::kOpenFailed);
    setNode("/sys/folder", kFolder);
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
}  // namespace vendor::quoril::hardware::tevvendorservice::implementation::test
