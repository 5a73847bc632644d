#include "frame/HostError.h"
#include "tests/fakehost/FakeHost.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

namespace {

class QsCabLocal : public ::testing::Test {
protected:
    FakeHost m_host;
    FakeCabinets& cabs() { return m_host.cabinets(); }
    FakeIdle& idle() { return m_host.idle(); }
    std::string file(const char* name) { return std::string("/data/vellum/Collab/") + name; }

    /// Stores a cabinet holding one integer, as an earlier run would have.
    void store(const char* name, int32_t value) {
        QsCab cab = cabs().newCabinet();
        cabs().putInt(cab, "Value", value);
        cabs().saveCabinet(cab, "Collab", name);
        cabs().destroyCabinet(cab);
    }
    int32_t stored(const char* name) {
        QsCab cab = cabs().loadCabinet("Collab", name);
        int32_t value = cabs().getInt(cab, "Value").value_or(-1);
        cabs().destroyCabinet(cab);
        return value;
    }

    void TearDown() override {
        QsCabLocalTerm();
        EXPECT_EQ(idle().idleCount(), 0u);
        EXPECT_EQ(cabs().liveCount(), 0u);
    }
};

TEST_F(QsCabLocal, SharesOneCabinetInABurstAndWritesItOnce) {
    store("RSS", 1);
    int saves = cabs().saveCount();
    QsCab first = QsCabAcquireLocal("Collab", "RSS");
    QsCab second = QsCabAcquireLocal("Collab", "RSS");
    EXPECT_EQ(first, second);
    EXPECT_EQ(cabs().getInt(first, "Value"), 1);
    cabs().putInt(first, "Value", 2);
    QsCabReleaseLocal(first);
    QsCabReleaseLocal(second);
    EXPECT_EQ(cabs().saveCount(), saves) << "the store still holds the cabinet";
    EXPECT_EQ(QsCabAcquireLocal("Collab", "RSS"), first);
    QsCabReleaseLocal(first);
    idle().runIdle();
    EXPECT_EQ(cabs().saveCount(), saves + 1);
    EXPECT_EQ(stored("RSS"), 2);
    idle().runIdle();
    EXPECT_EQ(cabs().saveCount(), saves + 1);
}

TEST_F(QsCabLocal, WritesOnlyOnChangeAndRemovesAnEmptiedFile) {
    QsCab cab = QsCabAcquireLocal("Collab", "RSS");
    QsCabCancelIdleReleaseLocal(cab);
    cabs().putInt(cab, "Value", 1);
    QsCabSaveLocal(cab);
    QsCabSaveLocal(cab);
    EXPECT_EQ(cabs().saveCount(), 1) << "an unchanged cabinet is not written again";
    EXPECT_EQ(stored("RSS"), 1);
    cabs().putInt(cab, "Value", 2);
    QsCabSaveLocal(cab);
    EXPECT_EQ(cabs().saveCount(), 2);

    cabs().makeEmpty(cab);
    QsCabReleaseLocal(cab);
    EXPECT_FALSE(m_host.files().isFile(file("RSS")));
    EXPECT_EQ(cabs().saveCount(), 2);

    // An emptied cabinet whose name escaping changes keeps its file: the removal looks for the
    // plain name.
    store("a_0020b", 5);
    QsCab spaced = QsCabAcquireLocal("Collab", "a b");
    EXPECT_EQ(cabs().getInt(spaced, "Value"), 5);
    cabs().makeEmpty(spaced);
    QsCabCancelIdleReleaseLocal(spaced);
    QsCabReleaseLocal(spaced);
    EXPECT_TRUE(m_host.files().isFile(file("a_0020b")));
}

TEST_F(QsCabLocal, CancelReleasesTheHoldOrElseTheCallersReference) {
    QsCab cab = QsCabAcquireLocal("Collab", "RSS");
    cabs().putInt(cab, "Value", 1);
    QsCabCancelIdleReleaseLocal(cab);
    EXPECT_EQ(idle().idleCount(), 0u);
    EXPECT_EQ(cabs().saveCount(), 0);
    QsCabReleaseLocal(cab);
    EXPECT_EQ(stored("RSS"), 1) << "written at the caller's release, before any idle moment";

    // After the idle hold is gone, a cancel still releases: it takes the caller's reference.
    cab = QsCabAcquireLocal("Collab", "RSS");
    cabs().putInt(cab, "Value", 2);
    idle().runIdle();
    QsCabCancelIdleReleaseLocal(cab);
    EXPECT_EQ(stored("RSS"), 2);
    QsCabReleaseLocal(cab); // no longer held: ignored
    QsCabSaveLocal(cab);
    QsCabDiscardLocal(cab);
}

TEST_F(QsCabLocal, DiscardsWithoutSavingAndKeepsTemporaryCabinetsApart) {
    store("RSS", 1);
    QsCab cab = QsCabAcquireLocal("Collab", "RSS");
    QsCabCancelIdleReleaseLocal(cab);
    cabs().putInt(cab, "Value", 2);
    QsCab temp = QsCabAcquireLocalTemp("Collab", "RSS");
    EXPECT_NE(temp, cab);
    EXPECT_EQ(cabs().getInt(temp, "Value"), 1);
    QsCabReleaseLocalTemp(temp);
    QsCabDiscardLocal(cab);
    EXPECT_EQ(stored("RSS"), 1);

    // The idle hold is a release: when it is the last reference, it saves even though the
    // caller discarded its own.
    cab = QsCabAcquireLocal("Collab", "RSS");
    cabs().putInt(cab, "Value", 3);
    QsCabDiscardLocal(cab);
    idle().runIdle();
    EXPECT_EQ(stored("RSS"), 3);

    QsCab fresh = QsCabAcquireLocalTemp("Collab", "Missing");
    EXPECT_EQ(cabs().numKeys(fresh), 0);
    QsCabReleaseLocalTemp(fresh);
    EXPECT_FALSE(m_host.files().isFile(file("Missing")));
}

TEST_F(QsCabLocal, StartsEmptyFromAFileThatIsNoCabinet) {
    m_host.files().putFile(file("RSS"), "<rss version=\"2.0\"/>");
    QsCab cab = QsCabAcquireLocal("Collab", "RSS");
    EXPECT_EQ(cabs().numKeys(cab), 0);
    EXPECT_EQ(m_host.files().fileContents(file("RSS.corrupt")), "<rss version=\"2.0\"/>");
    cabs().putInt(cab, "Value", 3);
    QsCabCancelIdleReleaseLocal(cab);
    QsCabReleaseLocal(cab);
    EXPECT_EQ(stored("RSS"), 3);
}

TEST_F(QsCabLocal, WorksWithoutAFolderToStoreIn) {
    m_host.files().putFile("/data/vellum/Blocked", "a file where the section's folder goes");
    QsCab blocked = QsCabAcquireLocal("Blocked", "RSS");
    cabs().putInt(blocked, "Value", 1);
    QsCabCancelIdleReleaseLocal(blocked);
    QsCabReleaseLocal(blocked);
    EXPECT_EQ(cabs().saveCount(), 0);

    m_host.files().setUserDataFolderAvailable(false);
    QsCab cab = QsCabAcquireLocal("Collab", "RSS");
    EXPECT_EQ(cabs().numKeys(cab), 0);
    cabs().putInt(cab, "Value", 1);
    QsCabCancelIdleReleaseLocal(cab);
    QsCabReleaseLocal(cab);
    EXPECT_EQ(cabs().saveCount(), 0);

    m_host.support().setCabinets(nullptr);
    EXPECT_THROW(QsCabAcquireLocal("Collab", "RSS"), HostError);
    m_host.support().setCabinets(&m_host.cabinets());
}

TEST_F(QsCabLocal, TermSavesWhatIsStillHeld) {
    QsCab rss = QsCabAcquireLocal("Collab", "RSS");
    QsCab binary = QsCabAcquireLocal("Collab", "RSSBinary");
    QsCabAcquireLocal("Collab", "RSS");
    cabs().putInt(rss, "Value", 7);
    cabs().putInt(binary, "Value", 8);
    QsCabLocalTerm();
    EXPECT_EQ(stored("RSS"), 7);
    EXPECT_EQ(stored("RSSBinary"), 8);
    EXPECT_EQ(cabs().saveCount(), 2);
}

} // namespace
