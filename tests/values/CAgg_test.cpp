// The dynamic value: keys and their order, indexing, equality, copy and release by tag.
#include "values/CAgg.h"

#include "values/CLazyAtom.h"

#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using estrtest::bytesOf;
using estrtest::ucs;

/// The keys of a map in walk order, each as its bytes with its encoding in front.
std::vector<std::string> keysOf(CAgg& value) {
    std::vector<std::string> keys;
    for (auto& [key, entry] : value.toMap())
        keys.push_back(key.isNull() ? std::string("null")
                                    : std::to_string(EStrGetEncoding(key)) + ":" + bytesOf(key));
    return keys;
}

/// A read stream whose closing is counted.
struct CountedStream {
    int closes = 0;
    QsStm open() {
        return QsProcStmRdOpen([](char*, long, void*) -> long { return 0; },
                               [](void* data) { ++static_cast<CountedStream*>(data)->closes; },
                               this);
    }
};

class CAggCore : public ::testing::Test {
protected:
    FakeHost host;
};

// A pointer becomes a value only when asked to: a stray one is never quietly an icon.
static_assert(!std::is_convertible_v<void*, CAgg>);
static_assert(!std::is_convertible_v<int*, CAgg>);
static_assert(!std::is_convertible_v<const CAgg*, CAgg>);
static_assert(!std::is_convertible_v<const QsTimeRec*, CAgg>);
static_assert(std::is_constructible_v<CAgg, void*>);
static_assert(std::is_convertible_v<const char*, CAgg>);

TEST_F(CAggCore, MapsWalkNumbersFirstThenByEncodingAndBytes) {
    struct Case {
        std::vector<CEStr> inserted;
        std::vector<std::string> walk;
    };
    const Case cases[] = {
        {{"10", "9", "b", "a"}, {"1:9", "1:10", "1:a", "1:b"}},
        // A sign or a space makes a key text; text keys come after every number.
        {{"-1", " 2", "3", "02"}, {"1:02", "1:3", "1: 2", "1:-1"}},
        // Host-encoded digits are no number: they order by encoding, before PDFDocEncoding text.
        {{CEStr("7", kEStrHost), "a", "8"}, {"1:8", "0:7", "1:a"}},
        // The same text in two encodings is two keys, the smaller encoding first.
        {{ucs(u"abc"), "abc"}, {"1:abc", "2:" + estrtest::ucsBytes(u"abc")}},
        {{CEStr(), "z"}, {"null", "1:z"}},
    };
    for (const Case& c : cases) {
        CAgg map;
        for (const CEStr& key : c.inserted)
            map[key] = CAgg(1L);
        EXPECT_EQ(keysOf(map), c.walk);
    }
}

TEST_F(CAggCore, NumericKeysOfOneValueAreOneEntryKeptUnderTheFirstKey) {
    CAgg map;
    map["01"] = CAgg(1L);
    map["1"] = CAgg(2L);
    map["001"];
    EXPECT_EQ(keysOf(map), std::vector<std::string>{"1:01"});
    EXPECT_EQ(map["1"].toQsInt32(), 2);
}

TEST_F(CAggCore, FirstIndexDecidesTheKindAndTheOtherIndexFindsTheSameEntry) {
    QsAtom name = QsAtomFromString("name");
    CAgg byText;
    byText["name"] = CAgg(1L);
    EXPECT_EQ(byText.getType(), CAgg::eMap);
    EXPECT_EQ(byText[name].toQsInt32(), 1);
    EXPECT_EQ(byText.toMap().size(), 1u);

    CAgg byAtom;
    byAtom[name] = CAgg(2L);
    EXPECT_EQ(byAtom.getType(), CAgg::eQsAtomMap);
    EXPECT_EQ(byAtom["name"].toQsInt32(), 2);
    // A UCS key is moved to PDFDocEncoding before it is interned.
    EXPECT_EQ(byAtom[ucs(u"name")].toQsInt32(), 2);
    EXPECT_EQ(byAtom.toQsAtomMap().size(), 1u);
}

