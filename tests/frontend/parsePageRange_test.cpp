#include "frontend/parsePageRange.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Pages = std::set<std::int64_t>;

struct RangeCase {
    const char* range;
    std::int64_t pageCount;
    Pages expected;
};

const RangeCase kCases[] = {
    {"all", 4, {1, 2, 3, 4}},
    {"All", 4, {1, 2, 3, 4}},
    {"ALL", 4, {1, 2, 3, 4}},
    {"aLl", 2, {1, 2}},
    {"ALL", 0, {}},
    {"ALL", -3, {}},
    {"ALL ", 4, {}},  // not the word ALL, and no number either
    {"3,1,2,3", 10, {1, 2, 3}},
    {"5-3", 10, {}},
    {"3-3", 10, {3}},
    {"0-4", 10, {}},
    {"0", 10, {}},
    {"1-2-3", 10, {}},
    {"2 - 4", 10, {2, 3, 4}},
    {"p2-p5", 10, {2, 3, 4, 5}},
    {"4-", 10, {}},
    {"-4", 10, {}},
    {"8-15", 10, {8, 9, 10}},
    {"12", 10, {}},
    {"", 10, {}},
    {" +7", 10, {7}},  // a single number is read leniently, unfiltered
    {"7th", 10, {7}},
    {"p7", 10, {}},  // ... so a letter before it makes it 0
    {"1,,3", 10, {1, 3}},
    {"abc-5", 10, {}},
    {"00-5", 10, {}},
    {"1-9999999999", 3, {1, 2, 3}},
    {"1-99999999999999999999999", 2, {1, 2}},  // the last page saturates
    {"99999999999", 10, {}},
    {"2,9-7,4-5", 10, {2, 4, 5}},
    {"1-3", 0, {}},
    {"\xD9\xA3-5", 10, {}},  // digits of other scripts are not digits here
};

TEST(ParsePageRange, SelectsPagesAsWritten) {
    for (const RangeCase& c : kCases) {
        SCOPED_TRACE(std::string("\"") + c.range + "\" of " + std::to_string(c.pageCount));
        EXPECT_EQ(frontend::parsePageRange(c.range, c.pageCount), c.expected);
    }
}

TEST(ParsePageRange, SpanReachingTheLargestNumberEnds) {
    const std::int64_t most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(frontend::parsePageRange(std::to_string(most - 1) + "-" + std::to_string(most), most),
              (Pages{most - 1, most}));
}

TEST(NumberStringFilter, KeepsOnlyAsciiDigitsInOrder) {
    EXPECT_EQ(frontend::numberStringFilter("a1-b2 3"), "123");
    EXPECT_EQ(frontend::numberStringFilter("+-12 34"), "1234");
    EXPECT_EQ(frontend::numberStringFilter("\xEF\xBC\x93 9"), "9");  // fullwidth three
    EXPECT_EQ(frontend::numberStringFilter(""), "");
    EXPECT_EQ(frontend::numberStringFilter("none"), "");
}

}  // namespace
