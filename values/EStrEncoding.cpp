// Encodings of an EStr: the names behind the values, the font-type tables, conversion through
// the host's converter with the bullet scrub, and the best-encoding queries.

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/HostTableIds.h"
#include "values/EStrInternal.h"

#include <cstring>
#include <map>
#include <string>

using namespace estr;

namespace {

constexpr uint32_t kBaseKitLateVersion = 0x50010;
constexpr char16_t kBullet = 0x2022;

// The names of the values that have one; 0 and 15 are the host's, the rest PDFDocEncoding.
struct NamedValue {
    int32_t value;
    const char* name;
};

constexpr NamedValue kNamedValues[] = {
    {1, kPDFDocName},
    {4, "Shift-JIS"},
    {5, "roman_encoding"},
    {6, "cyrillic_encoding"},
    {7, "arabic_encoding"},
    {8, "hebrew_encoding"},
    {9, "easteurope_encoding"},
    {10, "greek_encoding"},
    {11, "turkish_encoding"},
    {12, "chinesetrad_encoding"},
    {13, "chinesesimp_encoding"},
    {14, "korean_encoding"},
    {16, "baltic_encoding"},
};

bool isHostValue(int32_t encoding) {
    return encoding == 0 || encoding == 15;
}

bool hasName(int32_t encoding) {
    for (const NamedValue& named : kNamedValues) {
        if (named.value == encoding)
            return true;
    }
    return false;
}

IEncodings* scriptInterface() {
    if (!gVellScriptInterfaceHFT && gCoreHFT) {
        HFT table = gCoreHFT->extensionMgrGetHFT(QsAtomFromString(kVellScriptInterfaceTable.name),
                                                 kVellScriptInterfaceTable.version);
        // The table of that name is the converter by contract.
        gVellScriptInterfaceHFT = static_cast<IEncodings*>(table);
    }
    return gVellScriptInterfaceHFT;
}

// Replaces every unit the target cannot hold: a range that does not convert is halved until
// the culprits stand alone.
void scrub(IEncodings* converter, const char* name, char16_t* units, size_t count,
           char16_t replacement) {
    if (count == 0 || converter->canEncode(name, units, count))
        return;
    if (count == 1) {
        units[0] = replacement;
        return;
    }
    size_t half = count / 2;
    scrub(converter, name, units, half, replacement);
    scrub(converter, name, units + half, count - half, replacement);
}

// The value a conversion stores for a target: values outside the table are converted as
// PDFDocEncoding (the name they map to) and stored as 1.
int32_t storedTarget(int32_t target) {
    if (isHostValue(target) || hasName(target))
        return target;
    return kEStrPDFDoc;
}

// Printable ASCII with tab, line feed and carriage return: the characters that every 8-bit
// encoding the converter is asked about is expected to hold as the same bytes.
bool isPlainASCII(const char* bytes, long length) {
    for (long i = 0; i < length; ++i) {
        auto c = static_cast<unsigned char>(bytes[i]);
        if ((c < 0x20 || c > 0x7E) && c != '\t' && c != '\n' && c != '\r')
            return false;
    }
    return true;
}

// Whether the converter reads and writes every plain ASCII character in the named encoding as
// that same byte, asked once per converter and name.
bool keepsPlainASCII(IEncodings* c, const char* name) {
    static IEncodings* askedOf = nullptr;
    static std::map<std::string, bool> answers;
    // The last few answers, kept by name where a lookup finds them without making a string.
    struct Recent {
        char name[32];
        bool answer;
    };
    static Recent recent[4] = {};
    static size_t nextRecent = 0;
    auto remember = [](const char* asked, bool answer) {
        if (std::strlen(asked) >= sizeof recent[0].name)
            return;
        Recent& entry = recent[nextRecent++ % 4];
        std::strcpy(entry.name, asked);
        entry.answer = answer;
    };
    if (askedOf != c) {
        answers.clear();
        for (Recent& entry : recent)
            entry = {};
        askedOf = c;
    }
    for (const Recent& entry : recent) {
        if (entry.name[0] && std::strcmp(entry.name, name) == 0)
            return entry.answer;
    }
    auto [at, fresh] = answers.emplace(name, false);
    if (!fresh) {
        remember(name, at->second);
        return at->second;
    }
    std::string probe = "\t\n\r";
    for (char ch = 0x20; ch <= 0x7E; ++ch)
        probe += ch;
    std::u16string units(probe.begin(), probe.end());
    std::u16string read;
    std::string written;
    at->second = c->toUnicode(name, probe.data(), probe.size(), read) && read == units &&
                 c->canEncode(name, units.data(), units.size()) &&
                 c->fromUnicode(name, units.data(), units.size(), written) && written == probe;
    remember(name, at->second);
    return at->second;
}

void convertDown(EStr s, int32_t target) {
    IEncodings* c = converter();
    // UCS-shaped is no conversion's result: the request gives plain UCS.
    if (target == kEStrUCSShaped || !c) {
        if (c)
            raiseToUCS(s);
        return;
    }
    int32_t stored = storedTarget(target);
    // Plain ASCII between two encodings that both hold it as it is keeps its bytes: a number
    // read from a reply is relabelled, not taken through the converter twice.
    if (!isUCSShaped(s->encoding) && isPlainASCII(s->bytes, s->length) &&
        keepsPlainASCII(c, encodingName(s->encoding)) && keepsPlainASCII(c, encodingName(stored))) {
        s->encoding = stored;
        return;
    }
    if (!raiseToUCS(s))
        return;
    std::u16string units;
    toUnits(s, units);
    if (stored == kEStrPDFDoc) {
        // The unit 0xFF9B stands for the euro sign on the way into PDFDocEncoding.
        for (char16_t& unit : units) {
            if (unit == 0xFF9B)
                unit = 0x20AC;
        }
    }
    const char* name = encodingName(stored);
    char16_t replacement = c->canEncode(name, &kBullet, 1) ? kBullet : u'?';
    scrub(c, name, units.data(), units.size(), replacement);
    std::string bytes;
    if (!c->fromUnicode(name, units.data(), units.size(), bytes))
        return;
    setRaw(s, bytes.data(), static_cast<long>(bytes.size()));
    s->encoding = stored;
}

// Target 3: PDFDocEncoding when nothing is lost, else UCS.
void convertToSmallest(EStr s) {
    if (s->encoding == kEStrPDFDoc)
        return;
    IEncodings* c = converter();
    if (!c)
        return convertDown(s, kEStrPDFDoc);
    if (!raiseToUCS(s))
        return;
    std::u16string units;
    toUnits(s, units);
    std::string bytes;
    if (!c->canEncode(kPDFDocName, units.data(), units.size()) ||
        !c->fromUnicode(kPDFDocName, units.data(), units.size(), bytes))
        return;
    setRaw(s, bytes.data(), static_cast<long>(bytes.size()));
    s->encoding = kEStrPDFDoc;
}

// The best value of a UCS string as the script interface sees it, preferring a name.
int32_t bestOfUnits(const _EStrRec* s, const char* preferred) {
    IEncodings* script = scriptInterface();
    if (!script)
        return 0;
    std::u16string units;
    toUnits(s, units);
    return encodingOfName(script->bestEncoding(units.data(), units.size(), preferred));
}

} // namespace