TEST_F(CAggCore, HasNeverGrowsAMapWhileIndexingDoes) {
    CAgg map;
    map["a"] = CAgg(1L);
    EXPECT_FALSE(map.has("x"));
    EXPECT_FALSE(map.has(QsAtomFromString("x")));
    EXPECT_EQ(map.toMap().size(), 1u);
    map["x"];
    EXPECT_TRUE(map.has("x"));
    EXPECT_EQ(map.toMap().size(), 2u);
    // On anything but a map, has is false and converts nothing.
    CAgg number(5L);
    EXPECT_FALSE(number.has("x"));
    EXPECT_EQ(number.getType(), CAgg::eQsInt32);
}

TEST_F(CAggCore, IndexingOtherTypesConvertsThemFirst) {
    CAgg fresh;
    fresh[3L];
    ASSERT_EQ(fresh.getType(), CAgg::eVector);
    EXPECT_EQ(fresh.toVector().size(), 4u);
    for (const CAgg& element : fresh.toVector())
        EXPECT_EQ(element.getType(), CAgg::eVoid);

    // A number has no way to a map: it is replaced by an empty one.
    CAgg number(5L);
    number["x"] = CAgg(1L);
    EXPECT_EQ(keysOf(number), std::vector<std::string>{"1:x"});

    // A map read by index becomes a vector by its keys.
    CAgg map;
    map["1"] = CAgg("b");
    map["0"] = CAgg("a");
    EXPECT_EQ(bytesOf(map[1].toEStr()), "b");
    EXPECT_EQ(map.getType(), CAgg::eVector);
}

TEST_F(CAggCore, BadIndicesAndNullKeysAreRefusedOrTakenAsEmpty) {
    CAgg vector;
    vector[1] = CAgg(7L);
    for (long index : {-1L, -1000000L, 0x1000000L, 1L << 40}) {
        try {
            vector[index];
            ADD_FAILURE() << "index " << index << " was taken";
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, kHostErrBadSize);
        }
        EXPECT_EQ(vector.toVector().size(), 2u);
    }
    CAgg map;
    map[static_cast<const char*>(nullptr)] = CAgg(1L);
    EXPECT_TRUE(map.has(""));
    map[static_cast<const _EStrRec*>(nullptr)] = CAgg(2L);
    EXPECT_TRUE(map.has(static_cast<const _EStrRec*>(nullptr)));
    EXPECT_EQ(keysOf(map), (std::vector<std::string>{"null", "1:"}));
}

TEST_F(CAggCore, EqualityNeedsEqualTagsAndComparesPayloadsByTag) {
    DkColorValueRec rgb{kDkColorSpaceRGB, {1, 2, 3, 4}};
    DkColorValueRec rgbOtherUnused{kDkColorSpaceRGB, {1, 2, 3, 99}};
    DkColorValueRec odd{42, {1, 2, 3, 4}};
    QsTimeRec time{2004, 1, 2, 3, 4, 5, 6, 5, 0};
    QsTimeRec later = time;
    later.millisecond = 7;
    CAgg mapA, mapB, mapC;
    mapA["1"] = CAgg(1L);
    mapB["1"] = CAgg(1L);
    mapC["01"] = CAgg(1L);
    CAgg vectorA, vectorB;
    vectorA.toVector();
    vectorB.toVector();
    // The second holder owns the stream and closes it with the table.
    QsStm stream = QsMemStmRdOpen("x", 1);
    struct Case {
        CAgg a;
        CAgg b;
        bool equal;
    };
    const Case cases[] = {
        {CAgg(1L), CAgg(1.0), false},
        {CAgg(), CAgg(), true},
        {CAgg(NAN), CAgg(NAN), false},
        {CAgg(0.5), CAgg(0.5), true},
        {CAgg("abc"), CAgg(ucs(u"abc").get()), true},
        {CAgg("abc"), CAgg("abd"), false},
        {CAgg(rgb), CAgg(rgbOtherUnused), true},
        {CAgg(odd), CAgg(odd), false},
        {CAgg(time), CAgg(time), true},
        {CAgg(time), CAgg(later), false},
        {CAgg(QsFixedPoint{1, 2}), CAgg(QsFixedPoint{1, 2}), true},
        {mapA, mapB, true},
        // Map keys compare by their text, so "01" and "1" differ here.
        {mapA, mapC, false},
        {vectorA, vectorB, true},
        {CAgg(stream, 0), CAgg(stream, 1), true},
        {CAgg(CQsText("é")), CAgg(CQsText("é")), true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.a == c.b, c.equal) << c.a.getType();
        EXPECT_EQ(c.a != c.b, !c.equal);
    }
    // A colour of an unknown space equals only itself.
    CAgg self(odd);
    EXPECT_TRUE(self == self);
}

