#include "platform/StopRelay.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using platform::ArmedStopRelay;
using platform::StopRelay;

class TestFlag final : public platform::StopFlag {
public:
    bool isSet() const override { return set.load(); }
    std::atomic<bool> set{false};
};

int readRaised(int& raised) { return std::atomic_ref<int>(raised).load(); }

// Waits (generously) for raised to become 1.
bool becomesRaised(int& raised) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (readRaised(raised) == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return readRaised(raised) == 1;
}

TEST(StopRelay, RaisesOnceTheFlagIsSetWhileArmed) {
    StopRelay relay;
    TestFlag flag;
    int raised = 0;
    ArmedStopRelay armed(relay, flag, raised);
    std::this_thread::sleep_for(3 * StopRelay::kPollInterval);
    EXPECT_EQ(readRaised(raised), 0);
    flag.set = true;
    EXPECT_TRUE(becomesRaised(raised));
}

TEST(StopRelay, RaisesNothingOnceDisarmed) {
    StopRelay relay;
    TestFlag flag;
    int first = 0;
    { ArmedStopRelay armed(relay, flag, first); }
    flag.set = true;
    std::this_thread::sleep_for(3 * StopRelay::kPollInterval);
    EXPECT_EQ(readRaised(first), 0);
    int second = 0;
    ArmedStopRelay again(relay, flag, second);
    EXPECT_TRUE(becomesRaised(second));
    EXPECT_EQ(readRaised(first), 0);
}

}  // namespace
