#include "values/SmallBlocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

struct Block {
    unsigned char* bytes;
    size_t size;
    unsigned char fill;
};

bool holds(const Block& block) {
    return std::all_of(block.bytes, block.bytes + block.size,
                       [&](unsigned char b) { return b == block.fill; });
}

TEST(SmallBlocks, BlocksNeverOverlapThroughAllocationAndReuse) {
    std::mt19937 random(7);
    std::vector<Block> live;
    for (int round = 0; round < 20000; ++round) {
        if (!live.empty() && random() % 3 == 0) {
            size_t at = random() % live.size();
            ASSERT_TRUE(holds(live[at])) << "a block was overwritten";
            smallBlockFree(live[at].bytes, live[at].size);
            live[at] = live.back();
            live.pop_back();
            continue;
        }
        // Sizes across every class and beyond the largest.
        size_t size = 1 + random() % (kSmallBlockMax + 200);
        auto fill = static_cast<unsigned char>(round);
        auto* bytes = static_cast<unsigned char*>(smallBlockAllocate(size));
        std::memset(bytes, fill, size);
        live.push_back({bytes, size, fill});
    }
    for (const Block& block : live) {
        EXPECT_TRUE(holds(block));
        smallBlockFree(block.bytes, block.size);
    }
}

TEST(SmallBlocks, OtherThreadsMayGiveBlocksBack) {
    // Blocks of this thread freed by another one, and blocks of an ended thread freed here.
    std::vector<void*> mine;
    for (int i = 0; i < 5000; ++i)
        mine.push_back(smallBlockAllocate(64));
    std::vector<void*> theirs;
    std::thread other([&] {
        for (void* block : mine)
            smallBlockFree(block, 64);
        for (int i = 0; i < 5000; ++i)
            theirs.push_back(smallBlockAllocate(96));
    });
    other.join();
    for (void* block : theirs)
        smallBlockFree(block, 96);
    // What the other thread gave back is taken up again here: every block of this thread that
    // it freed comes out once more among the next allocations of the same size.
    std::set<void*> given(mine.begin(), mine.end());
    std::vector<void*> again;
    size_t reused = 0;
    for (int i = 0; i < 10000; ++i) {
        again.push_back(smallBlockAllocate(64));
        reused += given.erase(again.back());
        std::memset(again.back(), 0xAB, 64);
    }
    EXPECT_EQ(reused, mine.size());
    for (void* block : again)
        smallBlockFree(block, 64);
}

TEST(SmallBlocks, ThreadsTradingBlocksKeepTheirContents) {
    // Each thread makes blocks and hands them to the next one, which checks and frees them while
    // its own blocks come back to it the same way; some threads end with blocks still out.
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    std::mutex lock;
    std::vector<Block> inbox[kThreads];
    std::atomic<int> overwritten{0};
    auto work = [&](int self) {
        std::mt19937 random(static_cast<unsigned>(self));
        for (int round = 0; round < kRounds; ++round) {
            size_t size = 1 + random() % kSmallBlockMax;
            auto fill = static_cast<unsigned char>(round + self);
            auto* bytes = static_cast<unsigned char*>(smallBlockAllocate(size));
            std::memset(bytes, fill, size);
            std::vector<Block> mail;
            {
                std::lock_guard<std::mutex> guard(lock);
                inbox[(self + 1) % kThreads].push_back({bytes, size, fill});
                mail.swap(inbox[self]);
            }
            for (const Block& block : mail) {
                if (!holds(block))
                    ++overwritten;
                smallBlockFree(block.bytes, block.size);
            }
        }
    };
    std::vector<std::thread> threads;
    for (int self = 0; self < kThreads; ++self)
        threads.emplace_back(work, self);
    for (std::thread& thread : threads)
        thread.join();
    // What is left belonged to threads that have ended.
    for (auto& mail : inbox) {
        for (const Block& block : mail) {
            EXPECT_TRUE(holds(block));
            smallBlockFree(block.bytes, block.size);
        }
    }
    EXPECT_EQ(overwritten.load(), 0);
}

} // namespace