TEST_F(CAggCore, OnlyEmptyMapsAreEmptyCollections) {
    CAgg map, atoms, vector, fresh;
    map.toMap();
    atoms.toQsAtomMap();
    vector.toVector();
    EXPECT_TRUE(map.isCollectionTypeEmpty());
    EXPECT_TRUE(atoms.isCollectionTypeEmpty());
    EXPECT_FALSE(vector.isCollectionTypeEmpty());
    EXPECT_FALSE(fresh.isCollectionTypeEmpty());
    map["a"];
    EXPECT_FALSE(map.isCollectionTypeEmpty());
}

TEST_F(CAggCore, CopiesAreDeepAndAssignmentSurvivesItsOwnParts) {
    CAgg tree;
    tree["list"][2]["leaf"] = CAgg("x");
    CAgg copy(tree);
    copy["list"][2]["leaf"] = CAgg("y");
    EXPECT_EQ(bytesOf(tree["list"][2]["leaf"].toEStr()), "x");

    CAgg& self = tree;
    tree = self;
    EXPECT_EQ(bytesOf(tree["list"][2]["leaf"].toEStr()), "x");
    // The right side lives inside the left; the copy is taken before the old tree goes.
    tree = tree["list"];
    ASSERT_EQ(tree.getType(), CAgg::eVector);
    EXPECT_EQ(bytesOf(tree[2]["leaf"].toEStr()), "x");

    CAgg moved(std::move(copy));
    EXPECT_EQ(copy.getType(), CAgg::eVoid);
    EXPECT_EQ(moved.getType(), CAgg::eMap);
}

TEST_F(CAggCore, CopiesOfASharedMapStillBehaveAsCopies) {
    // Each change is made to one of three values that share one body of entries; the other two
    // must not see it, whichever way the change is made.
    struct Case {
        const char* what;
        void (*change)(CAgg&);
        std::vector<std::string> keys; // of the changed value afterwards
    };
    const Case cases[] = {
        {"indexing by text", [](CAgg& v) { v["c"] = CAgg("3"); }, {"1:a", "1:b", "1:c"}},
        {"indexing by atom",
         [](CAgg& v) { v[QsAtomFromString("c")] = CAgg("3"); },
         {"1:a", "1:b", "1:c"}},
        {"changing an entry",
         [](CAgg& v) {
             v["a"].toEStr();
             v["a"] = CAgg("9");
         },
         {"1:a", "1:b"}},
        {"removing", [](CAgg& v) { v.remove("a"); }, {"1:b"}},
        {"through toMap", [](CAgg& v) { v.toMap().clear(); }, {}},
        {"converting to a vector and back", [](CAgg& v) { v.toVector(); }, {"0:0"}},
        {"flattening", [](CAgg& v) { v.map2VectorPERLStyle(); }, {"0:0", "0:1", "0:2", "0:3"}},
        {"making independent", [](CAgg& v) { v.makeIndependent(); }, {"1:a", "1:b"}},
    };
    for (const Case& c : cases) {
        CAgg original;
        original["a"] = CAgg("1");
        original["b"] = CAgg("2");
        original.shareMap();
        CAgg first(original);
        CAgg second;
        second = first;
        c.change(first);
        EXPECT_EQ(keysOf(first), c.keys) << c.what;
        for (CAgg* other : {&original, &second}) {
            EXPECT_EQ(keysOf(*other), (std::vector<std::string>{"1:a", "1:b"})) << c.what;
            EXPECT_EQ(bytesOf((*other)["a"].toEStr()), "1") << c.what;
        }
    }
    // A sharer outlives the value it was copied from, and copies of copies share too.
    auto last = std::make_unique<CAgg>();
    {
        CAgg original;
        original["k"] = CAgg("v");
        original.shareMap();
        CAgg middle(original);
        *last = middle;
    }
    CAgg tree;
    tree["inner"] = *last;
    CAgg treeCopy(tree);
    EXPECT_TRUE(treeCopy == tree);
    last.reset();
    EXPECT_EQ(bytesOf(treeCopy["inner"]["k"].toEStr()), "v");
    EXPECT_EQ(bytesOf(tree["inner"]["k"].toEStr()), "v");
}

