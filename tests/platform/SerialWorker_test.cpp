#include "platform/SerialWorker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <new>
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

// Running out of memory on the worker's thread once ended the process (std::terminate); now the
// work ends there and the caller's thread gets the exception.
TEST(SerialWorker, TaskThatThrowsEndsTheWorkAndTheCallerGetsTheException) {
    std::vector<int> ran;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    platform::SerialWorker worker;
    // The first task holds the thread until all three are queued.
    worker.submit([&ran, released] {
        released.wait();
        ran.push_back(1);
    });
    worker.submit([] { throw std::bad_alloc(); });
    worker.submit([&ran] { ran.push_back(3); });
    release.set_value();
    EXPECT_THROW(worker.finish(), std::bad_alloc);
    EXPECT_THROW(worker.submit([&ran] { ran.push_back(4); }), std::bad_alloc);
    EXPECT_EQ(ran, std::vector<int>{1});
}

TEST(SerialWorker, FinishWaitsForEveryTask) {
    std::atomic<int> done = 0;
    platform::SerialWorker worker;
    for (int i = 0; i < 10; ++i) {
        worker.submit([&done] {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            ++done;
        });
    }
    worker.finish();
    EXPECT_EQ(done, 10);
}

}  // namespace
