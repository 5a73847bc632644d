#include "frame/HostError.h"
#include "host/cabinets/CGVariantCabinets.h"
#include "host/core/CHostCore.h"
#include "tests/host/TempFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>

namespace {

int destroyed = 0;
void countDestroy(void*) {
    ++destroyed;
}

QsCab everyKind(ICabinets& cabs, ICore& core) {
    QsCab cab = cabs.newCabinet();
    cabs.putBool(cab, "Bool", true);
    cabs.putInt(cab, "Int", -42);
    cabs.putAtom(cab, "Atom", core.atomFromString("Feed"));
    cabs.putDouble(cab, "Double", 2.5);
    cabs.putString(cab, "String", "by\0tes", 6);
    QsTextRec text{u"\u00e9t\u00e9"};
    text.units.push_back(char16_t(0xD800)); // a lone surrogate survives as it is
    cabs.putText(cab, "Text", text);
    cabs.putBinary(cab, "Binary", "\x89PNG\r\n", 6);
    cabs.putPointer(cab, "Pointer", "QsStm", &destroyed, countDestroy);
    QsCab nested = cabs.newCabinet();
    cabs.putInt(nested, "0", 7);
    cabs.putString(nested, "1", "x", 1);
    cabs.putCabinet(cab, "Nested", nested);
    cabs.putNull(cab, "Null");
    cabs.putUns32(cab, "Uns32", 4000000000u);
    return cab;
}

// Checks a cabinet read back from a file against everyKind.
void expectEveryKind(ICabinets& cabs, ICore& core, QsCab cab) {
    ASSERT_NE(cab, nullptr);
    const std::vector<QsCabKeyInfo> expected = {
        {"Bool", kQsCabBool},     {"Int", kQsCabInt},         {"Atom", kQsCabAtom},
        {"Double", kQsCabDouble}, {"String", kQsCabString},   {"Text", kQsCabText},
        {"Binary", kQsCabBinary}, {"Pointer", kQsCabPointer}, {"Nested", kQsCabCabinet},
        {"Null", kQsCabNull},     {"Uns32", kQsCabUns32},
    };
    auto keys = cabs.keys(cab);
    ASSERT_EQ(keys.size(), expected.size());
    for (size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(keys[i].key, expected[i].key);
        EXPECT_EQ(keys[i].kind, expected[i].kind) << keys[i].key;
    }
    EXPECT_EQ(cabs.getBool(cab, "Bool"), true);
    EXPECT_EQ(cabs.getInt(cab, "Int"), -42);
    EXPECT_STREQ(core.atomGetString(*cabs.getAtom(cab, "Atom")), "Feed");
    EXPECT_EQ(cabs.getDouble(cab, "Double"), 2.5);
    EXPECT_EQ(cabs.getString(cab, "String"), std::string("by\0tes", 6));
    EXPECT_EQ(cabs.getText(cab, "Text"), (std::u16string{u'\u00e9', u't', u'\u00e9', 0xD800}));
    EXPECT_EQ(cabs.getBinary(cab, "Binary"), std::string("\x89PNG\r\n", 6));
    auto pointer = cabs.getPointer(cab, "Pointer");
    ASSERT_TRUE(pointer);
    EXPECT_EQ(pointer->type, "QsStm");
    EXPECT_EQ(pointer->pointer, nullptr) << "an address is not kept across runs";
    QsCab nested = cabs.getCabinet(cab, "Nested");
    EXPECT_EQ(cabs.getInt(nested, "0"), 7);
    EXPECT_EQ(cabs.getString(nested, "1"), "x");
    EXPECT_EQ(cabs.kindOf(cab, "Null"), kQsCabNull);
    EXPECT_EQ(cabs.getUns32(cab, "Uns32"), 4000000000u);
}

class CGVariantCabinetsTest : public ::testing::Test {
protected:
    TempFolder m_folder;
    CHostCore m_core;
    CGVariantCabinets m_cabs{m_core, m_folder.path()};
    std::string file(const char* name) { return m_folder.path() + "Collab/" + name; }
};

TEST_F(CGVariantCabinetsTest, KeepsEveryKindThroughAFileReadByAnotherRun) {
    destroyed = 0;
    QsCab cab = everyKind(m_cabs, m_core);
    m_cabs.saveCabinet(cab, "Collab", "Kinds");
    m_cabs.destroyCabinet(cab);
    EXPECT_EQ(destroyed, 1);

    // Another run has other atom numbers: atoms come back by their text.
    CHostCore otherCore;
    otherCore.atomFromString("Shifts the numbers");
    CGVariantCabinets other(otherCore, m_folder.path());
    QsCab loaded = other.loadCabinet("Collab", "Kinds");
    expectEveryKind(other, otherCore, loaded);
    other.destroyCabinet(loaded);
    EXPECT_EQ(other.liveCount(), 0u);
}

TEST_F(CGVariantCabinetsTest, ReadsFilesOfTheStoredFormat) {
    writeFileBytes(file("Kinds"), hostTestData("cabinet-every-kind.gvariant"));
    QsCab cab = m_cabs.loadCabinet("Collab", "Kinds");
    expectEveryKind(m_cabs, m_core, cab);

    writeFileBytes(file("Empty"), hostTestData("cabinet-empty.gvariant"));
    QsCab empty = m_cabs.loadCabinet("Collab", "Empty");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(m_cabs.numKeys(empty), 0);
    EXPECT_EQ(m_cabs.loadCabinet("Collab", "Missing"), nullptr);
}

TEST_F(CGVariantCabinetsTest, SetsAsideAFileThatIsNoCabinetAndStartsEmpty) {
    const char* damaged[] = {
        "cabinet-truncated.gvariant",      "cabinet-one-bit-flipped.gvariant",
        "cabinet-duplicate-key.gvariant",  "cabinet-unknown-value-type.gvariant",
        "cabinet-nested-33-deep.gvariant", "cabinet-other-format.json",
    };
    for (const char* name : damaged) {
        SCOPED_TRACE(name);
        std::string bytes = hostTestData(name);
        ASSERT_FALSE(bytes.empty());
        writeFileBytes(file("RSS"), bytes);
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(m_cabs.loadCabinet("Collab", "RSS"), nullptr);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  "vellum-host: the cabinet file " + file("RSS") +
                      " could not be read; it was set aside as " + file("RSS.corrupt") +
                      " and the cabinet starts empty\n");
        EXPECT_EQ(readFileBytes(file("RSS.corrupt")), bytes);
        EXPECT_FALSE(g_file_test(file("RSS").c_str(), G_FILE_TEST_EXISTS));
    }
    writeFileBytes(file("Zero"), "");
    EXPECT_EQ(m_cabs.loadCabinet("Collab", "Zero"), nullptr);
    EXPECT_TRUE(g_file_test(file("Zero.corrupt").c_str(), G_FILE_TEST_EXISTS));

