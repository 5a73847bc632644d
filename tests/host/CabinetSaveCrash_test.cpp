// A process killed in the middle of a cabinet save leaves the old file or the new one.
#include "host/cabinets/CGVariantCabinets.h"
#include "host/core/CHostCore.h"
#include "tests/host/TempFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <poll.h>
#include <random>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Large enough that writing it takes a while, so that kills can land inside a write.
QsCab contents(ICabinets& cabs, int generation) {
    QsCab cab = cabs.newCabinet();
    cabs.putInt(cab, "Generation", generation);
    std::string filler(250000, static_cast<char>('a' + generation));
    for (int i = 0; i < 8; ++i)
        cabs.putString(cab, std::to_string(i).c_str(), filler.data(), filler.size());
    return cab;
}

/// Waits until something in the watched folder is written to, or a second has passed.
void waitForWrite(int watch) {
    pollfd ready{watch, POLLIN, 0};
    poll(&ready, 1, 1000);
}

void drain(int watch) {
    char events[4096];
    while (read(watch, events, sizeof events) > 0) {
    }
}

TEST(CabinetSaveCrash, KilledSavesLeaveTheOldOrTheNewContents) {
    TempFolder folder;
    CHostCore core;
    CGVariantCabinets cabs(core, folder.path());
    QsCab versions[] = {contents(cabs, 0), contents(cabs, 1)};
    cabs.saveCabinet(versions[1], "Collab", "RSS");
    auto start = std::chrono::steady_clock::now();
    cabs.saveCabinet(versions[0], "Collab", "RSS");
    long saveMicros = std::chrono::duration_cast<std::chrono::microseconds>(
                          std::chrono::steady_clock::now() - start)
                          .count();
    int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(watch, 0);
    inotify_add_watch(watch, (folder.path() + "Collab").c_str(), IN_MODIFY | IN_CREATE);

    // A third of the kills fall anywhere in the child's first three saves, however fast this
    // machine is; the rest just after the child starts writing a file, where tearing would happen.
    std::mt19937 random(20040101);
    std::uniform_int_distribution<long> anywhere(0, 3 * saveMicros + 1000);
    std::uniform_int_distribution<long> inWrite(0, 1000);
    int stored = 0, torn = 0, changed = 0;
    for (int round = 0; round < 45; ++round) {
        drain(watch);
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // Saves alternate, starting with the contents that are not stored now.
            for (int i = stored + 1;; ++i)
                cabs.saveCabinet(versions[i % 2], "Collab", "RSS");
        }
        if (round % 3) {
            waitForWrite(watch);
            usleep(static_cast<useconds_t>(inWrite(random)));
        } else {
            usleep(static_cast<useconds_t>(anywhere(random)));
        }
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);

        QsCab found = cabs.loadCabinet("Collab", "RSS");
        if (cabs.equal(found, versions[1 - stored])) {
            ++changed;
            stored = 1 - stored;
        } else if (!cabs.equal(found, versions[stored])) {
            ++torn;
        }
        cabs.destroyCabinet(found);
    }
    close(watch);
    EXPECT_EQ(torn, 0);
    EXPECT_FALSE(g_file_test((folder.path() + "Collab/RSS.corrupt").c_str(), G_FILE_TEST_EXISTS));
    EXPECT_GT(changed, 0) << "no save ever finished: the kills came too early to test anything";
}

} // namespace
