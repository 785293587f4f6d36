#include "platform/WorkerPool.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <thread>

namespace {

using platform::WorkerPool;

TEST(WorkerPool, EveryTaskRunsOnceAndIsTakenInOrder) {
    constexpr std::size_t kTasks = 500;
    std::vector<std::size_t> results(kTasks, 0);
    std::vector<std::atomic<int>> runs(kTasks);
    std::mutex mutex;
    std::set<int> workersUsed;
    std::vector<WorkerPool::Work> work;
    for (int w = 0; w < 3; ++w) {
        work.push_back([&, w](std::size_t task) {
            results[task] = task * task;
            ++runs[task];
            std::lock_guard lock(mutex);
            workersUsed.insert(w);
        });
    }
    WorkerPool pool(std::move(work), kTasks, 8);
    for (std::size_t task = 0; task < kTasks; ++task) {
        pool.take(task);
        EXPECT_EQ(results[task], task * task);
    }
    for (std::size_t task = 0; task < kTasks; ++task) EXPECT_EQ(runs[task].load(), 1) << task;
    EXPECT_FALSE(workersUsed.empty());
}

TEST(WorkerPool, NoTaskStartsMoreThanAheadBeyondTheLastTaken) {
    constexpr std::size_t kAhead = 3;
    std::atomic<std::size_t> taking = 0;
    std::atomic<bool> tooFar = false;
    std::vector<WorkerPool::Work> work(2, [&](std::size_t task) {
        if (task >= taking.load() + kAhead) tooFar = true;
        std::this_thread::yield();
    });
    WorkerPool pool(std::move(work), 200, kAhead);
    for (std::size_t task = 0; task < 200; ++task) {
        taking = task;
        pool.take(task);
        // The threads may run ahead while the caller is still busy with this task.
        std::this_thread::sleep_for(std::chrono::microseconds(task % 7 == 0 ? 500 : 0));
    }
    EXPECT_FALSE(tooFar.load());
}

TEST(WorkerPool, WhatATaskThrowsComesBackFromTake) {
    std::vector<WorkerPool::Work> work(2, [](std::size_t task) {
        if (task == 5) throw std::bad_alloc();
    });
    WorkerPool pool(std::move(work), 10, 4);
    for (std::size_t task = 0; task < 5; ++task) pool.take(task);
    EXPECT_THROW(pool.take(5), std::bad_alloc);
}

TEST(WorkerPool, EndingEarlyStartsNoFurtherTask) {
    std::atomic<int> started = 0;
    {
        std::vector<WorkerPool::Work> work(2, [&](std::size_t) { ++started; });
        WorkerPool pool(std::move(work), 1000, 2);
        pool.take(0);
    }
    // Task 0 and at most the two tasks allowed ahead of the one taken.
    EXPECT_GE(started.load(), 1);
    EXPECT_LE(started.load(), 3);
}

// What a work function holds (a document handle) is let go of on its own thread once no task is
// left for it, not by the caller after the pool ends.
TEST(WorkerPool, AThreadLetsGoOfItsWorkWhenNoTaskIsLeft) {
    struct Held {
        std::mutex& mutex;
        std::vector<std::thread::id>& releasedOn;
        ~Held() {
            std::lock_guard lock(mutex);
            releasedOn.push_back(std::this_thread::get_id());
        }
    };
    std::mutex mutex;
    std::vector<std::thread::id> releasedOn;
    {
        std::vector<WorkerPool::Work> work;
        for (int w = 0; w < 2; ++w) {
            auto held = std::make_shared<Held>(mutex, releasedOn);
            work.push_back([held](std::size_t) { (void)held; });
        }
        WorkerPool pool(std::move(work), 2, 2);
        pool.take(0);
        pool.take(1);
    }
    ASSERT_EQ(releasedOn.size(), 2u);
    for (const std::thread::id& id : releasedOn) EXPECT_NE(id, std::this_thread::get_id());
}

TEST(WorkerPool, OneWorkOnTheCallersThreadRunsInTake) {
    std::vector<std::thread::id> ranOn;
    WorkerPool pool([&](std::size_t) { ranOn.push_back(std::this_thread::get_id()); }, 3);
    EXPECT_TRUE(ranOn.empty());
    for (std::size_t task = 0; task < 3; ++task) pool.take(task);
    EXPECT_EQ(ranOn, std::vector<std::thread::id>(3, std::this_thread::get_id()));
}

// The affinity is the calling thread's; threads started later inherit it, as a child does.
TEST(WorkerPool, UsableCoresFollowTheAffinity) {
    cpu_set_t all;
    ASSERT_EQ(::sched_getaffinity(0, sizeof all, &all), 0);
    EXPECT_EQ(platform::usableCores(), CPU_COUNT(&all));
    int first = 0;
    while (!CPU_ISSET(first, &all)) ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    ASSERT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
    const int pinned = platform::usableCores();
    ASSERT_EQ(::sched_setaffinity(0, sizeof all, &all), 0);
    EXPECT_EQ(pinned, 1);
}

}  // namespace
