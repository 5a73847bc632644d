#include "tests/host/ScriptFixture.h"

#include "frame/host/IEncodings.h"

#include <cmath>

namespace {

using ScriptValues = ScriptTest;

TEST_F(ScriptValues, TypesAndConversionsFollowTheScript) {
    struct Case {
        const char* source;
        ESValType type;
        const char* asText;
        double asNumber;
        bool asBool;
    };
    const Case cases[] = {
        {"true", kESValBoolean, "true", 1, true},
        {"1.5", kESValNumber, "1.5", 1.5, true},
        {"-0", kESValNumber, "0", 0, false},
        {"10n", kESValNumber, "10", 10, true},
        {"'42'", kESValString, "42", 42, true},
        {"''", kESValString, "", 0, false},
        {"({valueOf() { return 7; }, toString() { return 'seven'; }})", kESValObject, "seven", 7,
         true},
        {"undefined", kESValUndefined, "undefined", NAN, false},
        {"null", kESValNull, "null", 0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        ESVal value = run(std::string("(") + c.source + ")");
        EXPECT_EQ(engine.valType(value), c.type);
        EXPECT_EQ(text(value), c.asText);
        double number = 0;
        EXPECT_TRUE(engine.readNumber(value, number));
        if (std::isnan(c.asNumber))
            EXPECT_TRUE(std::isnan(number));
        else
            EXPECT_EQ(number, c.asNumber);
        EXPECT_EQ(engine.readBool(value), c.asBool);
    }
    // A symbol has no form outside script: it reads as undefined and as no text.
    ESVal symbol = run("Symbol('s')");
    EXPECT_EQ(engine.valType(symbol), kESValUndefined);
    std::string out;
    EXPECT_FALSE(engine.readString(symbol, false, out));
}

TEST_F(ScriptValues, IntegersTruncateAsScriptDoes) {
    const std::pair<const char*, int32_t> cases[] = {
        {"5", 5}, {"-2.9", -2}, {"4294967297", 1}, {"'12'", 12}, {"NaN", 0}};
    for (const auto& [source, expected] : cases) {
        int32_t out = -1;
        EXPECT_TRUE(engine.readInt(run(source), out)) << source;
        EXPECT_EQ(out, expected) << source;
    }
}

TEST_F(ScriptValues, TextCrossesAsHostBytesOrMarkedUCS) {
    // Without a converter host text is UTF-8.
    engine.setEncodings(nullptr);
    struct Case {
        std::string in;   // as given to makeString
        std::string host; // read back as host bytes (UTF-8: no converter)
        std::string ucs;  // read back as marked UCS
    };
    const Case cases[] = {
        {"caf\xC3\xA9", "caf\xC3\xA9", std::string("\xFE\xFF\0c\0a\0f\0\xE9", 10)},
        {std::string("\xFE\xFF\x03\xA9", 4), "\xCE\xA9", std::string("\xFE\xFF\x03\xA9", 4)},
        // A lone surrogate survives as UCS and becomes U+FFFD in host text.
        {std::string("\xFE\xFF\xD8\x00", 4), "\xEF\xBF\xBD", std::string("\xFE\xFF\xD8\x00", 4)},
        // Bad UTF-8 reads as U+FFFD; an odd last byte of UCS is dropped.
        {"a\xFF", "a\xEF\xBF\xBD", std::string("\xFE\xFF\0a\xFF\xFD", 6)},
        {std::string("\xFE\xFF\0b\0", 5), "b", std::string("\xFE\xFF\0b", 4)},
    };
    for (const Case& c : cases) {
        ESVal value = slot();
        ASSERT_TRUE(engine.setString(value, c.in.data(), static_cast<long>(c.in.size())));
        std::string host, ucs;
        EXPECT_TRUE(engine.readString(value, false, host));
        EXPECT_TRUE(engine.readString(value, true, ucs));
        EXPECT_EQ(host, c.host);
        EXPECT_EQ(ucs, c.ucs);
    }
    // A length of -1 ends marked UCS at its zero unit, host text at its zero byte.
    ESVal terminated = engine.makeString(context, "\xFE\xFF\0x\0\0\0y", -1);
    EXPECT_EQ(text(terminated), "x");
    engine.freeVal(terminated);
    QsTextRec units{u"\u00e9\U0001F600"};
    ESVal fromText = engine.makeQsText(context, &units);
    QsTextRec back;
    EXPECT_TRUE(engine.readQsText(fromText, &back));
    EXPECT_EQ(back.units, units.units);
    engine.freeVal(fromText);
}

// Latin-1 as the host encoding: units above 0xFF have no bytes.
class Latin1 final : public IEncodings {
public:
    const char* hostEncodingName() override { return "ISO-8859-1"; }
    bool knowsEncoding(const char*) override { return true; }
    bool toUnicode(const char*, const char* bytes, size_t length, std::u16string& out) override {
        out.clear();
        for (size_t i = 0; i < length; ++i)
            out += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]));
        return true;
    }
    bool fromUnicode(const char*, const char16_t* units, size_t count, std::string& out) override {
        out.clear();
        for (size_t i = 0; i < count; ++i) {
            if (units[i] > 0xFF)
                return false;
            out += static_cast<char>(units[i]);
        }
        return true;
    }
    bool canEncode(const char*, const char16_t*, size_t) override { return false; }
    const char* bestEncoding(const char16_t*, size_t, const char*) override { return nullptr; }
};

