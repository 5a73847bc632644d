// Walking maps of either key kind and strings of either type alike.
#include "values/CAggWalk.h"

#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class CAggWalk : public ::testing::Test {
protected:
    /// A map of the given key kind with b=2, a=1, and 10=3 (numbers sort first).
    static CAgg sample(bool atomKeys) {
        CAgg map;
        if (atomKeys) {
            map.toQsAtomMap();
            map[QsAtomFromString("b")] = CAgg(2L);
            map[QsAtomFromString("a")] = CAgg(1L);
            map[QsAtomFromString("10")] = CAgg(3L);
        } else {
            map["b"] = CAgg(2L);
            map["a"] = CAgg(1L);
            map["10"] = CAgg(3L);
        }
        return map;
    }

    static std::string entries(CAgg& map) {
        std::string out;
        CAggForEachEntry(map, [&](const CEStr& key, CAgg& value) {
            out += EStrToUTF8(key) + "=" + EStrToUTF8(CAggValueText(value)) + " ";
        });
        return out;
    }

    FakeHost host;
};

TEST_F(CAggWalk, BothMapKindsWalkAndShrinkAlike) {
    for (bool atomKeys : {false, true}) {
        CAgg map = sample(atomKeys);
        CAgg::CAggType kind = map.getType();
        EXPECT_TRUE(CAggIsMap(map));
        EXPECT_EQ(CAggMapSize(map), 3u);
        std::string walked = entries(map);
        long sum = 0;
        CAggForEachChild(map, [&](CAgg& child) { sum += static_cast<long>(child.todouble()); });
        EXPECT_EQ(sum, 6);

        CAggRemoveKey(map, "a");
        CAggRemoveKey(map, "missing");
        EXPECT_EQ(map.getType(), kind) << "the kind of map stays";
        EXPECT_EQ(CAggMapSize(map), 2u);
        EXPECT_EQ(entries(map).find("a="), std::string::npos);
        for (const char* entry : {"10=3 ", "a=1 ", "b=2 "})
            EXPECT_NE(walked.find(entry), std::string::npos) << walked;
        if (!atomKeys) {
            EXPECT_EQ(walked, "10=3 a=1 b=2 ") << "text keys walk numbers first";
        }
    }
}

TEST_F(CAggWalk, WalkingAnythingElseGivesNothing) {
    CAgg list;
    list.toVector().push_back(CAgg(1L));
    list.toVector().push_back(CAgg(2L));
    int children = 0;
    CAggForEachChild(list, [&](CAgg&) { ++children; });
    EXPECT_EQ(children, 2);
    EXPECT_FALSE(CAggIsMap(list));
    EXPECT_EQ(CAggMapSize(list), 0u);
    EXPECT_EQ(entries(list), "");

    CAgg number(5L);
    CAggForEachChild(number, [&](CAgg&) { ++children; });
    EXPECT_EQ(children, 2);
}

TEST_F(CAggWalk, StringsOfEitherTypeAndTextOfAnyValue) {
    CAgg plain("text");
    CAgg viewer(CQsText("text"));
    CAgg number(42L);
    EXPECT_TRUE(CAggIsString(plain));
    EXPECT_TRUE(CAggIsString(viewer));
    EXPECT_FALSE(CAggIsString(number));
    // Reading a value as text leaves the value as it was.
    EXPECT_EQ(EStrToUTF8(CAggValueText(number)), "42");
    EXPECT_EQ(number.getType(), CAgg::eQsInt32);
    EXPECT_EQ(EStrToUTF8(CAggValueText(viewer)), "text");
    EXPECT_EQ(viewer.getType(), CAgg::eCQsText);
}

} // namespace