    // A save over a damaged file that nobody loaded keeps the damaged bytes aside too.
    writeFileBytes(file("RSS"), "garbage");
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putInt(cab, "Count", 3);
    m_cabs.saveCabinet(cab, "Collab", "RSS");
    EXPECT_EQ(readFileBytes(file("RSS.corrupt")), "garbage");
    QsCab loaded = m_cabs.loadCabinet("Collab", "RSS");
    EXPECT_TRUE(m_cabs.equal(cab, loaded));
}

TEST_F(CGVariantCabinetsTest, ASaveLooksAgainAtAFileChangedSinceItWasReadOrWritten) {
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putInt(cab, "Count", 3);
    CGVariantCabinets other(m_core, m_folder.path());
    QsCab others = other.newCabinet();
    other.putInt(others, "Count", 4);
    struct Case {
        const char* what;
        std::function<void()> change;
        bool setAside;
    } cases[] = {
        {"unchanged", [] {}, false},
        {"replaced by another run's save", [&] { other.saveCabinet(others, "Collab", "RSS"); },
         false},
        {"damaged in place, same size",
         [&] {
             std::string bytes = readFileBytes(file("RSS"));
             bytes[bytes.size() / 2] ^= 1;
             writeFileBytes(file("RSS"), bytes);
         },
         true},
        {"replaced by garbage", [&] { writeFileBytes(file("RSS"), "garbage"); }, true},
    };
    for (bool loadedFirst : {false, true}) {
        for (const auto& test : cases) {
            SCOPED_TRACE(std::string(test.what) + (loadedFirst ? ", after a load" : ""));
            std::remove(file("RSS.corrupt").c_str());
            m_cabs.saveCabinet(cab, "Collab", "RSS");
            if (loadedFirst)
                m_cabs.destroyCabinet(m_cabs.loadCabinet("Collab", "RSS"));
            test.change();
            std::string before = readFileBytes(file("RSS"));
            ::testing::internal::CaptureStderr();
            m_cabs.saveCabinet(cab, "Collab", "RSS");
            std::string said = ::testing::internal::GetCapturedStderr();
            EXPECT_EQ(g_file_test(file("RSS.corrupt").c_str(), G_FILE_TEST_EXISTS), test.setAside);
            EXPECT_EQ(said.empty(), !test.setAside) << said;
            if (test.setAside) {
                EXPECT_EQ(readFileBytes(file("RSS.corrupt")), before);
            }
            QsCab loaded = m_cabs.loadCabinet("Collab", "RSS");
            EXPECT_TRUE(m_cabs.equal(cab, loaded));
            m_cabs.destroyCabinet(loaded);
        }
    }
}

