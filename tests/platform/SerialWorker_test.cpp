#include "platform/SerialWorker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace {

TEST(SerialWorker, RunsEveryTaskInTheOrderGivenBeforeItGoes) {
    std::vector<int> order;
    {
        platform::SerialWorker worker;
        // Far more than the queue holds, so submit also has to wait for room.
        for (int i = 0; i < 1000; ++i) worker.submit([&order, i] { order.push_back(i); });
    }
    ASSERT_EQ(order.size(), 1000u);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(SerialWorker, RunsTasksOnAnotherThreadThanTheCaller) {
    std::thread::id ran;
    {
        platform::SerialWorker worker;
        worker.submit([&ran] { ran = std::this_thread::get_id(); });
    }
    EXPECT_NE(ran, std::thread::id());
    EXPECT_NE(ran, std::this_thread::get_id());
}

TEST(SerialWorker, CallerGoesOnWhileATaskRuns) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> finished = false;
    platform::SerialWorker worker;
    worker.submit([released, &finished] {
        // Bounded, so that a worker running tasks in the caller fails instead of hanging.
        released.wait_for(std::chrono::seconds(10));
        finished = true;
    });
    // Reaching this line while the task still waits is the point of the worker.
    EXPECT_FALSE(finished);
    release.set_value();
}

}  // namespace
