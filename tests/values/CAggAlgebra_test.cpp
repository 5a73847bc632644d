// Flattening, splitting and joining, and the set operations on maps.
#include "values/CAgg.h"

#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using estrtest::bytesOf;

class CAggAlgebra : public ::testing::Test {
protected:
    FakeHost host;
};

/// A compact picture of a value: numbers, strings, [vectors] and {key:value maps}.
std::string show(const CAgg& constValue) {
    CAgg value(constValue);
    switch (value.getType()) {
    case CAgg::eVoid:
        return "_";
    case CAgg::eQsInt32:
        return std::to_string(value.toQsInt32());
    case CAgg::eEStr:
        return bytesOf(value.toEStr());
    case CAgg::eQsAtom:
        return std::string("@") + QsAtomGetString(value.toQsAtom());
    case CAgg::eVector: {
        std::string out = "[";
        for (const CAgg& element : value.toVector())
            out += (out.size() > 1 ? "," : "") + show(element);
        return out + "]";
    }
    case CAgg::eMap: {
        std::string out = "{";
        for (auto& [key, entry] : value.toMap())
            out += (out.size() > 1 ? "," : "") + bytesOf(key) + ":" + show(entry);
        return out + "}";
    }
    case CAgg::eQsAtomMap: {
        std::string out = "{";
        for (auto& [atom, entry] : value.toQsAtomMap())
            out += (out.size() > 1 ? "," : "") + std::string("@") + QsAtomGetString(atom) + ":" +
                   show(entry);
        return out + "}";
    }
    default:
        return "?";
    }
}

CAgg numbers(int count) {
    CAgg vector;
    vector.toVector();
    for (int i = 0; i < count; ++i)
        vector[i] = CAgg(i + 1);
    return vector;
}

/// {a:1,b:{x:1,y:2}}
CAgg nested() {
    CAgg map;
    map["a"] = CAgg(1L);
    map["b"]["x"] = CAgg(1L);
    map["b"]["y"] = CAgg(2L);
    return map;
}

TEST_F(CAggAlgebra, FlattenersPairKeysWithValues) {
    CAgg map = nested();
    map.map2VectorPERLStyle();
    EXPECT_EQ(show(map), "[a,1,b,{x:1,y:2}]");
    EXPECT_EQ(map.toVector()[0].getType(), CAgg::eEStr);

    CAgg atoms;
    atoms[QsAtomFromString("k")] = CAgg(5L);
    atoms.map2VectorPERLStyle();
    EXPECT_EQ(show(atoms), "[@k,5]");

    // Anything else is read as a map first.
    CAgg number(3L);
    number.map2VectorPERLStyle();
    EXPECT_EQ(show(number), "[]");

    struct Case {
        CAgg flat;
        std::string map;
        std::string atomMap;
    };
    CAgg duplicate;
    duplicate[0] = CAgg("k");
    duplicate[1] = CAgg(1L);
    duplicate[2] = CAgg("k");
    duplicate[3] = CAgg(2L);
    CAgg numericKeys;
    numericKeys[0] = CAgg(7L);
    numericKeys[1] = CAgg("seven");
    // A number has no way to an atom: as a key it becomes the null atom, and one number key
    // overwrites the other.
    const Case cases[] = {
        {numbers(3), "{1:2}", "{@:2}"}, {numbers(4), "{1:2,3:4}", "{@:4}"},
        {duplicate, "{k:2}", "{@k:2}"}, {numericKeys, "{7:seven}", "{@:seven}"},
        {CAgg(), "{}", "{}"},
    };
    for (const Case& c : cases) {
        CAgg toMap(c.flat), toAtoms(c.flat);
        toMap.vector2MapPERLStyle();
        toAtoms.vector2QsAtomMapPERLStyle();
        EXPECT_EQ(show(toMap), c.map);
        EXPECT_EQ(show(toAtoms), c.atomMap);
    }
}

TEST_F(CAggAlgebra, SplitCutsIntoGroupsAndJoinPutsThemBack) {
    struct Case {
        int count;
        long size;
        std::string parts;
    };
    const Case cases[] = {
        {5, 2, "[[1,2],[3,4],[5]]"}, {4, 4, "[[1,2,3,4]]"}, {3, 10, "[[1,2,3]]"},
        {3, LONG_MAX, "[[1,2,3]]"},  {0, 3, "[]"},          {3, 1, "[[1],[2],[3]]"},
    };
    for (const Case& c : cases) {
        CAgg value = numbers(c.count);
        value.splitVector(c.size);
        EXPECT_EQ(show(value), c.parts);
        value.joinVector();
        EXPECT_EQ(show(value), show(numbers(c.count)));
    }
    // A size below 1 is refused, and the value is left as it was.
    for (long bad : {0L, -1L, LONG_MIN}) {
        CAgg value = numbers(3);
        try {
            value.splitVector(bad);
            ADD_FAILURE() << "size " << bad << " was taken";
        } catch (const HostError& error) {
            EXPECT_EQ(error.code, kHostErrBadSize);
        }
        EXPECT_EQ(show(value), "[1,2,3]");
    }
}