TEST_F(CGVariantCabinetsTest, LoadsAndSavesRemoveTheStaleTemporaryFilesOfKilledSaves) {
    struct Leftover {
        const char* name;
        long ageSeconds;
        bool removed;
    } leftovers[] = {
        {"RSS.a1B2c3", 120, true},
        {"RSS.Zz9Zz9", 3600 * 24, true},
        // A save under way in another run of the host is left to finish.
        {"RSS.fresh1", 0, false},
        {"RSS.a1B2c", 120, false},   // not the shape of a temporary file
        {"RSS.a1B2c3d", 120, false}, // nor this
        {"RSS.a1-2c3", 120, false},  // nor this
        {"RSS.corrupt", 120, false},
        {"Other.a1B2c3", 120, false}, // another cabinet's
    };
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putInt(cab, "Count", 3);
    m_cabs.saveCabinet(cab, "Collab", "RSS");
    for (bool bySave : {false, true}) {
        for (const Leftover& leftover : leftovers) {
            writeFileBytes(file(leftover.name), "partial");
            struct timespec times[2] = {{time(nullptr) - leftover.ageSeconds, 0},
                                        {time(nullptr) - leftover.ageSeconds, 0}};
            utimensat(AT_FDCWD, file(leftover.name).c_str(), times, 0);
        }
        if (bySave) {
            m_cabs.saveCabinet(cab, "Collab", "RSS");
        } else {
            QsCab loaded = m_cabs.loadCabinet("Collab", "RSS");
            EXPECT_TRUE(m_cabs.equal(cab, loaded));
        }
        for (const Leftover& leftover : leftovers)
            EXPECT_EQ(g_file_test(file(leftover.name).c_str(), G_FILE_TEST_EXISTS),
                      !leftover.removed)
                << leftover.name << (bySave ? " on a save" : " on a load");
    }
}

TEST_F(CGVariantCabinetsTest, KeepsTheDeepestNestingThatCanBeMade) {
    QsCab top = m_cabs.newCabinet();
    m_cabs.putInt(top, "Level", kQsCabMaxDepth);
    for (int level = kQsCabMaxDepth - 1; level > 0; --level) {
        QsCab above = m_cabs.newCabinet();
        m_cabs.putInt(above, "Level", level);
        m_cabs.putCabinet(above, "In", top);
        top = above;
    }
    m_cabs.saveCabinet(top, "Collab", "Deep");
    QsCab loaded = m_cabs.loadCabinet("Collab", "Deep");
    EXPECT_TRUE(m_cabs.equal(top, loaded));
    QsCab deepest = loaded;
    for (int level = 1; level < kQsCabMaxDepth; ++level)
        deepest = m_cabs.getCabinet(deepest, "In");
    EXPECT_EQ(m_cabs.getInt(deepest, "Level"), kQsCabMaxDepth);
}

TEST_F(CGVariantCabinetsTest, RefusesNamesThatAreNoPathComponent) {
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putInt(cab, "Count", 3);
    const char* names[] = {nullptr, "", ".", "..", "a/b", "../Collab"};
    for (const char* name : names) {
        SCOPED_TRACE(name ? name : "null");
        EXPECT_EQ(m_cabs.loadCabinet("Collab", name), nullptr);
        EXPECT_EQ(m_cabs.loadCabinet(name, "RSS"), nullptr);
        EXPECT_THROW(m_cabs.saveCabinet(cab, "Collab", name), HostError);
        EXPECT_THROW(m_cabs.saveCabinet(cab, name, "RSS"), HostError);
    }
    EXPECT_THROW(m_cabs.saveCabinet(nullptr, "Collab", "RSS"), HostError);
    EXPECT_FALSE(g_file_test((m_folder.path() + "Collab").c_str(), G_FILE_TEST_EXISTS));
}

TEST_F(CGVariantCabinetsTest, KeepsFilesPrivateToTheUser) {
    QsCab cab = m_cabs.newCabinet();
    m_cabs.putString(cab, "Password", "secret", 6);
    m_cabs.saveCabinet(cab, "Collab", "Credentials");
    struct stat folder, data;
    ASSERT_EQ(stat((m_folder.path() + "Collab").c_str(), &folder), 0);
    ASSERT_EQ(stat(file("Credentials").c_str(), &data), 0);
    EXPECT_EQ(folder.st_mode & 0777, 0700u);
    EXPECT_EQ(data.st_mode & 0777, 0600u);
}

} // namespace
