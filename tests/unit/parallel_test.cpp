// The one share rule and the runner that every threaded run goes through.
#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <vector>

#include "host/zthost.h"
#include "pixel/parallel.h"

using namespace zt;

TEST(Shares, StrictShareTestGivesTheShareAtTheLineCountTheLineBelow) {
    // Three lines, five shares: only share 4 has none; share 3 (the line count) reaches one
    // line past the end, and the clamped form keeps it empty.
    const SShare s = ShareOf(3, 5, 3);
    EXPECT_TRUE(s.any);
    EXPECT_EQ(3u, s.first);
    EXPECT_EQ(4u, s.end);
    const SShare c = ClampedShareOf(3, 5, 3);
    EXPECT_TRUE(c.any);
    EXPECT_EQ(3u, c.first);
    EXPECT_EQ(3u, c.end);
    EXPECT_FALSE(ShareOf(4, 5, 3).any);
    EXPECT_TRUE(ShareOf(0, 1, 0).any);
    EXPECT_EQ(0u, ClampedShareOf(0, 1, 0).end);
}

TEST(Shares, SharesCoverEveryLineOnce) {
    for (uint32_t lines : {1u, 2u, 7u, 16u, 100u, 4097u}) {
        for (uint32_t total : {1u, 2u, 3u, 8u, 16u}) {
            std::vector<int> seen(lines, 0);
            for (uint32_t i = 0; i < total; ++i) {
                const SShare s = ClampedShareOf(i, total, lines);
                if (!s.any) continue;
                for (uint32_t l = s.first; l < s.end; ++l) ++seen[l];
            }
            for (uint32_t l = 0; l < lines; ++l) EXPECT_EQ(1, seen[l]) << lines << " " << total << " " << l;
        }
    }
    // Seven lines in three shares: 0-1, 2-3, 4-6.
    EXPECT_EQ(2u, ShareOf(1, 3, 7).first);
    EXPECT_EQ(4u, ShareOf(1, 3, 7).end);
    EXPECT_EQ(7u, ShareOf(2, 3, 7).end);
}

TEST(PoolRules, EachRunKindHasItsThreshold) {
    EXPECT_FALSE(PoolForPixels(1024, 16));
    EXPECT_TRUE(PoolForPixels(1025, 16));
    EXPECT_FALSE(PoolForPixels(100000, 15));
    EXPECT_FALSE(PoolForAdjustments(1024, 4));
    EXPECT_TRUE(PoolForAdjustments(1025, 4));
    EXPECT_FALSE(PoolForAdjustments(100000, 3));
    EXPECT_TRUE(PoolForBlur(1024, 16));
    EXPECT_FALSE(PoolForBlur(1023, 16));
    EXPECT_FALSE(PoolForBlur(100000, 15));
}

TEST(ParallelLines, EveryLineOnceWithPerShareStateOnAnyThreadCount) {
    const uint32_t before = zthost::ThreadCount();
    for (uint32_t threads : {1u, 2u, 3u, 8u}) {
        zthost::SetThreadCount(threads);
        for (uint32_t lines : {1u, 2u, 5u, 64u}) {
            std::vector<std::atomic<int>> seen(lines);
            std::atomic<int> states{0};
            ParallelLines(lines, PoolIf(true), [&](uint32_t aFirst, uint32_t aEnd, uint32_t) {
                ++states;  // made once per share
                for (uint32_t l = aFirst; l < aEnd; ++l) ++seen[l];
                return S_OK;
            });
            for (uint32_t l = 0; l < lines; ++l) EXPECT_EQ(1, seen[l].load()) << threads << " " << lines;
            // More threads than lines: one share on this thread.
            EXPECT_EQ(threads <= lines ? int(threads) : 1, states.load()) << threads << " " << lines;
        }
    }
    zthost::SetThreadCount(before);
}

TEST(ParallelLines, WithoutAPoolOneShareHasAllLines) {
    uint32_t calls = 0, first = 99, end = 0;
    ParallelLines(10, nullptr, [&](uint32_t aFirst, uint32_t aEnd, uint32_t) {
        ++calls, first = aFirst, end = aEnd;
        return S_OK;
    });
    EXPECT_EQ(1u, calls);
    EXPECT_EQ(0u, first);
    EXPECT_EQ(10u, end);
}

TEST(ParallelLines, GivesTheFailureOfAShareAndEndsAShareThatThrows) {
    const uint32_t before = zthost::ThreadCount();
    zthost::SetThreadCount(4);
    EXPECT_EQ(S_OK, ParallelLines(8, PoolIf(true), [](uint32_t, uint32_t, uint32_t) { return S_OK; }));
    EXPECT_EQ(E_OUTOFMEMORY, ParallelLines(8, PoolIf(true), [](uint32_t, uint32_t, uint32_t aShare) {
                  return aShare == 2 ? E_OUTOFMEMORY : S_OK;
              }));
    EXPECT_EQ(E_OUTOFMEMORY, ParallelLines(8, PoolIf(true), [](uint32_t, uint32_t, uint32_t aShare) -> HRESULT {
                  if (aShare == 1) throw std::bad_alloc();
                  return S_OK;
              }));
    EXPECT_EQ(E_UNEXPECTED, ParallelLines(8, nullptr, [](uint32_t, uint32_t, uint32_t) -> HRESULT {
                  throw std::runtime_error("broken");
              }));
    zthost::SetThreadCount(before);
}