TEST_F(CAggAlgebra, JoinReadsEachElementAsAVector) {
    CAgg parts;
    parts[0] = numbers(2);
    parts[1] = CAgg("no collection");
    parts[2]["1"] = CAgg("second");
    parts[2]["0"] = CAgg("first");
    parts[3].toVector();
    parts.joinVector();
    EXPECT_EQ(show(parts), "[1,2,first,second]");
}

TEST_F(CAggAlgebra, CombineLetsTheOtherWinAndMergesNestedMapsOnlyWhenRecursive) {
    CAgg other;
    other["b"]["x"] = CAgg(9L);
    other["c"] = CAgg(3L);
    other["a"] = CAgg("replaced");
    struct Case {
        bool recursive;
        std::string result;
    };
    for (const Case& c :
         {Case{false, "{a:replaced,b:{x:9},c:3}"}, Case{true, "{a:replaced,b:{x:9,y:2},c:3}"}}) {
        CAgg receiver = nested();
        CAgg theirs(other);
        receiver.combine(theirs, c.recursive);
        EXPECT_EQ(show(receiver), c.result);
        EXPECT_EQ(show(theirs), show(other)) << "the other map is only read";
    }
    // A nested map meets a number: recursion turns the number into a map and merges into it.
    CAgg receiver;
    receiver["b"] = CAgg(1L);
    receiver.combine(other, true);
    EXPECT_EQ(show(receiver["b"]), "{x:9}");

    // An atom map makes the receiver one (atoms order by value: "q" is interned first).
    QsAtomFromString("q");
    CAgg atoms;
    atoms[QsAtomFromString("z")] = CAgg(1L);
    CAgg plain;
    plain["q"] = CAgg(2L);
    plain.combine(atoms, false);
    EXPECT_EQ(show(plain), "{@q:2,@z:1}");

    // The other may be a part of the receiver.
    CAgg self = nested();
    self.combine(self["b"], false);
    EXPECT_EQ(show(self), "{a:1,b:{x:1,y:2},x:1,y:2}");
    CAgg whole = nested();
    whole.combine(whole, true);
    EXPECT_EQ(show(whole), show(nested()));
}

TEST_F(CAggAlgebra, IntersectKeepsEntriesTheOtherHoldsWithEqualValues) {
    CAgg mine;
    for (const char* key : {"a", "b", "c", "d"})
        mine[key] = CAgg(key);
    CAgg theirs;
    theirs["a"] = CAgg("a");
    theirs["b"] = CAgg("other");
    theirs["d"] = CAgg("d");
    theirs["e"] = CAgg("e");
    mine.intersect(theirs);
    EXPECT_EQ(show(mine), "{a:a,d:d}");
    // Values of different tags are unequal even when they read alike.
    CAgg typed;
    typed["n"] = CAgg(1L);
    CAgg doubled;
    doubled["n"] = CAgg(1.0);
    typed.intersect(doubled);
    EXPECT_EQ(show(typed), "{}");
}

TEST_F(CAggAlgebra, DifferenceErasesEqualEntriesAndEmptiedNestedMaps) {
    CAgg sameNested = nested();
    sameNested.remove("a");
    CAgg partNested;
    partNested["b"]["x"] = CAgg(1L);
    CAgg otherValue;
    otherValue["a"] = CAgg(2L);
    const struct {
        CAgg other;
        bool recursive;
        std::string result;
    } cases[] = {
        {nested(), false, "{}"},
        {sameNested, false, "{a:1}"},
        // Not recursive: a nested map goes only when it equals the other's as a whole.
        {partNested, false, "{a:1,b:{x:1,y:2}}"},
        // Recursive: it is differenced, and goes only if nothing is left.
        {partNested, true, "{a:1,b:{y:2}}"},
        {sameNested, true, "{a:1}"},
        {otherValue, true, "{a:1,b:{x:1,y:2}}"},
        {CAgg(), true, "{a:1,b:{x:1,y:2}}"},
    };
    for (const auto& c : cases) {
        CAgg receiver = nested();
        CAgg other(c.other);
        receiver.difference(other, c.recursive);
        EXPECT_EQ(show(receiver), c.result) << show(c.other) << " " << c.recursive;
    }
    CAgg self = nested();
    self.difference(self, true);
    EXPECT_EQ(show(self), "{}");
}

} // namespace
