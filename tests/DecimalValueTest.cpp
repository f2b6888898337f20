// decimalValue against the C library's atoi on numbers too long for a long, which strtol (and so
// atoi) saturates: the digits must never wrap the running value around. The battery's 20-byte
// resistance node holds 20 digits.
#include <gtest/gtest.h>

#include <cstdlib>

#include "NodeIo.h"

namespace {

using ::vendor::quoril::hardware::tevvendorservice::implementation::decimalValue;

TEST(DecimalValueTest, SaturatesAsAtoiDoesWhateverTheDigits) {
    const char* cases[] = {
            "80000000000000000000", "-80000000000000000000",
            "18446744073709551616", "18446744073709551617",
            "9223372036854775807",  "9223372036854775808",
            "-9223372036854775808", "-9223372036854775809",
            "92233720368547758070", "00000000000000000000080000000000000000000",
    };
    for (const char* c : cases) {
        EXPECT_EQ(decimalValue(c), atoi(c)) << c;
    }
}

}  // namespace
