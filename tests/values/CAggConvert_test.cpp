// The conversion engine: the order of each row, the empty values, the text forms, numbers,
// fixed-point geometry, colours, and the changes between maps and vectors.
#include "values/CAgg.h"

#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"
#include "values/QsStm.h"
#include "values/miTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using estrtest::bytesOf;
using estrtest::ucs;
using estrtest::ucsBytes;

class CAggConvert : public ::testing::Test {
protected:
    FakeHost host;
};

/// A vector of the values.
CAgg vectorOf(std::vector<CAgg> elements) {
    CAgg vector;
    vector.toVector() = std::move(elements);
    return vector;
}

TEST_F(CAggConvert, NumbersAndTimesReadAsTextInTheHostEncoding) {
    QsAtom atom = QsAtomFromString("name");
    struct Case {
        CAgg value;
        std::string text;
        int32_t encoding;
    };
    const Case cases[] = {
        {CAgg(1.5), "1.500000", kEStrHost},
        {CAgg(3.0), "3.000000", kEStrHost},
        {CAgg(-0.0000004), "-0.000000", kEStrHost},
        {CAgg(0x1p100), "1267650600228229401496703205376.000000", kEStrHost},
        {CAgg(2.675), "2.675000", kEStrHost},
        {CAgg(0.0000015), "0.000002", kEStrHost},
        {CAgg(-0.0), "-0.000000", kEStrHost},
        {CAgg(NAN), "nan", kEStrHost},
        {CAgg(-INFINITY), "-inf", kEStrHost},
        {CAgg(-7L), "-7", kEStrHost},
        {CAgg(0L), "0", kEStrHost},
        {CAgg(INT_MIN), "-2147483648", kEStrHost},
        {CAgg(INT_MAX), "2147483647", kEStrHost},
        {CAgg(), "", kEStrPDFDoc},
        {CAgg(CQsText("plain")), ucsBytes(u"plain"), kEStrUCS},
        // A colour has no way to a string: it gives the empty one.
        {CAgg(DkColorValueRec{kDkColorSpaceRGB, {}}), "", kEStrPDFDoc},
    };
    for (const Case& c : cases) {
        CAgg value(c.value);
        EStr text = value.toEStr();
        EXPECT_EQ(bytesOf(text), c.text);
        EXPECT_EQ(EStrGetEncoding(text), c.encoding) << c.text;
        EXPECT_EQ(value.getType(), CAgg::eEStr) << "the value is a string for good";
    }
    // The longest text a double has, as "%f" writes it.
    char largest[400];
    std::snprintf(largest, sizeof largest, "%f", -1.7976931348623157e308);
    CAgg huge(-1.7976931348623157e308);
    EXPECT_EQ(bytesOf(huge.toEStr()), largest);
    CAgg flag;
    flag.toQsBool() = 7;
    EXPECT_EQ(bytesOf(flag.toEStr()), "true");
    CAgg named;
    named.toQsAtom() = atom;
    EXPECT_EQ(bytesOf(named.toEStr()), "name");
    EXPECT_EQ(EStrGetEncoding(named.toEStr()), kEStrPDFDoc);
}

TEST_F(CAggConvert, StringsReadAsNumbersBooleansAndAtoms) {
    struct Case {
        CEStr text;
        QsInt32 integer;
        double number;
        bool boolean;
    };
    const Case cases[] = {
        {"42abc", 42, 42.0, false},    {"0", 0, 0.0, false},         {"FALSE", 0, 0.0, false},
        {"TRUE", 0, 0.0, true},        {"tRuE", 0, 0.0, true},       {"1", 1, 1.0, true},
        {"yes", 0, 0.0, false},        {"-2.75", -2, -2.75, false},  {"", 0, 0.0, false},
        {ucs(u"12"), 12, 12.0, false}, {ucs(u"true"), 0, 0.0, true},
    };
    for (const Case& c : cases) {
        CAgg integer(c.text.get()), number(c.text.get()), boolean(c.text.get());
        EXPECT_EQ(integer.toQsInt32(), c.integer) << c.text.c_str();
        EXPECT_DOUBLE_EQ(number.todouble(), c.number) << c.text.c_str();
        EXPECT_EQ(boolean.toQsBool() != 0, c.boolean) << c.text.c_str();
    }
    CAgg empty("");
    EXPECT_EQ(empty.toQsAtom(), QsAtomFromString("")) << "the atom of the empty text";
    CAgg fresh;
    EXPECT_EQ(fresh.toQsAtom(), kQsNullAtom);
    CAgg text("feed");
    CQsText& unicode = text.toCQsText();
    EXPECT_EQ(unicode.getString(), "feed");
}