TEST_F(CAggCore, MapEntriesReadsWithoutConvertingOrUnsharing) {
    // Only a map has entries to read; nothing else is converted to give some.
    struct Case {
        const char* what;
        CAgg value;
        CAgg::CAggType type;
    };
    CAgg atomMap;
    atomMap[QsAtomFromString("a")] = CAgg("1");
    CAgg vector;
    vector[0] = CAgg("1");
    Case cases[] = {
        {"void", CAgg(), CAgg::eVoid},        {"string", CAgg("a"), CAgg::eEStr},
        {"integer", CAgg(7), CAgg::eQsInt32}, {"atom map", atomMap, CAgg::eQsAtomMap},
        {"vector", vector, CAgg::eVector},
    };
    for (Case& c : cases) {
        EXPECT_EQ(c.value.mapEntries(), nullptr) << c.what;
        EXPECT_EQ(c.value.getType(), c.type) << c.what;
    }

    // Copies of a plain map have entries of their own; copies of a shared one read one body,
    // and go on sharing it however often they are read.
    CAgg plain;
    plain["k"] = CAgg("v");
    CAgg plainCopy(plain);
    ASSERT_NE(plain.mapEntries(), nullptr);
    EXPECT_NE(plain.mapEntries(), plainCopy.mapEntries());

    CAgg original;
    original["a"] = CAgg("1");
    original["b"] = CAgg("2");
    original.shareMap();
    CAgg first(original);
    CAgg second;
    second = first;
    const CAgg::CAggMap* body = original.mapEntries();
    ASSERT_NE(body, nullptr);
    for (int round = 0; round < 2; ++round) {
        for (const CAgg* sharer : {&original, &first, &second}) {
            EXPECT_EQ(sharer->mapEntries(), body);
            EXPECT_EQ(sharer->mapEntries()->size(), 2u);
            EXPECT_TRUE(sharer->has("a"));
        }
    }

    // A write after those reads gives the writer entries of its own; the others keep theirs.
    first["c"] = CAgg("3");
    EXPECT_NE(first.mapEntries(), body);
    EXPECT_EQ(keysOf(first), (std::vector<std::string>{"1:a", "1:b", "1:c"}));
    EXPECT_EQ(original.mapEntries(), body);
    EXPECT_EQ(second.mapEntries(), body);
    EXPECT_EQ(body->size(), 2u);
    second.toMap().clear();
    EXPECT_EQ(original.mapEntries(), body);
    EXPECT_EQ(keysOf(original), (std::vector<std::string>{"1:a", "1:b"}));
    EXPECT_TRUE(second.mapEntries()->empty());
}

TEST_F(CAggCore, PagesAreAcquiredByEveryCopyAndReleasedByEachRelease) {
    auto& model = host.documents();
    DkDoc doc = model.openDocument(2);
    DkPage page = model.dkDocAcquirePage(doc, 1);
    {
        CAgg held(page);
        EXPECT_EQ(model.pageAcquireCount(page), 2);
        CAgg copy(held);
        EXPECT_EQ(model.pageAcquireCount(page), 3);
        copy.toQsInt32();
        EXPECT_EQ(model.pageAcquireCount(page), 2);
    }
    EXPECT_EQ(model.pageAcquireCount(page), 1);
    model.pageRelease(page);
}

