#include "frame/HostError.h"
#include "host/cabinets/CMemoryCabinets.h"
#include "host/core/CHostCore.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace {

/// The in-memory store alone: storage is not what these tests are about.
class CNoStorageCabinets final : public CMemoryCabinets {
public:
    using CMemoryCabinets::CMemoryCabinets;
    QsCab loadCabinet(const char*, const char*) override { return nullptr; }
    void saveCabinet(QsCab, const char*, const char*) override {}
};

std::vector<std::string> destroyedPointers;
void recordDestroy(void* pointer) {
    destroyedPointers.push_back(static_cast<const char*>(pointer));
}

class CMemoryCabinetsTest : public ::testing::Test {
protected:
    CHostCore m_core;
    CNoStorageCabinets m_cabs{m_core};

    /// A chain of depth cabinets, each under the key "In" of the one above.
    QsCab chain(int depth) {
        QsCab top = m_cabs.newCabinet();
        for (int level = 1; level < depth; ++level) {
            QsCab below = top;
            top = m_cabs.newCabinet();
            m_cabs.putCabinet(top, "In", below);
        }
        return top;
    }
};

TEST_F(CMemoryCabinetsTest, KeepsInsertionOrderAndReplacesInPlace) {
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putInt(cab, "b", 1);
    m_cabs.putInt(cab, "a", 2);
    m_cabs.putInt(cab, "10", 3);
    m_cabs.putInt(cab, "9", 4);
    m_cabs.putString(cab, "a", "now text", 8);
    auto keys = m_cabs.keys(cab);
    ASSERT_EQ(keys.size(), 4u);
    EXPECT_EQ(keys[0].key, "b");
    EXPECT_EQ(keys[1].key, "a");
    EXPECT_EQ(keys[1].kind, kQsCabString);
    EXPECT_EQ(keys[2].key, "10");
    EXPECT_EQ(keys[3].key, "9");
    EXPECT_EQ(m_cabs.numKeys(cab), 4);

    // A getter of another kind, or of a missing key, gives nothing.
    EXPECT_FALSE(m_cabs.getInt(cab, "a"));
    EXPECT_FALSE(m_cabs.getUns32(cab, "b"));
    EXPECT_FALSE(m_cabs.getInt(cab, "missing"));
    EXPECT_FALSE(m_cabs.getInt(cab, nullptr));
    EXPECT_EQ(m_cabs.getCabinet(cab, "b"), nullptr);
    m_cabs.putInt(nullptr, "x", 1);
    m_cabs.putInt(cab, nullptr, 1);
    EXPECT_EQ(m_cabs.numKeys(cab), 4);
}

TEST_F(CMemoryCabinetsTest, ComparesKeysOrderKindsAndValues) {
    using Fill = std::function<void(QsCab)>;
    auto nested = [this](int value) {
        return [this, value](QsCab cab) {
            QsCab inner = m_cabs.newCabinet();
            m_cabs.putInt(inner, "n", value);
            m_cabs.putCabinet(cab, "in", inner);
        };
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        const char* what;
        Fill a, b;
        bool equal;
    } cases[] = {
        {"empty", [](QsCab) {}, [](QsCab) {}, true},
        {"same int", [&](QsCab c) { m_cabs.putInt(c, "k", 1); },
         [&](QsCab c) { m_cabs.putInt(c, "k", 1); }, true},
        {"other int", [&](QsCab c) { m_cabs.putInt(c, "k", 1); },
         [&](QsCab c) { m_cabs.putInt(c, "k", 2); }, false},
        {"int and uns32", [&](QsCab c) { m_cabs.putInt(c, "k", 1); },
         [&](QsCab c) { m_cabs.putUns32(c, "k", 1); }, false},
        {"string and binary", [&](QsCab c) { m_cabs.putString(c, "k", "ab", 2); },
         [&](QsCab c) { m_cabs.putBinary(c, "k", "ab", 2); }, false},
        {"order", [&](QsCab c) { m_cabs.putNull(c, "x"), m_cabs.putNull(c, "y"); },
         [&](QsCab c) { m_cabs.putNull(c, "y"), m_cabs.putNull(c, "x"); }, false},
        {"NaN", [&](QsCab c) { m_cabs.putDouble(c, "k", nan); },
         [&](QsCab c) { m_cabs.putDouble(c, "k", nan); }, true},
        {"signed zero", [&](QsCab c) { m_cabs.putDouble(c, "k", 0.0); },
         [&](QsCab c) { m_cabs.putDouble(c, "k", -0.0); }, false},
        {"pointer type", [&](QsCab c) { m_cabs.putPointer(c, "k", "QsStm", nullptr, nullptr); },
         [&](QsCab c) { m_cabs.putPointer(c, "k", "VxIcon", nullptr, nullptr); }, false},
        {"nested same", nested(1), nested(1), true},
        {"nested other", nested(1), nested(2), false},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        QsCab a = m_cabs.newCabinet();
        QsCab b = m_cabs.newCabinet();
        test.a(a);
        test.b(b);
        EXPECT_EQ(m_cabs.equal(a, b), test.equal);
        EXPECT_EQ(m_cabs.equal(b, a), test.equal);
        m_cabs.destroyCabinet(a);
        m_cabs.destroyCabinet(b);
    }
    EXPECT_EQ(m_cabs.liveCount(), 0u);
}

