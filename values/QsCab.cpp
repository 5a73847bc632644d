#include "values/QsCab.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/miString.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

ICabinets& cabinets() {
    ICabinets* cabs = HostCabinets();
    if (!cabs)
        raiseHostError(kHostErrGeneral);
    return *cabs;
}

/// The units of a text: UCS units as they are, the bytes of any other encoding one by one.
std::u16string unitsOf(const _EStrRec* s) {
    std::u16string units;
    long count = EStrGetCharLen(s);
    units.reserve(static_cast<size_t>(count));
    bool ucs = EStrGetEncoding(s) == kEStrUCS || EStrGetEncoding(s) == kEStrUCSShaped;
    for (long i = 0; i < count; ++i) {
        uint16_t unit = EStrCharAt(s, i);
        units.push_back(static_cast<char16_t>(ucs ? unit : unit & 0xFF));
    }
    return units;
}

/// The units of a text for a cabinet, as the text moved to its smallest encoding gives them.
QsTextRec textUnits(const _EStrRec* text) {
    QsTextRec units;
    // Printable ASCII and the three blanks are the same characters in PDFDocEncoding and
    // Unicode, and they are most of what a feed says: no converter is needed for them.
    if (EStrGetEncoding(text) == kEStrPDFDoc) {
        long length = EStrGetLen(text);
        const char* bytes = EStrGetBytes(text);
        units.units.resize(static_cast<size_t>(length));
        for (long i = 0; i < length; ++i) {
            auto byte = static_cast<unsigned char>(bytes[i]);
            if ((byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte > 0x7E) {
                units.units.clear();
                QsTextFromEStr(text, &units);
                return units;
            }
            units.units[static_cast<size_t>(i)] = byte;
        }
        return units;
    }
    // UCS is the units already, big-endian behind the mark; a trailing odd byte is no unit.
    if (EStrGetEncoding(text) == kEStrUCS) {
        long length = EStrGetLen(text);
        size_t count = length > 2 ? static_cast<size_t>(length - 2) / 2 : 0;
        const auto* bytes = reinterpret_cast<const unsigned char*>(EStrGetBytes(text)) + 2;
        units.units.resize(count);
        for (size_t i = 0; i < count; ++i)
            units.units[i] = static_cast<char16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
        return units;
    }
    QsTextFromEStr(text, &units);
    return units;
}

/// A text key as a cabinet key: the key in PDFDocEncoding, escaped.
std::string cabinetKey(const _EStrRec* key) {
    // A key of ASCII letters and digits in a single-byte encoding is its own escape, and almost
    // every key is one.
    int32_t encoding = EStrGetEncoding(key);
    long length = EStrGetLen(key);
    if ((encoding == kEStrPDFDoc || encoding == kEStrHost) && length > 0) {
        const char* bytes = EStrGetBytes(key);
        bool plain = true;
        for (long i = 0; i < length && plain; ++i) {
            auto byte = static_cast<unsigned char>(bytes[i]);
            plain = byte < 0x80 && std::isalnum(byte);
        }
        if (plain)
            return std::string(bytes, static_cast<size_t>(length));
    }
    CEStr pdfKey = CEStr::adopt(EStrCopySetEncoding(key, kEStrPDFDoc));
    return QsCabEncodeName(pdfKey).c_str();
}

void freeCell(void* cell) {
    QsFree(cell);
}

/// Fills cabinets from CAgg values. In place, each value is first converted to a type a cabinet
/// holds, and so changed for good; otherwise a value that already has such a type is read as it
/// stands and only one of another type is converted, on a copy.
class CabinetFiller {
public:
    CabinetFiller(ICabinets& cabs, bool inPlace) : m_cabs(cabs), m_inPlace(inPlace) {}

    // Fills a cabinet at a nesting level (the top is 1) from a map, atom map or vector.
    void fill(QsCab cab, CAgg& value, int level) {
        switch (value.getType()) {
        case CAgg::eVector: {
            CAgg::CAggVector& items = value.toVector();
            for (size_t i = 0; i < items.size(); ++i) {
                char key[24];
                miSnprintf(key, sizeof key, "%d", static_cast<int>(i));
                put(cab, key, items[i], level);
            }
            return;
        }
        case CAgg::eQsAtomMap:
            fillFromAtoms(cab, value.toQsAtomMap(), level);
            return;
        default:
            for (auto& [key, item] : value.toMap())
                put(cab, cabinetKey(key.get()).c_str(), item, level);
        }
    }

    void put(QsCab cab, const char* key, CAgg& value, int level) {
        if (m_inPlace || !holdsAsItIs(value.getType()))
            return putConverted(cab, key, value, level);
        putAsItIs(cab, key, value, level);
    }

private:
    /// What an atom key gives: the text key it becomes in a map, and its cabinet key.
    struct AtomKey {
        CEStr text;
        std::string key;
    };

    static bool holdsAsItIs(CAgg::CAggType type) {
        switch (type) {
        case CAgg::eEStr:
        case CAgg::eQsAtom:
        case CAgg::eQsInt32:
        case CAgg::eQsBool:
        case CAgg::eDouble:
        case CAgg::eMap:
        case CAgg::eQsAtomMap:
        case CAgg::eVector:
        case CAgg::eQsStm:
        case CAgg::eVxIcon:
            return true;
        default:
            return false;
        }
    }

    const AtomKey& atomKey(QsAtom atom) {
        auto found = m_atomKeys.find(atom);
        if (found != m_atomKeys.end())
            return found->second;
        CEStr text(QsAtomGetString(atom), kEStrPDFDoc);
        std::string key = cabinetKey(text.get());
        return m_atomKeys.emplace(atom, AtomKey{std::move(text), std::move(key)}).first->second;
    }

    // An atom map's entries go in the order of the map of text keys it would convert to.
    void fillFromAtoms(QsCab cab, CAgg::CAggQsAtomMap& entries, int level) {
        std::vector<std::pair<const AtomKey*, CAgg*>> ordered;
        ordered.reserve(entries.size());
        for (auto& [atom, item] : entries)
            ordered.emplace_back(&atomKey(atom), &item);
        std::sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) {
            return CEStrLessNumbersFirst::compare(a.first->text.get(), b.first->text.get()) < 0;
        });
        for (auto& [atomKey, item] : ordered)
            put(cab, atomKey->key.c_str(), *item, level);
    }

    void putConverted(QsCab cab, const char* key, CAgg& value, int level) {
        if (!m_inPlace) {
            CAgg copy(value);
            copy.convert(CAgg::eVector, CAgg::eMap, CAgg::eEStr, CAgg::eQsAtom, CAgg::eQsBool,
                         CAgg::eQsInt32, CAgg::eDouble, CAgg::eQsStm, CAgg::eVxIcon);
            return putAsItIs(cab, key, copy, level);
        }
        value.convert(CAgg::eVector, CAgg::eMap, CAgg::eEStr, CAgg::eQsAtom, CAgg::eQsBool,
                      CAgg::eQsInt32, CAgg::eDouble, CAgg::eQsStm, CAgg::eVxIcon);
        if (value.getType() == CAgg::eEStr)
            EStrSetEncoding(value.toEStr(), kEStrAuto);
        putAsItIs(cab, key, value, level);
    }

    // Puts a value of a type that a cabinet holds, reading it without converting it.
    void putAsItIs(QsCab cab, const char* key, CAgg& value, int level) {
        switch (value.getType()) {
        case CAgg::eEStr:
            m_cabs.putText(cab, key, textUnits(value.toEStr()));
            return;
        case CAgg::eQsAtom:
            m_cabs.putAtom(cab, key, value.toQsAtom());
            return;
        case CAgg::eQsInt32:
            m_cabs.putInt(cab, key, value.toQsInt32());
            return;
        case CAgg::eQsBool:
            m_cabs.putBool(cab, key, value.toQsBool() != 0);
            return;
        case CAgg::eDouble:
            m_cabs.putDouble(cab, key, value.todouble());
            return;
        case CAgg::eMap:
        case CAgg::eQsAtomMap:
        case CAgg::eVector: {
            // Deeper than the host keeps, a nested value is left out.
            if (level >= kQsCabMaxDepth)
                return;
            QsCab nested = m_cabs.newCabinet();
            fill(nested, value, level + 1);
            m_cabs.putCabinet(cab, key, nested);
            return;
        }
        case CAgg::eQsStm: {
            auto* cell = static_cast<QsStm*>(QsSureCalloc(1, sizeof(QsStm)));
            *cell = value.toQsStm();
            m_cabs.putPointer(cab, key, "QsStm", cell, freeCell);
            return;
        }
        case CAgg::eVxIcon:
            m_cabs.putPointer(cab, key, "VxIcon", value.toVxIcon(), nullptr);
            return;
        default:
            return;
        }
    }

    ICabinets& m_cabs;
    bool m_inPlace;
    std::unordered_map<QsAtom, AtomKey> m_atomKeys;
};