TEST_F(CAggConvert, NumbersConvertByTruncationAndTruth) {
    auto boolOf = [](CAgg value) { return value.toQsBool() != 0; };
    auto intOf = [](CAgg value) { return value.toQsInt32(); };
    CAgg five;
    five.toQsBool() = 5;
    CAgg nullAtom, someAtom, numericAtom;
    nullAtom.toQsAtom() = kQsNullAtom;
    someAtom.toQsAtom() = QsAtomFromString("x");
    numericAtom.toQsAtom() = QsAtomFromString("12");
    EXPECT_EQ(intOf(CAgg(-2.7)), -2);
    EXPECT_EQ(intOf(CAgg(2.7)), 2);
    EXPECT_EQ(intOf(five), 1) << "any true boolean is 1";
    EXPECT_EQ(intOf(numericAtom), 12);
    // Out of range saturates and NaN is 0: no undefined conversion.
    EXPECT_EQ(intOf(CAgg(1e20)), INT32_MAX);
    EXPECT_EQ(intOf(CAgg(-1e20)), INT32_MIN);
    EXPECT_EQ(intOf(CAgg(NAN)), 0);
    EXPECT_FALSE(boolOf(CAgg(0.0)));
    EXPECT_TRUE(boolOf(CAgg(NAN)));
    EXPECT_TRUE(boolOf(CAgg(-3L)));
    EXPECT_FALSE(boolOf(nullAtom));
    EXPECT_TRUE(boolOf(someAtom));
    EXPECT_DOUBLE_EQ(CAgg(five).todouble(), 1.0);
    EXPECT_DOUBLE_EQ(CAgg(7L).todouble(), 7.0);
}

TEST_F(CAggConvert, TimesTravelAsPDFDatesAndNumbersCountSeconds) {
    CAgg text("D:20040102");
    QsTimeRec parsed = text.toQsTimeRec();
    EXPECT_EQ(parsed.year, 2004);
    EXPECT_EQ(parsed.month, 1);
    EXPECT_EQ(parsed.date, 2);
    // A text that does not parse keeps what the parser filled in: the year read so far.
    CAgg bad("D:2004xx");
    EXPECT_EQ(bad.toQsTimeRec().year, 2004);

    QsTimeRec time{2004, 2, 29, 13, 14, 15, 0, 0, 0};
    CAgg value(time);
    CEStr expected = CEStr::adopt(EStrNewFromTimeRec(&time, 0));
    EXPECT_EQ(bytesOf(value.toEStr()), bytesOf(expected));
    EXPECT_EQ(bytesOf(value.toEStr()).rfind("D:20040229131415", 0), 0u);

    for (CAgg seconds : {CAgg(86400L), CAgg(86400.9)}) {
        QsTimeRec day = seconds.toQsTimeRec();
        EXPECT_EQ(day.year, 1970);
        EXPECT_EQ(day.month, 1);
    }
    // Zero seconds is the clock's "now", the test host's 2004; not the epoch.
    EXPECT_EQ(CAgg(0L).toQsTimeRec().year, 2004);
    EXPECT_EQ(CAgg(1e30).toQsTimeRec().year, 1970) << "a time no calendar holds";
}

