// The atom map: key order, lookups small and large, references that outlive inserts, erasing
// while walking, room given back and taken again, copies and moves.
#include "values/CAgg.h"

#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using estrtest::bytesOf;

class CAggAtomMapTest : public ::testing::Test {
protected:
    FakeHost host;
};

std::string textOf(CAgg& value) {
    CAgg copy(value);
    return bytesOf(copy.toEStr());
}

std::vector<QsAtom> keysOf(const CAggAtomMap& map) {
    std::vector<QsAtom> keys;
    for (const auto& [key, value] : map)
        keys.push_back(key);
    return keys;
}

std::vector<QsAtom> shuffled(int count, unsigned seed) {
    std::vector<QsAtom> keys;
    for (int i = 1; i <= count; ++i)
        keys.push_back(static_cast<QsAtom>(i * 7));
    std::shuffle(keys.begin(), keys.end(), std::mt19937(seed));
    return keys;
}

TEST_F(CAggAtomMapTest, EntriesWalkInKeyOrderAndAreFoundWhateverTheOrderOfInsertion) {
    // Small maps are searched one by one, bigger ones by halves: both sizes, and both ends.
    for (int count : {1, 3, 8, 9, 40, 1000}) {
        CAggAtomMap map;
        for (QsAtom key : shuffled(count, static_cast<unsigned>(count)))
            map[key] = CAgg(static_cast<long>(key));
        std::vector<QsAtom> keys = keysOf(map);
        ASSERT_EQ(keys.size(), static_cast<size_t>(count));
        EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end())) << count;
        for (QsAtom key : keys) {
            auto found = map.find(key);
            ASSERT_NE(found, map.end()) << key;
            EXPECT_EQ(found->second.toQsInt32(), key);
        }
        for (QsAtom absent : {QsAtom(0), QsAtom(8), QsAtom(count * 7 + 1), QsAtom(65535)})
            EXPECT_EQ(map.count(absent), 0u) << count << " " << absent;
        EXPECT_EQ(std::prev(map.end())->first, count * 7);
    }
}

TEST_F(CAggAtomMapTest, AddingLeavesOrReplacesAsEachOperationSays) {
    CAggAtomMap map;
    EXPECT_TRUE(map.emplace(5, CAgg("first")).second);
    EXPECT_FALSE(map.emplace(5, CAgg("second")).second); // emplace leaves an entry alone
    EXPECT_EQ(textOf(map[5]), "first");
    EXPECT_FALSE(map.insert_or_assign(5, CAgg("third")).second);
    EXPECT_EQ(textOf(map[5]), "third");
    EXPECT_FALSE(map.insert({5, CAgg("fourth")}).second);
    EXPECT_EQ(map[9].getType(), CAgg::eVoid); // indexing makes a void entry
    EXPECT_EQ(map.size(), 2u);
}

TEST_F(CAggAtomMapTest, ReferencesStayGoodAcrossInsertsUntilTheirOwnEntryIsErased) {
    CAggAtomMap map;
    std::vector<CAgg*> values;
    // Every entry is made while the earlier ones are held, so that the map grows under them.
    for (QsAtom key : shuffled(300, 1)) {
        map[key] = CAgg(("value " + std::to_string(key)).c_str());
        values.push_back(&map[key]);
    }
    for (CAgg* value : values) {
        std::string text = textOf(*value);
        EXPECT_EQ(value, &map[static_cast<QsAtom>(std::stoi(text.substr(6)))]);
    }
    CAgg& kept = map[7];
    for (QsAtom key = 700; key < 1000; ++key)
        map.erase(key % 2 ? QsAtom(key - 600) : key); // some present, some not
    map[5000] = CAgg("late");
    EXPECT_EQ(textOf(kept), "value 7");
}

TEST_F(CAggAtomMapTest, ErasingWhileWalkingVisitsEveryEntryOnceAndRoomIsTakenAgain) {
    CAggAtomMap map;
    for (QsAtom key = 1; key <= 50; ++key)
        map[key] = CAgg(("v" + std::to_string(key)).c_str());
    std::vector<QsAtom> visited;
    for (auto entry = map.begin(); entry != map.end();) {
        visited.push_back(entry->first);
        entry = entry->first % 3 ? map.erase(entry) : std::next(entry);
    }
    EXPECT_EQ(visited.size(), 50u);
    EXPECT_EQ(keysOf(map),
              (std::vector<QsAtom>{3, 6, 9, 12, 15, 18, 21, 24, 27, 30, 33, 36, 39, 42, 45, 48}));
    // Erased room is taken again: a long run of erase and insert keeps every value whole.
    for (int round = 0; round < 2000; ++round) {
        auto key = static_cast<QsAtom>(100 + round % 7);
        map[key] = CAgg(("round " + std::to_string(round)).c_str());
        if (round % 2) {
            EXPECT_EQ(map.erase(key), 1u);
        }
    }
    EXPECT_EQ(map.erase(QsAtom(1)), 0u);
    EXPECT_EQ(textOf(map[3]), "v3");
    map.clear();
    EXPECT_TRUE(map.empty());
    map[1] = CAgg("after clear");
    EXPECT_EQ(keysOf(map), std::vector<QsAtom>{1});
}

