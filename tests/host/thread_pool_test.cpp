// The shared thread pool.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "host/zthost.h"

namespace {

// Counts how often each share ran, and with which total.
class CountingTask : public IThreadedTask {
public:
    explicit CountingTask(uint32_t aShares) : runs_(new std::atomic<int>[aShares]), shares_(aShares) {
        for (uint32_t i = 0; i < aShares; ++i) runs_[i] = 0;
    }
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
        if (aTotal != shares_ || aIndex >= shares_) {
            wrongCall = true;
            return S_FALSE;
        }
        ++runs_[aIndex];
        return S_OK;
    }
    bool EachShareRanOnce() const {
        for (uint32_t i = 0; i < shares_; ++i)
            if (runs_[i] != 1) return false;
        return !wrongCall;
    }
    std::atomic<bool> wrongCall{false};

private:
    std::unique_ptr<std::atomic<int>[]> runs_;
    uint32_t shares_;
};

// Every share waits until all shares have started: it can only finish when they run at once.
class MeetingTask : public IThreadedTask {
public:
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT Execute(uint32_t, uint32_t aTotal) override {
        ++arrived;
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (arrived < int(aTotal)) {
            if (std::chrono::steady_clock::now() > deadline) return E_FAIL;
            std::this_thread::yield();
        }
        return S_OK;
    }
    std::atomic<int> arrived{0};
};

// Restores the pool's size after a test.
class ThreadPool : public ::testing::Test {
protected:
    void SetUp() override { saved_ = zthost::ThreadCount(); }
    void TearDown() override { zthost::SetThreadCount(saved_); }

private:
    uint32_t saved_ = 0;
};

TEST_F(ThreadPool, RunsEveryShareExactlyOnceWithOneTwoThreeAndEightThreads) {
    auto pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    ASSERT_TRUE(pool);
    for (uint32_t threads : {1u, 2u, 3u, 8u}) {
        zthost::SetThreadCount(threads);
        uint32_t reported = 0;
        ASSERT_EQ(pool->ThreadCount(&reported), S_OK);
        EXPECT_EQ(reported, threads);
        for (int run = 0; run < 20; ++run) {
            CountingTask task(threads);
            EXPECT_EQ(pool->Execute(0, &task), S_OK);
            EXPECT_TRUE(task.EachShareRanOnce()) << threads << " threads, run " << run;
        }
    }
}

TEST_F(ThreadPool, SharesRunAtTheSameTime) {
    zthost::SetThreadCount(4);
    auto pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    MeetingTask task;
    EXPECT_EQ(pool->Execute(0, &task), S_OK);
    EXPECT_EQ(task.arrived, 4);
}

TEST_F(ThreadPool, TwoThreadsMayExecuteAtOnce) {
    zthost::SetThreadCount(3);
    auto pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    std::atomic<int> failures{0};
    auto run = [&] {
        for (int i = 0; i < 200; ++i) {
            CountingTask task(3);
            if (pool->Execute(0, &task) != S_OK || !task.EachShareRanOnce()) ++failures;
        }
    };
    std::thread first(run), second(run);
    first.join();
    second.join();
    EXPECT_EQ(failures, 0);
}

TEST_F(ThreadPool, ATaskStartedFromAShareRunsToTheEnd) {
    zthost::SetThreadCount(3);
    auto pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    class Outer : public CountingTask {
    public:
        explicit Outer(IThreadPool* aPool) : CountingTask(3), pool_(aPool) {}
        HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
            CountingTask inner(3);
            if (pool_->Execute(0, &inner) != S_OK || !inner.EachShareRanOnce()) innerFailed = true;
            return CountingTask::Execute(aIndex, aTotal);
        }
        std::atomic<bool> innerFailed{false};

    private:
        IThreadPool* pool_;
    } outer(pool);
    EXPECT_EQ(pool->Execute(0, &outer), S_OK);
    EXPECT_TRUE(outer.EachShareRanOnce());
    EXPECT_FALSE(outer.innerFailed);
}

TEST_F(ThreadPool, AGivenShareCountRunsThatManyShares) {
    zthost::SetThreadCount(2);
    auto pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    CountingTask task(5);
    EXPECT_EQ(pool->Execute(5, &task), S_OK);
    EXPECT_TRUE(task.EachShareRanOnce());
}

// A task with fewer rows than the pool has threads still gets every share index, and the
// shares that find no rows answer S_FALSE without making the run fail.
TEST_F(ThreadPool, MoreThreadsThanRowsHandsOutEveryShare) {
    zthost::SetThreadCount(8);
    auto pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    class ThreeRows : public CountingTask {
    public:
        ThreeRows() : CountingTask(8) {}
        HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
            CountingTask::Execute(aIndex, aTotal);
            return aIndex > 3 ? S_FALSE : S_OK;
        }
    } task;
    EXPECT_EQ(pool->Execute(0, &task), S_OK);
    EXPECT_TRUE(task.EachShareRanOnce());
}

TEST_F(ThreadPool, AFailingShareIsTheResult) {
    zthost::SetThreadCount(3);
    auto pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    class FailsAtOne : public CountingTask {
    public:
        FailsAtOne() : CountingTask(3) {}
        HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
            CountingTask::Execute(aIndex, aTotal);
            return aIndex == 1 ? E_OUTOFMEMORY : S_OK;
        }
    } task;
    EXPECT_EQ(pool->Execute(0, &task), E_OUTOFMEMORY);
    EXPECT_TRUE(task.EachShareRanOnce());
    EXPECT_EQ(pool->Execute(0, nullptr), E_POINTER);
}

TEST_F(ThreadPool, SizeZeroMeansTheHardwareThreadsAndThePoolIsShared) {
    zthost::SetThreadCount(0);
    uint32_t hardware = std::thread::hardware_concurrency();
    EXPECT_EQ(zthost::ThreadCount(), hardware ? hardware : 1u);
    auto first = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    auto second = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    EXPECT_EQ(first.get(), second.get());
}

}  // namespace