TEST_F(CAggCore, AnOwnedStreamIsClosedByWhicheverCopyGoesFirst) {
    CountedStream counted;
    auto* owner = new CAgg(counted.open(), 1);
    CAgg sharer(*owner);
    EXPECT_EQ(sharer.toQsStm(), owner->toQsStm());
    delete owner;
    EXPECT_EQ(counted.closes, 1);
    // The other copy knows the stream is gone: it reads nothing and closes nothing.
    EXPECT_EQ(sharer.toQsStm(), nullptr);
    EXPECT_EQ(bytesOf(CAgg(sharer).toEStr()), "");

    CountedStream borrowed;
    QsStm stream = borrowed.open();
    { CAgg notOwner(stream, 0); }
    EXPECT_EQ(borrowed.closes, 0);
    QsStmClose(stream);
}

TEST_F(CAggCore, CopiesOfAnOwnedStreamCloseItOnce) {
    CountedStream counted;
    {
        CAgg first(counted.open(), 1);
        CAgg second(first);
        CAgg third(second);
    }
    EXPECT_EQ(counted.closes, 1);
}

TEST_F(CAggCore, ClipboardDataIsSharedByCountAndDestroyedWithTheLastHolder) {
    auto& model = host.documents();
    DkActionClipboardData data = model.newActionClipboardData();
    {
        CAgg first(data);
        CAgg second(first);
        EXPECT_TRUE(first == second);
        EXPECT_FALSE(first == CAgg(data)) << "another holder of the same data";
        EXPECT_EQ(second.toDkActionClipboardData(0), data);
    }
    EXPECT_EQ(model.liveClipboardDataCount(), 0u);
    // Read as anything else it is released, and the empty holder holds nothing.
    DkActionClipboardData other = model.newActionClipboardData();
    CAgg held(other);
    held.toEStr();
    EXPECT_EQ(model.liveClipboardDataCount(), 0u);
    CAgg empty;
    EXPECT_EQ(empty.toDkActionClipboardData(0), nullptr);
    CAgg emptyCopy(empty);
    EXPECT_EQ(emptyCopy.toDkActionClipboardData(0), nullptr);
}

TEST_F(CAggCore, ADeepTreeIsFreedWithoutDeepRecursion) {
    // Every kind of collection nested far deeper than a stack would take by recursion. Each
    // level also holds a string, so that a leak checker sees any level that is not freed. A
    // copy of a shared map near the top keeps the tree below it alive after the first goes.
    enum Kind { kVector, kMap, kAtomMap, kSharedMap, kMixed };
    for (Kind kind : {kVector, kMap, kAtomMap, kSharedMap, kMixed}) {
        SCOPED_TRACE(kind);
        CAgg keeper;
        auto* deep = new CAgg("bottom");
        for (int i = 0; i < 200000; ++i) {
            Kind levelKind = kind == kMixed ? static_cast<Kind>(i % 4) : kind;
            CAgg level;
            if (levelKind == kVector) {
                level[1L] = std::move(*deep);
                level[0L] = CAgg("text");
            } else if (levelKind == kAtomMap) {
                level[static_cast<unsigned short>(1)] = std::move(*deep);
                level[static_cast<unsigned short>(2)] = CAgg("text");
            } else {
                level["child"] = std::move(*deep);
                level["text"] = CAgg("text");
            }
            if (levelKind == kSharedMap) {
                level.shareMap();
                if (i > 199000 && keeper.getType() == CAgg::eVoid)
                    keeper = level;
            }
            *deep = std::move(level);
        }
        delete deep;
        EXPECT_EQ(keeper.has("child"), kind == kSharedMap || kind == kMixed);
        keeper = CAgg();
    }
}