TEST_F(CAggAtomMapTest, CopiesAreDeepAndMovesTakeTheEntriesWhereTheyLie) {
    CAggAtomMap map;
    for (QsAtom key : shuffled(20, 3))
        map[key] = CAgg(("v" + std::to_string(key)).c_str());
    map.erase(QsAtom(14)); // a copy of a map with a hole in its room
    CAggAtomMap copy(map);
    EXPECT_TRUE(copy == map);
    copy[7] = CAgg("changed");
    copy[1000] = CAgg("added"); // a copy grows past its exact room
    EXPECT_FALSE(copy == map);
    EXPECT_EQ(textOf(map[7]), "v7");
    EXPECT_EQ(map.count(1000), 0u);

    CAgg* held = &map[21];
    CAggAtomMap moved(std::move(map));
    EXPECT_EQ(&moved[21], held); // the entry did not move
    EXPECT_TRUE(map.empty());    // NOLINT(bugprone-use-after-move): left empty and usable
    map[2] = CAgg("reused");
    EXPECT_EQ(map.size(), 1u);

    CAggAtomMap assigned;
    assigned[1] = CAgg("old");
    assigned = moved;
    EXPECT_TRUE(assigned == moved);
    CAggAtomMap& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned == moved);
    assigned = std::move(moved);
    EXPECT_EQ(textOf(assigned[21]), "v21");
}

TEST_F(CAggAtomMapTest, AMapMadeWithItsOwnRoomGrowsPastItAndGivesItsEntriesAway) {
    // Entries past the room go to blocks of their own; a move takes every entry out whole,
    // and the emptied map can be filled again before it is freed.
    CAggAtomMap* made = CAggAtomMap::make(2);
    for (QsAtom key : shuffled(12, 5))
        (*made)[key] = CAgg(("v" + std::to_string(key)).c_str());
    CAggAtomMap* copy = CAggAtomMap::makeCopy(*made);
    EXPECT_TRUE(*copy == *made);
    CAggAtomMap taken(std::move(*made));
    EXPECT_TRUE(taken == *copy);
    EXPECT_TRUE(made->empty());
    (*made)[3] = CAgg("again");
    CAggAtomMap assigned;
    assigned[99] = CAgg("old");
    assigned = std::move(*copy);
    EXPECT_EQ(keysOf(assigned), keysOf(taken));
    EXPECT_EQ(textOf(assigned[84]), "v84");
    copy->clear();
    (*copy)[1] = CAgg("after clear");
    CAggAtomMap::destroy(copy);
    CAggAtomMap::destroy(made);
    CAggAtomMap::destroy(nullptr);

    CAgg record = CAgg::atomMapWithRoom(6);
    EXPECT_EQ(record.getType(), CAgg::eQsAtomMap);
    EXPECT_TRUE(record.isCollectionTypeEmpty());
    record[QsAtom(1)] = CAgg("one");
    CAgg moved(std::move(record));
    EXPECT_EQ(textOf(moved[QsAtom(1)]), "one");
}

TEST_F(CAggAtomMapTest, MapsMadeWithAnyRoomKeepTheirEntriesThroughGrowthMovesAndClears) {
    // Room of none, a record's, the most a map holds in its own allocation, and more than that.
    for (size_t room :
         {size_t(0), size_t(1), size_t(6), CAggAtomMap::kMaxRoom, CAggAtomMap::kMaxRoom + 45}) {
        CAggAtomMap* made = CAggAtomMap::make(room);
        std::vector<std::pair<QsAtom, CAgg*>> held;
        for (QsAtom key : shuffled(400, static_cast<unsigned>(room))) {
            (*made)[key] = CAgg(static_cast<long>(key));
            held.emplace_back(key, &(*made)[key]);
        }
        for (auto& [key, value] : held)
            ASSERT_EQ(value->toQsInt32(), key) << room; // no entry moved as the map grew
        for (QsAtom key = 7; key <= 1400; key += 14)
            made->erase(key);
        EXPECT_EQ(made->size(), 300u) << room;
        CAggAtomMap* copy = CAggAtomMap::makeCopy(*made);
        EXPECT_TRUE(*copy == *made) << room;
        std::vector<QsAtom> keys = keysOf(*made);
        EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end())) << room;

        // Entries of a map without room of its own are taken where they lie; the room of the
        // map they go into serves again once it is emptied.
        CAggAtomMap plain;
        plain[1] = CAgg("one");
        CAgg* one = &plain[1];
        *made = std::move(plain);
        EXPECT_EQ(&(*made)[1], one) << room;
        made->clear();
        for (QsAtom key = 1; key <= 20; ++key)
            (*made)[key] = CAgg(static_cast<long>(key));
        EXPECT_EQ((*made)[20].toQsInt32(), 20) << room;
        *copy = std::move(*made); // from a map with room: entry by entry
        EXPECT_EQ(copy->size(), 20u) << room;
        EXPECT_TRUE(made->empty()) << room;
        CAggAtomMap::destroy(copy);
        CAggAtomMap::destroy(made);
    }
}

TEST_F(CAggAtomMapTest, RecordsInsideValuesCopyAndCompareAsWholeTrees) {
    CAgg tree;
    for (QsAtom key = 1; key <= 6; ++key) {
        CAgg& child = tree[key];
        child.toQsAtomMap().reserve(6);
        for (QsAtom inner = 1; inner <= 6; ++inner)
            child[inner] = CAgg(("leaf " + std::to_string(key * 10 + inner)).c_str());
    }
    CAgg copy(tree);
    EXPECT_TRUE(copy == tree);
    copy[QsAtom(3)][QsAtom(4)] = CAgg("other");
    EXPECT_FALSE(copy == tree);
    EXPECT_EQ(textOf(tree[QsAtom(3)][QsAtom(4)]), "leaf 34");
}

} // namespace