TEST_F(CAggConvert, EachRowTakesItsFirstAcceptableTarget) {
    struct Case {
        CAgg value;
        std::vector<CAgg::CAggType> mask;
        CAgg::CAggType result;
    };
    CAgg map, atoms, vector;
    map["a"] = CAgg(1L);
    atoms[QsAtomFromString("a")] = CAgg(1L);
    vector[0] = CAgg(1L);
    const Case cases[] = {
        {CAgg(5L), {CAgg::eEStr, CAgg::eDouble}, CAgg::eDouble},
        {CAgg(5L), {CAgg::eQsTimeRec, CAgg::eQsBool}, CAgg::eQsBool},
        {CAgg(2.5), {CAgg::eQsInt32, CAgg::eEStr}, CAgg::eEStr},
        {CAgg(2.5), {CAgg::eQsBool, CAgg::eQsInt32}, CAgg::eQsInt32},
        {CAgg("7"), {CAgg::eQsInt32, CAgg::eCQsText}, CAgg::eCQsText},
        {CAgg("7"), {CAgg::eDouble, CAgg::eQsAtom}, CAgg::eQsAtom},
        {CAgg("7"), {CAgg::eQsTimeRec, CAgg::eDouble}, CAgg::eDouble},
        {map, {CAgg::eVector, CAgg::eQsAtomMap}, CAgg::eQsAtomMap},
        {atoms, {CAgg::eVector, CAgg::eMap}, CAgg::eMap},
        {vector, {CAgg::eQsAtomMap, CAgg::eMap}, CAgg::eMap},
        {vector, {CAgg::eFixedMatrix, CAgg::eFixedPoint}, CAgg::eFixedPoint},
        {CAgg(QsFixedPoint{}), {CAgg::eFixedQuad, CAgg::eFixedRect}, CAgg::eFixedRect},
        {CAgg(QsFixedRect{}), {CAgg::eFixedPoint, CAgg::eFixedQuad}, CAgg::eFixedQuad},
        // No candidate: the empty value of the first in the void row's order.
        {CAgg(DkColorValueRec{}), {CAgg::eVxIcon, CAgg::eQsInt32}, CAgg::eQsInt32},
        {CAgg(static_cast<void*>(nullptr)), {CAgg::eQsBool, CAgg::eMap}, CAgg::eQsBool},
        // A value already of a listed type stays as it is.
        {CAgg(5L), {CAgg::eEStr, CAgg::eQsInt32}, CAgg::eQsInt32},
        // An empty list makes void.
        {CAgg(5L), {}, CAgg::eVoid},
    };
    for (const Case& c : cases) {
        CAgg value(c.value);
        value.convert(c.mask);
        EXPECT_EQ(value.getType(), c.result) << "from " << c.value.getType();
    }
}

TEST_F(CAggConvert, ListsEndAtZeroAndConvertAwayActsOnlyOnListedTags) {
    CAgg number(5L);
    number.convert(CAgg::eQsAtomMap, CAgg::eEStr, 0, CAgg::eDouble);
    EXPECT_EQ(number.getType(), CAgg::eEStr) << "eDouble stood after the end of the list";

    CAgg text("x");
    text.convertAway(CAgg::eLobObj, CAgg::eQsStm);
    EXPECT_EQ(text.getType(), CAgg::eEStr);
    CAgg stream(QsMemStmRdOpen("abc", 3), 1);
    stream.convertAway(CAgg::eLobObj, CAgg::eQsStm);
    EXPECT_EQ(stream.getType(), CAgg::eEStr);
    CAgg flag(1L);
    flag.convertAway(std::vector<CAgg::CAggType>{CAgg::eQsInt32});
    EXPECT_EQ(flag.getType(), CAgg::eDouble) << "the first target of the row that is not away";

    CAgg tree;
    tree[0] = CAgg(1L);
    tree[1] = CAgg(2.5);
    tree.toVectorOf(CAgg::eEStr, 0);
    EXPECT_EQ(bytesOf(tree[0].toEStr()), "1");
    EXPECT_EQ(bytesOf(tree[1].toEStr()), "2.500000");
    CAgg record;
    record["n"] = CAgg("12");
    record.toMapOf(CAgg::eQsInt32);
    EXPECT_EQ(record["n"].getType(), CAgg::eQsInt32);
}