TEST_F(CAggCore, ATreeOutlivesTheThreadThatBuiltIt) {
    // The maps, vectors and strings of a tree come from the building thread's small blocks; a
    // tree handed on is read, copied, changed and freed by another thread, after the first has
    // ended, and a copy sharing a map with it is freed on a third.
    CAgg tree;
    CAgg sharer;
    std::thread builder([&] {
        CAgg made;
        for (int i = 0; i < 2000; ++i) {
            CAgg& item = made["items"][static_cast<long>(i)];
            item["name"] = CAgg(("item " + std::to_string(i)).c_str());
            item[QsAtomFromString("n")] = CAgg(static_cast<long>(i));
        }
        made["scope"]["xsd"] = CAgg("http://www.w3.org/2001/XMLSchema");
        made["scope"].shareMap();
        sharer = made["scope"];
        tree = std::move(made);
    });
    builder.join();
    CAgg copy(tree);
    EXPECT_TRUE(copy == tree);
    copy["items"][5L]["name"] = CAgg("changed");
    EXPECT_EQ(bytesOf(tree["items"][5L]["name"].toEStr()), "item 5");
    std::thread([&] { sharer = CAgg(); }).join();
    tree = CAgg();
    EXPECT_EQ(bytesOf(copy["items"][1999L]["name"].toEStr()), "item 1999");
    EXPECT_EQ(bytesOf(copy["scope"]["xsd"].toEStr()), "http://www.w3.org/2001/XMLSchema");
}

TEST_F(CAggCore, LookupsByAtomAndValueReadWithoutChanging) {
    QsAtom kind = QsAtomFromString("kind");
    QsAtom feed = QsAtomFromString("feed");
    CAgg record;
    record[kind].toQsAtom() = feed;
    record[QsAtomFromString("n")] = CAgg(3L);
    EXPECT_TRUE(record.hasSameAtomValue(kind, feed));
    EXPECT_FALSE(record.hasSameAtomValue(kind, QsAtomFromString("item")));
    EXPECT_TRUE(record.hasSameValue(QsAtomFromString("n"), CAgg(3L)));
    EXPECT_FALSE(record.hasSameValue(QsAtomFromString("n"), CAgg(3.0)));
    EXPECT_FALSE(record.hasSameValue(QsAtomFromString("missing"), CAgg()));
    EXPECT_EQ(record.toQsAtomMap().size(), 2u);
}

TEST_F(CAggCore, RemoveConvertsToTheKindOfItsKey) {
    CAgg map;
    map["a"] = CAgg(1L);
    map["b"] = CAgg(2L);
    map.remove("a");
    map.remove("never");
    EXPECT_EQ(keysOf(map), std::vector<std::string>{"1:b"});
    // An atom key turns the map into an atom map first.
    map.remove(QsAtomFromString("b"));
    EXPECT_EQ(map.getType(), CAgg::eQsAtomMap);
    EXPECT_TRUE(map.isCollectionTypeEmpty());
}

TEST_F(CAggCore, MakeIndependentTurnsObjectsIntoShadowsAndStreamsIntoStrings) {
    auto& model = host.documents();
    DkDoc doc = model.openDocument(1);
    LobObj object = model.objNewString(model.dkDocGetLobDoc(doc), "kept", 4, true);
    CAgg tree;
    tree["object"] = CAgg(object);
    tree["list"][0] = CAgg(QsMemStmRdOpen("streamed", 8), 1);
    tree["list"][1] = CAgg(2.5);
    tree.makeIndependent();
    EXPECT_EQ(tree["object"].getType(), CAgg::eCLobObjShadow);
    EXPECT_EQ(bytesOf(tree["list"][0].toEStr()), "streamed");
    EXPECT_EQ(tree["list"][1].getType(), CAgg::eDouble);
    model.closeDocument(doc);
    // The shadow's object was rescued when its document closed.
    EXPECT_EQ(bytesOf(tree["object"].toEStr()), "kept");
}

TEST(CLazyAtom, InternsOnFirstUseAndAgainUnderAnotherHost) {
    static const CLazyAtom kName("nameSpace");
    QsAtom first;
    {
        FakeHost host;
        QsAtomFromString("taken first");
        first = kName;
        EXPECT_EQ(first, QsAtomFromString("nameSpace"));
        EXPECT_STREQ(kName.text(), "nameSpace");
    }
    FakeHost other;
    EXPECT_EQ(kName.get(), QsAtomFromString("nameSpace"));
    EXPECT_NE(kName.get(), first) << "the new host numbers its atoms afresh";
}

} // namespace