/// Whether a key is all decimal digits and reads as the number expected.
bool isIndex(const std::string& key, long expected) {
    if (key.empty() || key.size() > 9)
        return false;
    long number = 0;
    for (char c : key) {
        if (c < '0' || c > '9')
            return false;
        number = number * 10 + (c - '0');
    }
    return number == expected;
}

void fillValue(ICabinets& cabs, CAgg& value, QsCab cab, bool atomKeys, int level);

/// The entry of a key in a map being filled, made when missing. A stored map comes back in its
/// own order, so a text key usually goes at the end, which the map is asked first.
CAgg& entryOf(CAgg& value, const char* key, bool atomKeys) {
    if (atomKeys)
        return value[key];
    CAgg::CAggMap& map = value.toMap();
    return map.emplace_hint(map.end(), CEStr(key), CAgg())->second;
}

void readEntry(ICabinets& cabs, QsCab cab, const QsCabKeyInfo& info, CAgg& entry, bool atomKeys,
               int level) {
    const char* key = info.key.c_str();
    switch (info.kind) {
    case kQsCabBool:
        entry.toQsBool() = cabs.getBool(cab, key).value_or(false) ? 1 : 0;
        return;
    case kQsCabInt:
        entry.toQsInt32() = cabs.getInt(cab, key).value_or(0);
        return;
    case kQsCabAtom:
        entry.toQsAtom() = cabs.getAtom(cab, key).value_or(kQsNullAtom);
        return;
    case kQsCabDouble:
        entry.todouble() = cabs.getDouble(cab, key).value_or(0);
        return;
    case kQsCabString: {
        std::string bytes = cabs.getString(cab, key).value_or("");
        EStrSetBytesWithSize(entry.toEStr(), bytes.data(), static_cast<long>(bytes.size()),
                             kEStrAuto);
        return;
    }
    case kQsCabText: {
        QsTextRec text{cabs.getText(cab, key).value_or(u"")};
        // The new string goes into the entry as it is, rather than as a copy.
        EStr& slot = entry.toEStr();
        EStr empty = slot;
        slot = EStrNewFromQsText(&text);
        EStrDelete(empty);
        return;
    }
    case kQsCabPointer: {
        auto pointer = cabs.getPointer(cab, key);
        // A stored cabinet keeps no address: its stream cell reads as nothing.
        if (pointer && pointer->type == "QsStm" && pointer->pointer)
            entry = CAgg(*static_cast<QsStm*>(pointer->pointer), 0);
        return;
    }
    case kQsCabCabinet:
        if (level < kQsCabMaxDepth)
            fillValue(cabs, entry, cabs.getCabinet(cab, key), atomKeys, level + 1);
        return;
    case kQsCabUns32:
        entry.toQsInt32() = static_cast<QsInt32>(cabs.getUns32(cab, key).value_or(0));
        return;
    case kQsCabBinary: // binary data is not converted; the entry stays void
    case kQsCabNull:
        return;
    }
}

