#include "host/ProgressBar.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(ProgressLine, FillsTheBarInProportion) {
    EXPECT_EQ(makeProgressLine(3, 10), "[#########.....................] page 3 of 10");
    EXPECT_EQ(makeProgressLine(10, 10), "[##############################] page 10 of 10");
    EXPECT_EQ(makeProgressLine(1, 3, 6), "[##....] page 1 of 3");
}

TEST(ProgressLine, WithoutATotalShowsOnlyThePage) {
    EXPECT_EQ(makeProgressLine(4, 0, 5), "[.....] page 4");
}

TEST(ProgressLine, KeepsThePageWithinTheTotal) {
    EXPECT_EQ(makeProgressLine(12, 10, 4), "[####] page 10 of 10");
    EXPECT_EQ(makeProgressLine(-1, 10, 4), "[....] page 0 of 10");
}

}  // namespace
}  // namespace host