namespace estr {

IEncodings* converter() {
    if (!gBaseKitHFT && gCoreHFT) {
        HFT table = gCoreHFT->extensionMgrGetHFT(QsAtomFromString("BaseKit"), kBaseKitLateVersion);
        if (table) {
            gBaseKitHFT = static_cast<IEncodings*>(table);
            gBaseKitVersion = kBaseKitLateVersion;
        }
    }
    return gBaseKitHFT;
}

const char* encodingName(int32_t encoding) {
    if (isHostValue(encoding)) {
        IEncodings* c = converter();
        const char* name = c ? c->hostEncodingName() : nullptr;
        return name ? name : kFallbackHostName;
    }
    for (const NamedValue& named : kNamedValues) {
        if (named.value == encoding)
            return named.name;
    }
    return kPDFDocName;
}

int32_t encodingOfName(const char* name) {
    if (!name)
        return 0;
    for (const NamedValue& named : kNamedValues) {
        if (std::strcmp(named.name, name) == 0)
            return named.value;
    }
    return 0;
}

bool toUnits(const _EStrRec* s, std::u16string& units) {
    units.clear();
    if (!s || s->length <= 0)
        return true;
    if (isUCS(s->encoding)) {
        // A trailing odd byte is no unit and is left out.
        long count = s->length > 2 ? (s->length - 2) / 2 : 0;
        units.resize(static_cast<size_t>(count));
        const auto* b = reinterpret_cast<const unsigned char*>(s->bytes) + 2;
        for (long i = 0; i < count; ++i)
            units[static_cast<size_t>(i)] = static_cast<char16_t>((b[2 * i] << 8) | b[2 * i + 1]);
        return true;
    }
    IEncodings* c = converter();
    return c &&
           c->toUnicode(encodingName(s->encoding), s->bytes, static_cast<size_t>(s->length), units);
}

void setUnits(EStr s, const char16_t* units, size_t count) {
    std::string bytes(2 + 2 * count, '\0');
    bytes[0] = '\xFE';
    bytes[1] = '\xFF';
    for (size_t i = 0; i < count; ++i) {
        bytes[2 + 2 * i] = static_cast<char>(units[i] >> 8);
        bytes[3 + 2 * i] = static_cast<char>(units[i] & 0xFF);
    }
    s->hash = 0;
    setRaw(s, bytes.data(), static_cast<long>(bytes.size()));
    s->encoding = kEStrUCS;
}

bool raiseToUCS(EStr s) {
    if (isUCS(s->encoding))
        return true;
    // Plain ASCII in an encoding that holds it as it is widens byte by byte.
    if (!isUCSShaped(s->encoding) && isPlainASCII(s->bytes, s->length)) {
        IEncodings* c = converter();
        if (c && keepsPlainASCII(c, encodingName(s->encoding))) {
            std::u16string units(s->bytes, s->bytes + s->length);
            setUnits(s, units.data(), units.size());
            return true;
        }
    }
    std::u16string units;
    if (!toUnits(s, units))
        return false;
    setUnits(s, units.data(), units.size());
    return true;
}

} // namespace estr