void fillValue(ICabinets& cabs, CAgg& value, QsCab cab, bool atomKeys, int level) {
    value = CAgg();
    std::vector<QsCabKeyInfo> keys = cabs.keys(cab);
    if (keys.empty()) {
        value.toVector();
        return;
    }
    // Keys that run "0", "1", ... in order make a vector: its elements are read in place,
    // rather than into a map that is then converted.
    bool vector = true;
    for (size_t i = 0; i < keys.size() && vector; ++i)
        vector = isIndex(keys[i].key, static_cast<long>(i));
    if (vector) {
        CAgg::CAggVector& items = value.toVector();
        items.resize(keys.size());
        for (size_t i = 0; i < keys.size(); ++i)
            readEntry(cabs, cab, keys[i], items[i], atomKeys, level);
        return;
    }
    if (atomKeys)
        value.toQsAtomMap();
    else
        value.toMap();
    for (const auto& info : keys) {
        // A key without an escape is its own name, of encoding 3 as any key given as bytes.
        if (info.key.find('_') == std::string::npos) {
            readEntry(cabs, cab, info, entryOf(value, info.key.c_str(), atomKeys), atomKeys, level);
            continue;
        }
        CEStr name(""); // "_sSs_" leaves it so: the empty name
        QsCabDecodeName(CEStr(info.key.c_str()), name);
        readEntry(cabs, cab, info, value[name], atomKeys, level);
    }
}

} // namespace