TEST_F(CAggConvert, VoidBecomesTheEmptyValueOfTheType) {
    auto fresh = [] { return CAgg(); };
    EXPECT_EQ(fresh().toQsAtom(), kQsNullAtom);
    EXPECT_EQ(fresh().toQsInt32(), 0);
    EXPECT_EQ(fresh().toLobObj(), host.documents().objNull());
    EXPECT_TRUE(fresh().toCLobObjShadow().isEmpty());
    EXPECT_EQ(fresh().toDkPage(), nullptr);
    EXPECT_EQ(fresh().toQsStm(), nullptr);
    EXPECT_TRUE(fresh().toCQsText().isEmpty());
    CAgg text;
    EXPECT_EQ(EStrGetLen(text.toEStr()), 0);
    EXPECT_EQ(EStrGetEncoding(text.toEStr()), kEStrPDFDoc);
    QsFixedMatrix matrix = fresh().toFixedMatrix();
    EXPECT_EQ(matrix.a, kQsFixedOne);
    EXPECT_EQ(matrix.d, kQsFixedOne);
    EXPECT_EQ(matrix.b | matrix.c | matrix.h | matrix.v, 0);
    QsFixedQuad quad = fresh().toFixedQuad();
    EXPECT_EQ(quad.br.h | quad.tl.v, 0);
    DkColorValueRec colour = fresh().toDkColorValueRec();
    EXPECT_EQ(colour.space, kDkColorSpaceGray);
    EXPECT_EQ(colour.value[0], 0);
    QsTimeRec now = fresh().toQsTimeRec();
    QsTimeRec expected{};
    miTimeGetTime(&expected, 0);
    EXPECT_EQ(now.year, expected.year);
    EXPECT_EQ(now.month, expected.month);
    EXPECT_TRUE(fresh().toMap().empty());
    EXPECT_TRUE(fresh().toVector().empty());
}

TEST_F(CAggConvert, FixedToDoubleGoesThroughSinglePrecision) {
    struct Case {
        QsFixed word;
        double value;
    };
    const Case cases[] = {
        {kQsFixedOne, 1.0},
        {-kQsFixedOne / 2, -0.5},
        {1, static_cast<double>(1.0f * 1.5258789e-05f)},
        // A float keeps 24 bits: the low bits of a big word are lost on the way.
        {0x12345679, static_cast<double>(static_cast<float>(0x12345679) * 1.5258789e-05f)},
    };
    for (const Case& c : cases) {
        CAgg point(QsFixedPoint{c.word, 0});
        EXPECT_EQ(point.toVector()[0].todouble(), c.value) << c.word;
    }
    CAgg there(QsFixedPoint{0x12345679, 0});
    there.toVector();
    EXPECT_NE(there.toFixedPoint().h, 0x12345679) << "the trip back need not give the word";
    CAgg half(vectorOf({CAgg(1.5), CAgg(-1.5)}));
    QsFixedPoint words = half.toFixedPoint();
    EXPECT_EQ(words.h, 98304);
    EXPECT_EQ(words.v, -98303) << "value * 65536 + 0.5, truncated";
    CAgg huge(vectorOf({CAgg(1e12), CAgg(NAN)}));
    words = huge.toFixedPoint();
    EXPECT_EQ(words.h, INT32_MAX);
    EXPECT_EQ(words.v, 0);
}

