#include "platform/DecimalFloat.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
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

double fromShortestText(float value) {
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, value);
    double expected = 0;
    std::from_chars(text, written.ptr, expected);
    return expected;
}

// Most values are found by arithmetic instead of through the text; both must agree everywhere:
// on floats spread over page coordinates, on decimals of up to four places with the floats
// beside them, and near powers of two and ten.
TEST(DecimalFloat, AgreesWithTheShortestTextOnPageCoordinates) {
    std::vector<float> values;
    for (std::uint32_t bits = 0x3A000000; bits < 0x46A00000; bits += 4099) {
        values.push_back(std::bit_cast<float>(bits));
    }
    for (int i = -200000; i <= 200000; i += 7) {
        const float written = static_cast<float>(i / 100.0);
        values.push_back(written);
        values.push_back(std::nextafter(written, 1e9f));
        values.push_back(std::nextafter(written, -1e9f));
        values.push_back(static_cast<float>(i / 10000.0));
    }
    for (int e = -30; e < 30; ++e) {
        for (float base : {std::ldexp(1.0f, e), std::pow(10.0f, static_cast<float>(e) / 3)}) {
            values.push_back(base);
            values.push_back(std::nextafter(base, 0.0f));
            values.push_back(std::nextafter(base, 1e30f));
        }
    }
    for (float value : values) {
        for (float signedValue : {value, -value}) {
            ASSERT_EQ(decimalValue(signedValue), fromShortestText(signedValue))
                << std::bit_cast<std::uint32_t>(signedValue);
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
