#include "platform/DecimalFloat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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

TEST(DecimalFloat, InfinityAndNaNPassThrough) {
    EXPECT_EQ(decimalValue(std::numeric_limits<float>::infinity()),
              std::numeric_limits<double>::infinity());
    EXPECT_EQ(decimalValue(-std::numeric_limits<float>::infinity()),
              -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(decimalValue(std::numeric_limits<float>::quiet_NaN())));
}

}  // namespace