TEST_F(CAggConvert, GeometryChangesShape) {
    const QsFixed one = kQsFixedOne;
    CAgg point(QsFixedPoint{one, 2 * one});
    QsFixedRect rect = CAgg(point).toFixedRect();
    EXPECT_EQ(rect.left, one);
    EXPECT_EQ(rect.top, 2 * one);
    EXPECT_EQ(rect.right, one);
    EXPECT_EQ(rect.bottom, 2 * one);
    QsFixedQuad fromPoint = CAgg(point).toFixedQuad();
    EXPECT_EQ(fromPoint.br.h, one);

    CAgg box(QsFixedRect{0, 10, 20, 0});
    QsFixedQuad quad = CAgg(box).toFixedQuad();
    QsFixed words[8];
    std::memcpy(words, &quad, sizeof words);
    EXPECT_EQ(std::vector<QsFixed>(words, words + 8),
              (std::vector<QsFixed>{0, 10, 20, 10, 0, 0, 20, 0}));
    QsFixedPoint centre = CAgg(QsFixedRect{1, 3, 2, -4}).toFixedPoint();
    EXPECT_EQ(centre.h, 1) << "the integer mean of 1 and 2";
    EXPECT_EQ(centre.v, 0) << "the integer mean of 3 and -4, towards zero";

    CAgg skewed(QsFixedQuad{{5, 1}, {9, 7}, {-3, 2}, {4, -6}});
    QsFixedRect bounds = skewed.toFixedRect();
    EXPECT_EQ(bounds.left, -3);
    EXPECT_EQ(bounds.top, 7);
    EXPECT_EQ(bounds.right, 9);
    EXPECT_EQ(bounds.bottom, -6);
    QsFixedPoint middle = CAgg(QsFixedQuad{{0, 0}, {4, 0}, {0, 2}, {4, 2}}).toFixedPoint();
    EXPECT_EQ(middle.h, 2);
    EXPECT_EQ(middle.v, 1);

    EXPECT_EQ(CAgg(QsFixedMatrix{}).toVector().size(), 6u);
    EXPECT_EQ(CAgg(QsFixedQuad{}).toVector().size(), 8u);
    // Vectors fill fields in order; a matrix starts from the identity, the others from zero.
    QsFixedMatrix partial = CAgg(vectorOf({CAgg(2.0)})).toFixedMatrix();
    EXPECT_EQ(partial.a, 2 * one);
    EXPECT_EQ(partial.d, one);
    QsFixedRect shortRect = CAgg(vectorOf({CAgg(1.0), CAgg("2")})).toFixedRect();
    EXPECT_EQ(shortRect.top, 2 * one);
    EXPECT_EQ(shortRect.right, 0);
    QsFixedPoint longPoint = CAgg(vectorOf({CAgg(1L), CAgg(2L), CAgg(3L)})).toFixedPoint();
    EXPECT_EQ(longPoint.v, 2 * one);
}

TEST_F(CAggConvert, ColoursTravelAsNamedVectors) {
    struct Case {
        CAgg vector;
        uint8_t space;
        std::vector<QsFixed> values;
        std::vector<std::string> back;
    };
    const QsFixed one = kQsFixedOne;
    const Case cases[] = {
        {vectorOf({CAgg("RGB"), CAgg(1L), CAgg(0L), CAgg(0L)}),
         kDkColorSpaceRGB,
         {one, 0, 0, 0},
         {"RGB", "1.000000", "0.000000", "0.000000"}},
        {vectorOf({CAgg("cmyk"), CAgg(0.5), CAgg(0.25), CAgg(0L), CAgg(1L), CAgg(9L)}),
         kDkColorSpaceCMYK,
         {one / 2, one / 4, 0, one},
         {"CMYK", "0.500000", "0.250000", "0.000000", "1.000000"}},
        {vectorOf({CAgg("G"), CAgg(0.5)}),
         kDkColorSpaceGray,
         {one / 2, 0, 0, 0},
         {"G", "0.500000"}},
        {vectorOf({CAgg("T")}), kDkColorSpaceNone, {0, 0, 0, 0}, {"T"}},
        // A number names the space; anything over 2 is the colourless one.
        {vectorOf({CAgg(3L), CAgg(1L)}), kDkColorSpaceNone, {one, 0, 0, 0}, {"T"}},
        {vectorOf({CAgg(1L), CAgg(1L)}),
         kDkColorSpaceRGB,
         {one, 0, 0, 0},
         {"RGB", "1.000000", "0.000000", "0.000000"}},
        // A double reads better as a string than as an integer, and no name is gray.
        {vectorOf({CAgg(1.0)}), kDkColorSpaceGray, {0, 0, 0, 0}, {"G", "0.000000"}},
        {vectorOf({CAgg("Lab"), CAgg(1L)}), kDkColorSpaceGray, {one, 0, 0, 0}, {"G", "1.000000"}},
        {vectorOf({}), kDkColorSpaceGray, {0, 0, 0, 0}, {"G", "0.000000"}},
    };
    for (const Case& c : cases) {
        CAgg value(c.vector);
        DkColorValueRec colour = value.toDkColorValueRec();
        EXPECT_EQ(colour.space, c.space);
        EXPECT_EQ(std::vector<QsFixed>(colour.value, colour.value + 4), c.values);
        std::vector<std::string> back;
        for (CAgg& element : value.toVector())
            back.push_back(bytesOf(element.toEStr()));
        EXPECT_EQ(back, c.back);
    }
    CAgg rgb(vectorOf({CAgg("RGB"), CAgg(1L), CAgg(0L), CAgg(0L)}));
    rgb.toDkColorValueRec();
    CAgg::CAggVector& again = rgb.toVector();
    ASSERT_EQ(again.size(), 4u);
    EXPECT_EQ(again[1].getType(), CAgg::eDouble);
    EXPECT_EQ(EStrGetEncoding(again[0].toEStr()), kEStrPDFDoc);
}

