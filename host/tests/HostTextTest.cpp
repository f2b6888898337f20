// The host's one reading of integers and of the words of profile lines and run steps.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tevhost/Text.h>

#include <optional>

namespace {

using tevhost::text::parseInt32;
using tevhost::text::splitWords;

TEST(HostTextTest, AnIntegerIsAnOptionalMinusAndDigitsInRange) {
    const std::pair<const char*, std::optional<int32_t>> cases[] = {
            {"5", 5},
            {"-5", -5},
            {"007", 7},
            {"2147483647", 2147483647},
            {"-2147483648", -2147483647 - 1},
            {"2147483648", std::nullopt},
            {"-2147483649", std::nullopt},
            {"99999999999999999999", std::nullopt},
            {"+5", std::nullopt},
            {" 5", std::nullopt},
            {"\n5", std::nullopt},
            {"5 ", std::nullopt},
            {"5x", std::nullopt},
            {"0x10", std::nullopt},
            {"-", std::nullopt},
            {"", std::nullopt},
    };
    for (const auto& [text, expected] : cases) {
        int32_t value = 12345;
        bool ok = parseInt32(text, &value);
        EXPECT_EQ(ok, expected.has_value()) << ::testing::PrintToString(std::string(text));
        if (ok && expected) {
            EXPECT_EQ(value, *expected) << text;
        }
    }
}

TEST(HostTextTest, WordsAreBareOrQuotedAndBothTakeEscapes) {
    // line | the words, or the error
    const std::pair<const char*, std::vector<std::string>> cases[] = {
            {"  a  b\tc ", {"a", "b", "c"}},
            {R"(a\tb "c d" "")", {"a\tb", "c d", ""}},
            {R"("say \"hi\"" x\x41\\)", {"say \"hi\"", "xA\\"}},
            {R"(2\n)", {"2\n"}},
            {R"(a"b c)", {"a\"b", "c"}},
            {R"("open)", {"error: a quote is not closed"}},
            {R"("a"b)", {"error: a closing quote must end its word"}},
            {R"(a\q)", {"error: unknown escape \\q"}},
            {R"(\x4)", {"error: \\x needs two hexadecimal digits"}},
    };
    for (const auto& [line, expected] : cases) {
        std::vector<std::string> words;
        std::string error;
        if (!splitWords(line, &words, &error)) words = {"error: " + error};
        EXPECT_EQ(words, expected) << line;
    }
}

}  // namespace
