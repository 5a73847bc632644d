#include "host/loop/CMainLoop.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <thread>

namespace {

struct Counter {
    CMainLoop* loop = nullptr;
    int runs = 0;
    int stopAt = -1; // unregisters itself at this run
    std::string* log = nullptr;
    char mark = '?';

    static void tick(void* data) {
        auto* self = static_cast<Counter*>(data);
        ++self->runs;
        if (self->log)
            *self->log += self->mark;
        if (self->runs == self->stopAt)
            self->loop->unregisterIdle(&Counter::tick, self);
    }
};

TEST(CMainLoop, IdleProceduresAndDelayedCallsRunUntilNothingIsPending) {
    CMainLoop loop;
    std::string log;
    Counter periodic{&loop, 0, 3, &log, 'p'};
    Counter soon{&loop, 0, -1, &log, 'd'};
    Counter cancelled{&loop, 0, -1, &log, 'x'};
    loop.registerIdle(&Counter::tick, &periodic, 6);
    loop.scheduleDelayed(&Counter::tick, &soon, 1);
    loop.scheduleDelayed(&Counter::tick, &cancelled, 1);
    loop.cancelDelayed(&Counter::tick, &cancelled);
    EXPECT_TRUE(loop.hasPending());

    // No quit: the run ends by itself once the periodic procedure has unregistered itself.
    EXPECT_TRUE(loop.run(10000));
    EXPECT_EQ(log, "dppp");
    EXPECT_FALSE(loop.hasPending());
    EXPECT_TRUE(loop.run(10000)); // nothing to do: returns at once
}

TEST(CMainLoop, RunEndsAtItsLimitAndQuitEndsOnlyTheInnermostRun) {
    CMainLoop loop;
    Counter forever{&loop};
    loop.registerIdle(&Counter::tick, &forever, 1);
    auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(loop.run(100));
    auto took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(90));
    EXPECT_LT(took, std::chrono::milliseconds(2000));
    EXPECT_GT(forever.runs, 0);

    struct Nest {
        CMainLoop* loop;
        bool innerResult = false;
        bool outerGoesOn = false;
        static void inner(void* data) {
            auto* self = static_cast<Nest*>(data);
            self->loop->scheduleDelayed([](void* d) { static_cast<CMainLoop*>(d)->quit(); },
                                        self->loop, 1);
            self->innerResult = self->loop->run(5000);
            self->loop->scheduleDelayed(&Nest::after, self, 1);
        }
        static void after(void* data) {
            auto* self = static_cast<Nest*>(data);
            self->outerGoesOn = true;
            self->loop->quit();
        }
    } nest{&loop};
    loop.scheduleDelayed(&Nest::inner, &nest, 1);
    EXPECT_TRUE(loop.run(5000));
    EXPECT_TRUE(nest.innerResult);
    EXPECT_TRUE(nest.outerGoesOn);
    loop.unregisterIdle(&Counter::tick, &forever);
}

TEST(CMainLoop, WorkUnderWayKeepsRunGoing) {
    CMainLoop loop;
    loop.beginWork();
    loop.scheduleDelayed([](void* data) { static_cast<CMainLoop*>(data)->endWork(); }, &loop, 6);
    auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(loop.run(5000));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(90));
    EXPECT_FALSE(loop.hasPending());
}

TEST(CMainLoop, TicksCountSixtyASecondAndTimeIsTheSystemClock) {
    CMainLoop loop;
    uint64_t before = loop.ticks();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    uint64_t passed = loop.ticks() - before;
    EXPECT_GE(passed, 11u);
    EXPECT_LE(passed, 200u); // generous: a loaded machine oversleeps
    EXPECT_LE(std::abs(loop.currentTime() - static_cast<int64_t>(std::time(nullptr))), 1);
    EXPECT_EQ(CMainLoop::ticksToMs(60), 1000u);
    EXPECT_EQ(CMainLoop::ticksToMs(1), 17u);
}

} // namespace
