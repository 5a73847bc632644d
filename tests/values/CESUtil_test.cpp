// The script routines for typed text, colours and rectangles, against the real engine.
#include "tests/values/CESTestSupport.h"
#include "tests/values/CaseTable.h"
#include "values/CESUtil.h"

namespace {

using namespace CES;

class CESUtil : public CESTest {
protected:
    /// typeof and text of a value, as "number 1".
    std::string shown(const Val& value) {
        setGlobal("v", value);
        return textOf("typeof v + ' ' + v");
    }

    static std::vector<uint16_t> unitsOf(const std::string& utf8) {
        CQsText text(utf8.c_str());
        std::vector<uint16_t> units(text.units().begin(), text.units().end());
        units.push_back(0);
        return units;
    }
};

TEST_F(CESUtil, TypedTextIsClassifiedAndMadeIntoAValueOfItsType) {
    for (const auto& row : readCaseTable("typed-text.tsv")) {
        ASSERT_EQ(row.size(), 3u);
        std::string text = unescapeField(row[0]);
        std::string made = unescapeField(row[2]);
        EXPECT_EQ(VESUtilGetValueType(text.c_str()), std::stoi(row[1])) << row[0];
        EXPECT_EQ(shown(VESUtilStringToValue(context, text.c_str())), made) << row[0];
        std::vector<uint16_t> units = unitsOf(text);
        EXPECT_EQ(VESUtilGetValueTypeUCS(units.data()), std::stoi(row[1])) << row[0];
        EXPECT_EQ(shown(VESUtilStringToValueUCS(context, units.data())), made) << row[0];
    }
    // A unit past ASCII, a surrogate above all, makes a string of any form.
    const uint16_t surrogate[] = {'1', 0xD800, 0};
    const uint16_t arabicOne[] = {0x0661, 0};
    EXPECT_EQ(VESUtilGetValueTypeUCS(surrogate), kVESString);
    EXPECT_EQ(VESUtilGetValueTypeUCS(arabicOne), kVESString);
    EXPECT_EQ(textOf("'x'") + shown(VESUtilStringToValueUCS(context, arabicOne)),
              "xstring \xD9\xA1");
}

TEST_F(CESUtil, ColoursGoOutAsNamedArraysAndComeBackByTheirName) {
    struct Out {
        DkColorValueRec colour;
        const char* shown;
    };
    const Out outs[] = {
        {{kDkColorSpaceGray, {0x8000}}, "G,0.5"},
        {{kDkColorSpaceRGB, {0x10000, 0, 0x4000}}, "RGB,1,0,0.25"},
        {{kDkColorSpaceCMYK, {0, 0x10000, 0, 0x8000}}, "CMYK,0,1,0,0.5"},
        {{kDkColorSpaceNone, {0x10000}}, "T"},
        {{9, {0x10000}}, "T"},
    };
    for (const Out& out : outs)
        EXPECT_EQ(shown(VESUtilNewColor(context, &out.colour)), std::string("object ") + out.shown);

    struct In {
        const char* source;
        bool ok;
        uint8_t space;
        QsFixed values[4];
    };
    const In ins[] = {
        {"['RGB', 1, 0.5]", true, kDkColorSpaceRGB, {0x10000, 0x8000, 0, 0}},
        {"['G', 0.25, 9]", true, kDkColorSpaceGray, {0x4000, 0, 0, 0}},
        {"['CMYK', 0, 0, 0, 1]", true, kDkColorSpaceCMYK, {0, 0, 0, 0x10000}},
        {"['T', 1]", true, kDkColorSpaceNone, {0, 0, 0, 0}},
        {"['rgb', 1, 1, 1]", true, kDkColorSpaceNone, {0, 0, 0, 0}},
        {"[]", true, kDkColorSpaceNone, {0, 0, 0, 0}},
        {"'RGB'", false, kDkColorSpaceNone, {0, 0, 0, 0}},
        {"({0: 'G', 1: 1})", false, kDkColorSpaceNone, {0, 0, 0, 0}},
    };
    for (const In& in : ins) {
        DkColorValueRec colour{1, {1, 1, 1, 1}};
        EXPECT_EQ(VESUtilUnloadColor(context, run(in.source).slot(), &colour), in.ok) << in.source;
        EXPECT_EQ(colour.space, in.space) << in.source;
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(colour.value[i], in.values[i]) << in.source << " " << i;
    }
}

TEST_F(CESUtil, RectanglesGoOutAsFourNumbersAndAreReadUntilOneIsMissing) {
    QsFixedRect rect{0x10000, 0x28000, -0x30000, 0x40000};
    EXPECT_EQ(shown(VESObjectFromFixedRect(context, &rect)), "object 1,2.5,-3,4");

    QsFixedRect read{};
    EXPECT_TRUE(VESValueToFixedRect(context, run("[1, 2.5, -3, 4]").slot(), &read));
    EXPECT_EQ(read.left, 0x10000);
    EXPECT_EQ(read.top, 0x28000);
    // -3 * 65536 + 0.5 cut towards zero: a negative side comes out one unit high.
    EXPECT_EQ(read.right, -0x30000 + 1);
    EXPECT_EQ(read.bottom, 0x40000);

    QsFixedRect part{7, 7, 7, 7};
    EXPECT_FALSE(VESValueToFixedRect(context, run("[10, 20]").slot(), &part));
    EXPECT_EQ(part.left, 10 * 0x10000);
    EXPECT_EQ(part.top, 20 * 0x10000);
    EXPECT_EQ(part.right, 7);
    EXPECT_FALSE(VESValueToFixedRect(context, run("'1,2,3,4'").slot(), &part));
    EXPECT_TRUE(VESValueToFixedRect(context, run("({0: 1, 1: 1, 2: NaN, 3: 1e12})").slot(), &part));
    EXPECT_EQ(part.right, 0);
    EXPECT_EQ(part.bottom, 0x7FFFFFFF);
}

} // namespace