TEST_F(CAggConvert, MapsAndVectorsChangeIntoEachOther) {
    CAgg numbered;
    numbered["2"] = CAgg("c");
    numbered["0"] = CAgg("a");
    numbered["1"] = CAgg("b");
    std::vector<std::string> order;
    for (CAgg& element : numbered.toVector())
        order.push_back(bytesOf(element.toEStr()));
    EXPECT_EQ(order, (std::vector<std::string>{"a", "b", "c"}));

    // Keys that are no number all land on 0, the last one winning.
    CAgg named;
    named["a"] = CAgg("first");
    named["b"] = CAgg("second");
    CAgg::CAggVector& collapsed = named.toVector();
    ASSERT_EQ(collapsed.size(), 1u);
    EXPECT_EQ(bytesOf(collapsed[0].toEStr()), "second");

    CAgg holes;
    holes["3"] = CAgg(3L);
    holes["-5"] = CAgg(-5L);
    holes["99999999999"] = CAgg(9L);
    CAgg::CAggVector& spread = holes.toVector();
    ASSERT_EQ(spread.size(), 4u);
    EXPECT_EQ(spread[1].getType(), CAgg::eVoid);
    EXPECT_EQ(spread[3].toQsInt32(), 3);
    EXPECT_NE(spread[0].getType(), CAgg::eVoid) << "an index no vector holds lands on 0";

    // Indices become host-encoded keys, which order as text.
    CAgg eleven;
    eleven[10L] = CAgg(10L);
    std::vector<std::string> keys;
    for (auto& [key, value] : eleven.toMap()) {
        EXPECT_EQ(EStrGetEncoding(key), kEStrHost);
        keys.push_back(bytesOf(key));
    }
    EXPECT_EQ(keys.size(), 11u);
    EXPECT_EQ(keys[1], "1");
    EXPECT_EQ(keys[2], "10");
    EXPECT_EQ(eleven.toVector()[10].toQsInt32(), 10) << "and they read back as indices";

    // Keys that intern to one atom collapse to the last in map order.
    CAgg twins;
    twins["abc"] = CAgg(1L);
    twins[ucs(u"abc")] = CAgg(2L);
    CAgg::CAggQsAtomMap& atoms = twins.toQsAtomMap();
    ASSERT_EQ(atoms.size(), 1u);
    EXPECT_EQ(atoms[QsAtomFromString("abc")].toQsInt32(), 2);
    CAgg::CAggMap& back = twins.toMap();
    ASSERT_EQ(back.size(), 1u);
    EXPECT_EQ(EStrGetEncoding(back.begin()->first), kEStrPDFDoc);
}

TEST_F(CAggConvert, StreamsAreReadOutAndTheFirstPieceDecidesTheEncoding) {
    std::string big(10000, 'x');
    std::string marked = ucsBytes(u"hi");
    struct Case {
        std::string bytes;
        int32_t encoding;
    };
    const Case cases[] = {{"plain", kEStrPDFDoc},
                          {marked, kEStrUCS},
                          {"", kEStrPDFDoc},
                          {big, kEStrPDFDoc},
                          {std::string("a\0b", 3), kEStrPDFDoc}};
    for (const Case& c : cases) {
        CAgg stream(QsMemStmRdOpen(c.bytes.data(), c.bytes.size()), 1);
        EStr text = stream.toEStr();
        EXPECT_EQ(bytesOf(text), c.bytes);
        EXPECT_EQ(EStrGetEncoding(text), c.encoding);
    }
    CAgg absent(static_cast<QsStm>(nullptr), 1);
    EXPECT_EQ(EStrGetLen(absent.toEStr()), 0);
    CAgg number(QsMemStmRdOpen("12", 2), 1);
    EXPECT_EQ(number.toQsInt32(), 12) << "read out, then on from the string";
}

} // namespace