void EStrSetEncoding(EStr s, int32_t encoding) {
    if (!s || encoding == s->encoding)
        return;
    s->hash = 0;
    if (EStrIsNull(s)) {
        // An empty string takes the value as it is; 17 included, which stays a plain label.
        s->encoding = encoding == kEStrAuto ? kEStrPDFDoc : encoding;
        makeEmpty(s);
        return;
    }
    switch (encoding) {
    case kEStrUCS:
        raiseToUCS(s);
        return;
    case kEStrAuto:
        convertToSmallest(s);
        return;
    case kEStrBest: {
        int32_t best = EStrGetBestESEEncoding(s);
        if (best != kEStrBest && best != kEStrAuto)
            EStrSetEncoding(s, best);
        return;
    }
    default:
        convertDown(s, encoding);
    }
}

void EStrThisIsTheEncoding(EStr s, int32_t encoding) {
    if (!s)
        return;
    s->hash = 0;
    s->encoding = encoding;
}

void EStrFlipBytes(EStr s) {
    if (!s || !isUCS(s->encoding))
        return;
    s->hash = 0;
    for (long i = 0; i + 1 < s->length; i += 2)
        std::swap(s->bytes[i], s->bytes[i + 1]);
}

QsAtom EStrGetBestEncoding(EStr s) {
    if (!s)
        return kQsNullAtom;
    EStrSetEncoding(s, kEStrAuto);
    if (s->encoding == kEStrPDFDoc)
        return 0;
    IEncodings* c = converter();
    if (!c || !gCoreHFT)
        return kQsNullAtom;
    std::u16string units;
    toUnits(s, units);
    const char* name = c->bestEncoding(units.data(), units.size(), nullptr);
    return name ? QsAtomFromString(name) : kQsNullAtom;
}

int32_t EStrGetBestESEEncoding(EStr s) {
    if (!s)
        return 0;
    if (isUCS(s->encoding))
        return bestOfUnits(s, nullptr);
    if (s->encoding == kEStrPDFDoc) {
        CEStr copy = CEStr::adopt(EStrCopySetEncoding(s, kEStrUCS));
        return isUCS(copy.get()->encoding) ? bestOfUnits(copy, nullptr) : 0;
    }
    return s->encoding;
}

int32_t EStrGetBestEncodingWithPref(EStr s, int32_t preferred) {
    if (!s)
        return 0;
    if (preferred == kEStrBest)
        return EStrGetBestESEEncoding(s);
    if (isUCS(s->encoding))
        return bestOfUnits(s, encodingName(preferred));
    CEStr copy = CEStr::adopt(EStrCopySetEncoding(s, kEStrUCS));
    return isUCS(copy.get()->encoding) ? bestOfUnits(copy, encodingName(preferred)) : 0;
}

// A script number of the viewer is a font type; its encoding comes from the same table.
void EStrSetEncodingWithDkScript(EStr s, int32_t script) {
    EStrSetEncoding(s, FontTypeToESE(script));
}

QsAtom ConvertEncodingToPtfm(int32_t encoding) {
    if (!gCoreHFT)
        return kQsNullAtom;
    return QsAtomFromString(encodingName(encoding));
}

int32_t ConvertPtfmToEncoding(QsAtom name) {
    if (name == kQsNullAtom || !gCoreHFT)
        return 0;
    return encodingOfName(QsAtomGetString(name));
}

int32_t ESEToFontType(int32_t encoding) {
    switch (encoding) {
    case 1:
    case 5:
        return 1;
    case 4:
        return 2;
    case 6:
        return 15;
    case 7:
        return 10;
    case 8:
        return 11;
    case 9:
        return 14;
    case 10:
        return 8;
    case 11:
        return 9;
    case 12:
        return 3;
    case 13:
        return 4;
    case 14:
        return 5;
    case 15:
        return 12;
    case 16:
        return 13;
    default:
        return 0;
    }
}

int32_t FontTypeToESE(int32_t fontType) {
    // Not the inverse of ESEToFontType: font type 0 gives UCS, 14 and 15 repeat 6 and 7.
    static constexpr int32_t kByFontType[] = {2,  5,  4, 12, 13, 14, 9, 6,
                                              10, 11, 7, 8,  15, 16, 9, 6};
    if (fontType < 0 || fontType > 15)
        return 0;
    return kByFontType[fontType];
}
