// The chamfer distance transform: seeds, weights, knight's moves, the two rings and the limit.
#include <gtest/gtest.h>

#include <vector>

#include "operations/shape/chamfer.h"

using namespace zt;

TEST(ChamferDistance, OneSeedGivesStepsDiagonalsAndKnightMoves) {
    std::vector<uint32_t> map(9 * 9, 5000);
    map[4 * 9 + 4] = 0;
    ChamferDistance(map.data(), 9, 9, 1000, 777);
    const std::vector<uint32_t> expected = {
        777, 777,  777, 777, 777, 777, 777, 777,  777,  //
        777, 1000, 934, 828, 768, 828, 934, 1000, 777,  //
        777, 934,  724, 572, 512, 572, 724, 934,  777,  //
        777, 828,  572, 362, 256, 362, 572, 828,  777,  //
        777, 768,  512, 256, 0,   256, 512, 768,  777,  //
        777, 828,  572, 362, 256, 362, 572, 828,  777,  //
        777, 934,  724, 572, 512, 572, 724, 934,  777,  //
        777, 1000, 934, 828, 768, 828, 934, 1000, 777,  //
        777, 777,  777, 777, 777, 777, 777, 777,  777,
    };
    EXPECT_EQ(expected, map);
}

TEST(ChamferDistance, SecondRingHasNoKnightMoves) {
    // (2, 1) lies a knight's move from the seed at (3, 3) but in the second ring: 618, not 572.
    std::vector<uint32_t> map(7 * 6, 5000);
    map[2 * 7 + 3] = 0;
    map[4 * 7 + 5] = 100;  // a small start value that is not a seed
    ChamferDistance(map.data(), 7, 6, 100000, 9999);
    const std::vector<uint32_t> expected = {
        9999, 9999, 9999, 9999, 9999, 9999, 9999,  //
        9999, 618,  362,  256,  362,  618,  9999,  //
        9999, 512,  256,  0,    256,  512,  9999,  //
        9999, 618,  362,  256,  362,  356,  9999,  //
        9999, 724,  618,  512,  356,  100,  9999,  //
        9999, 9999, 9999, 9999, 9999, 9999, 9999,
    };
    EXPECT_EQ(expected, map);
}

TEST(ChamferDistance, SeedsOnTheRingStayZero) {
    std::vector<uint32_t> map(5 * 5, 3000);
    map[0] = 0;
    ChamferDistance(map.data(), 5, 5, 100000, 256);
    EXPECT_EQ(0u, map[0]);
    EXPECT_EQ(256u, map[1]);          // a ring cell takes the ring value
    EXPECT_EQ(362u, map[1 * 5 + 1]);  // a diagonal from the seed
    EXPECT_EQ(724u, map[2 * 5 + 2]);  // and one more
}

TEST(ChamferDistance, LimitCapsEveryCell) {
    std::vector<uint32_t> map(12 * 12, 100000);
    map[0] = 0;
    ChamferDistance(map.data(), 12, 12, 1024, 300000);
    for (uint32_t v : map) EXPECT_LE(v, 1024u);
    EXPECT_EQ(1024u, map[11 * 12 + 11]);
}

TEST(ChamferDistance, TinyAndEmptyGridsAreSafe) {
    for (uint32_t w = 1; w <= 4; ++w)
        for (uint32_t h = 1; h <= 4; ++h) {
            std::vector<uint32_t> map(w * h, 700);
            ChamferDistance(map.data(), w, h, 600, 500);
            for (uint32_t y = 0; y < h; ++y)
                for (uint32_t x = 0; x < w; ++x) {
                    const bool ring = x == 0 || y == 0 || x == w - 1 || y == h - 1;
                    // Inside, 500 + 256 is no better than 700, and the limit cuts that to 600.
                    EXPECT_EQ(ring ? 500u : 600u, map[y * w + x]) << w << "x" << h;
                }
        }
    ChamferDistance(nullptr, 0, 0, 1, 1);
}

TEST(ChamferDistance, ForwardSweepReadsNeighboursNotYetVisited) {
    // Seed at (1, 3). In the forward sweep (3, 2) already reads the seed a knight's move below it
    // (572), so (4, 2), next in the same row, gets 572 + 256. A stencil of visited neighbours only
    // would reach (4, 2) in the backward sweep before (3, 2), and give 512 + 362 = 874.
    std::vector<uint32_t> map(6 * 6, 5000);
    map[3 * 6 + 1] = 0;
    ChamferDistance(map.data(), 6, 6, 100000, 5000);
    const std::vector<uint32_t> expected = {
        5000, 5000, 5000, 5000, 5000, 5000,  //
        5000, 512,  618,  724,  934,  5000,  //
        5000, 256,  362,  572,  828,  5000,  //
        5000, 0,    256,  512,  768,  5000,  //
        5000, 256,  362,  618,  874,  5000,  //
        5000, 5000, 5000, 5000, 5000, 5000,
    };
    EXPECT_EQ(expected, map);
}