TEST_F(ScriptValues, HostTextGoesThroughTheEncodingTable) {
    Latin1 latin1;
    engine.setEncodings(&latin1);
    ESVal value = engine.makeString(context, "caf\xE9", -1);
    EXPECT_EQ(textOf("'caf\\u00e9'.length"), "4");
    EXPECT_EQ(text(value), "caf\xE9");
    // What the encoding cannot hold reads as "?".
    EXPECT_EQ(textOf("'\\u03a9x\\ud800'"), "?x?");
    engine.freeVal(value);
    engine.setEncodings(nullptr);
}

TEST_F(ScriptValues, SlotsAndHandlesSurviveMovingCollections) {
    ESVal object = run("({name: 'kept', list: [1, 2, 3], nested: {deep: 'yes'}})");
    ESVal string = run("'a string made ' + 'at run time'");
    ESObject handle = engine.readObject(object);
    ASSERT_NE(handle, nullptr);
    for (int round = 0; round < 3; ++round) {
        run("var garbage = []; for (var i = 0; i < 20000; ++i) garbage.push({i: i}); garbage = "
            "null;");
        engine.collectGarbage();
    }
    EXPECT_EQ(engine.readObject(object), handle);
    EXPECT_EQ(text(string), "a string made at run time");
    ESVal name = slot();
    ASSERT_TRUE(engine.getProperty(handle, "name", name));
    EXPECT_EQ(text(name), "kept");
    ESVal nested = slot();
    ASSERT_TRUE(engine.getProperty(handle, "nested", nested));
    ASSERT_TRUE(engine.getProperty(engine.readObject(nested), "deep", name));
    EXPECT_EQ(text(name), "yes");
}

TEST_F(ScriptValues, ScopesRootWhatTheyHandOutUntilTheyEnd) {
    engine.beginScope(context);
    ESObject made = engine.newObject(context, nullptr);
    ESVal value = engine.makeString(context, "inside", -1);
    ASSERT_TRUE(engine.setProperty(made, "text", value));
    engine.collectGarbage();
    // Nothing but the scope holds the object, and it is still whole.
    ESVal read = slot();
    ASSERT_TRUE(engine.getProperty(made, "text", read));
    EXPECT_EQ(text(read), "inside");
    engine.freeVal(value);
    size_t before = engine.liveSlotCount();
    engine.endScope(context);
    EXPECT_LT(engine.liveSlotCount(), before);
}

TEST_F(ScriptValues, SlotsGoWithTheirContext) {
    ESContext other = engine.newContext("Doc", nullptr);
    size_t before = engine.liveSlotCount();
    for (int i = 0; i < 100; ++i)
        engine.makeNumber(other, i);
    EXPECT_EQ(engine.liveSlotCount(), before + 100);
    engine.destroyContext(other);
    EXPECT_LT(engine.liveSlotCount(), before);
    EXPECT_EQ(engine.newVal(other), nullptr);
    EXPECT_EQ(engine.globalObject(other), nullptr);
}

} // namespace