TEST_F(CMemoryCabinetsTest, RefusesCyclesSharingAndNestingPastTheBound) {
    QsCab outer = m_cabs.newCabinet();
    QsCab inner = m_cabs.newCabinet();
    m_cabs.putCabinet(outer, "in", inner);
    EXPECT_THROW(m_cabs.putCabinet(outer, "self", outer), HostError);
    EXPECT_THROW(m_cabs.putCabinet(inner, "up", outer), HostError);
    EXPECT_THROW(m_cabs.putCabinet(m_cabs.newCabinet(), "held", inner), HostError);
    int notACabinet = 0;
    EXPECT_THROW(m_cabs.putCabinet(outer, "bad", reinterpret_cast<QsCab>(&notACabinet)), HostError);
    EXPECT_THROW(m_cabs.merge(inner, outer), HostError);

    QsCab deepest = chain(kQsCabMaxDepth);
    QsCab tooDeep = m_cabs.newCabinet();
    EXPECT_THROW(m_cabs.putCabinet(tooDeep, "In", deepest), HostError);
    QsCab holder = m_cabs.newCabinet();
    m_cabs.putCabinet(holder, "x", m_cabs.newCabinet());
    EXPECT_THROW(m_cabs.merge(m_cabs.getCabinet(holder, "x"), deepest), HostError);
    EXPECT_EQ(m_cabs.numKeys(deepest), 1) << "a refused merge leaves the source as it was";
}

TEST_F(CMemoryCabinetsTest, LetsPointersGoWithTheirValues) {
    static char first[] = "first", second[] = "second", third[] = "third", fourth[] = "fourth";
    destroyedPointers.clear();
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putPointer(cab, "p", "T", first, recordDestroy);
    m_cabs.putPointer(cab, "p", "T", second, recordDestroy); // replaces first
    EXPECT_EQ(m_cabs.getPointer(cab, "p")->pointer, second);
    QsCab inner = m_cabs.newCabinet();
    m_cabs.putPointer(inner, "q", "T", third, recordDestroy);
    m_cabs.putCabinet(cab, "in", inner);
    m_cabs.putPointer(nullptr, "lost", "T", fourth, recordDestroy);
    EXPECT_EQ(destroyedPointers, (std::vector<std::string>{"first", "fourth"}));
    m_cabs.destroyCabinet(inner); // held by cab: ignored
    EXPECT_EQ(destroyedPointers.size(), 2u);
    m_cabs.destroyCabinet(cab);
    EXPECT_EQ(destroyedPointers.size(), 4u);
    m_cabs.destroyCabinet(cab); // no longer a cabinet: ignored
    EXPECT_EQ(m_cabs.liveCount(), 0u);
}

TEST_F(CMemoryCabinetsTest, MergeMovesEntriesAndMakeEmptyClears) {
    QsCab dst = m_cabs.newCabinet();
    m_cabs.putInt(dst, "keep", 1);
    m_cabs.putInt(dst, "both", 2);
    QsCab src = m_cabs.newCabinet();
    m_cabs.putString(src, "both", "new", 3);
    QsCab inner = m_cabs.newCabinet();
    m_cabs.putInt(inner, "n", 5);
    m_cabs.putCabinet(src, "in", inner);
    m_cabs.merge(dst, src);
    EXPECT_EQ(m_cabs.liveCount(), 1u);
    auto keys = m_cabs.keys(dst);
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[1].key, "both");
    EXPECT_EQ(m_cabs.getString(dst, "both"), "new");
    EXPECT_EQ(m_cabs.getInt(m_cabs.getCabinet(dst, "in"), "n"), 5);
    // The moved cabinet now sits under dst: putting it under dst's new child would be a cycle.
    QsCab other = m_cabs.newCabinet();
    m_cabs.putCabinet(m_cabs.getCabinet(dst, "in"), "other", other);
    EXPECT_THROW(m_cabs.putCabinet(m_cabs.getCabinet(dst, "in"), "up", dst), HostError);

    m_cabs.makeEmpty(dst);
    EXPECT_EQ(m_cabs.numKeys(dst), 0);
    m_cabs.putInt(dst, "again", 1);
    EXPECT_EQ(m_cabs.keys(dst)[0].key, "again");
}

} // namespace
