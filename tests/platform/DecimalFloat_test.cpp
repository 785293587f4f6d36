#include "platform/DecimalFloat.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using platform::decimalValue;

TEST(DecimalFloat, GivesBackTheDecimalTheFloatWasReadFrom) {
    for (double written : {296.936, 10.959, 303.91, 19.925, 0.1, 612.3, 362.835, 272.126, -0.1,
                           -841.89, 0.00001, 99999.9}) {
        SCOPED_TRACE(written);
        const float stored = static_cast<float>(written);
        EXPECT_NE(static_cast<double>(stored), written);  // the float alone misses it
        EXPECT_EQ(decimalValue(stored), written);
    }
}

TEST(DecimalFloat, NumbersExactInBinaryStay) {
    for (double written : {0.0, 1.0, -270.0, 90.0, 0.5, 612.0, 16777216.0}) {
        EXPECT_EQ(decimalValue(static_cast<float>(written)), written);
    }
    EXPECT_EQ(decimalValue(1e20f), 1e20);  // written as an exponent by the shortest text
}

// Values converted before are remembered; many values that share a slot of that memory, asked
// for again in another order, still each give their own decimal.
TEST(DecimalFloat, ValuesAskedForAgainGiveTheSameDecimal) {
    std::vector<float> values;
    for (int i = 0; i < 20000; ++i) values.push_back(static_cast<float>(i) * 0.037f - 300.0f);
    for (int pass = 0; pass < 2; ++pass) {
        for (std::size_t k = 0; k < values.size(); ++k) {
            const float value = values[pass == 0 ? k : (k * 7919) % values.size()];
            char text[32];
            const auto written = std::to_chars(text, text + sizeof text, value);
            double expected = 0;
            std::from_chars(text, written.ptr, expected);
            ASSERT_EQ(decimalValue(value), expected) << text;
        }
    }
}

TEST(DecimalFloat, InfinityAndNaNPassThrough) {
    EXPECT_EQ(decimalValue(std::numeric_limits<float>::infinity()),
              std::numeric_limits<double>::infinity());
    EXPECT_EQ(decimalValue(-std::numeric_limits<float>::infinity()),
              -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(decimalValue(std::numeric_limits<float>::quiet_NaN())));
}

}  // namespace