_t_QsCabinet* CAgg2QsCab(CAgg& value) {
    ICabinets& cabs = cabinets();
    value.convert(CAgg::eVector, CAgg::eMap);
    QsCab cab = cabs.newCabinet();
    CabinetFiller(cabs, true).fill(cab, value, 1);
    return cab;
}

void QsCabPutCAgg(_t_QsCabinet* cab, int level, const CEStr& key, CAgg& value) {
    ICabinets& cabs = cabinets();
    if (!cab)
        return;
    CabinetFiller(cabs, false).put(cab, cabinetKey(key.get()).c_str(), value, level);
}

void QsCab2CAgg(CAgg& value, _t_QsCabinet* cab) {
    ICabinets* cabs = HostCabinets();
    if (!cabs || !cab) {
        value = CAgg();
        value.toVector();
        return;
    }
    fillValue(*cabs, value, cab, false, 1);
}

void QsCabToCAggWithAtomMap(CAgg& value, _t_QsCabinet* cab) {
    ICabinets* cabs = HostCabinets();
    if (!cabs || !cab) {
        value = CAgg();
        value.toVector();
        return;
    }
    fillValue(*cabs, value, cab, true, 1);
}

CEStr QsCabEncodeName(const CEStr& name) {
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(name.get(), kEStrUCS));
    std::u16string units = unitsOf(ucs.get());
    if (units.empty())
        return CEStr("_sSs_", kEStrPDFDoc);
    std::string escaped;
    escaped.reserve(units.size());
    for (char16_t unit : units) {
        if (unit < 0x80 && std::isalnum(static_cast<unsigned char>(unit))) {
            escaped += static_cast<char>(unit);
            continue;
        }
        char hex[8];
        miSnprintf(hex, sizeof hex, "_%04x", static_cast<unsigned>(unit));
        escaped += hex;
    }
    return CEStr(escaped.c_str(), kEStrPDFDoc);
}

namespace {

// A hexadecimal digit; any other unit gives its low 4 bits, as the escapes were always read.
unsigned hexValue(char16_t unit) {
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    if (unit >= 'a' && unit <= 'f')
        return unit - 'a' + 10;
    if (unit >= 'A' && unit <= 'F')
        return unit - 'A' + 10;
    return unit & 0xF;
}

} // namespace

void QsCabDecodeName(const CEStr& name, CEStr& out) {
    std::u16string units = unitsOf(name.get());
    if (units == u"_sSs_")
        return;
    if (units.find(u'_') == std::u16string::npos) {
        out = name;
        return;
    }
    std::u16string decoded;
    for (size_t i = 0; i < units.size(); ++i) {
        if (units[i] != u'_') {
            decoded += units[i];
            continue;
        }
        // An escape cut short by the end of the name ends the name.
        if (i + 4 >= units.size())
            break;
        unsigned unit = 0;
        for (size_t k = 1; k <= 4; ++k)
            unit = (unit << 4) | hexValue(units[i + k]);
        decoded += static_cast<char16_t>(unit);
        i += 4;
    }
    // The smallest lossless form, so that a plain key comes back as the PDFDocEncoding text that
    // a key given as bytes is.
    out = CEStr::adopt(EStrNewFromQsUns16WithLen(reinterpret_cast<const uint16_t*>(decoded.data()),
                                                 static_cast<long>(decoded.size())));
    EStrSetEncoding(out.get(), kEStrAuto);
}

_t_QsCabinet* QsCabNew() {
    return cabinets().newCabinet();
}

void QsCabDestroy(_t_QsCabinet* cab) {
    if (ICabinets* cabs = HostCabinets())
        cabs->destroyCabinet(cab);
}
