// The conversion engine: the front ends, the empty values, and the rows of the sources that are
// not objects of a document (those are in CAggConvertLob.cpp).
//
// Each row tests its candidate targets in its own fixed order; the first one in the mask wins.
// A source with no candidate in the mask falls to convertvoid, which frees the payload and
// builds the empty value of the best target in the mask.
#include "values/CAgg.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/miString.h"
#include "values/CAggInternal.h"
#include "values/QsStm.h"
#include "values/miTime.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <strings.h>

namespace {

using Mask = bool[CAgg::kTypeCount];

// Streams are read out in pieces of at most this many bytes.
constexpr long kStreamPiece = 4094;

bool inRange(int type) {
    return type >= 0 && type < CAgg::kTypeCount;
}

EStr textOfInt(QsInt32 value) {
    // The text of "%d", without the formatter.
    char buffer[16];
    char* end = std::to_chars(buffer, buffer + sizeof buffer - 1, value).ptr;
    *end = '\0';
    return EStrNew(buffer, kEStrHost);
}

EStr textOfDouble(double value) {
    // The text of "%f" in the C locale, without the formatter.
    char buffer[1024];
    char* end =
        std::to_chars(buffer, buffer + sizeof buffer - 1, value, std::chars_format::fixed, 6).ptr;
    *end = '\0';
    return EStrNew(buffer, kEStrHost);
}

bool textIsTrue(const char* text) {
    return std::strcmp(text, "1") == 0 || strcasecmp(text, "true") == 0;
}

QsTimeRec timeOfSeconds(long seconds) {
    QsTimeRec time{};
    miTimeGetTime(&time, seconds);
    return time;
}

} // namespace

QsInt32 CAggTruncateToInt32(double value) {
    // Truncation towards zero; out of range saturates and NaN gives 0 instead of undefined
    // behaviour.
    if (std::isnan(value))
        return 0;
    if (value >= static_cast<double>(std::numeric_limits<QsInt32>::max()))
        return std::numeric_limits<QsInt32>::max();
    if (value <= static_cast<double>(std::numeric_limits<QsInt32>::min()))
        return std::numeric_limits<QsInt32>::min();
    return static_cast<QsInt32>(value);
}

long CAggTruncateToLong(double value) {
    if (std::isnan(value))
        return 0;
    // 2^63 is the first double past the range; every double below it truncates into a long.
    if (value >= 0x1p63)
        return std::numeric_limits<long>::max();
    if (value <= -0x1p63)
        return std::numeric_limits<long>::min();
    return static_cast<long>(value);
}

void CAgg::convert(bool (&mask)[kTypeCount]) {
    if (!inRange(m_type))
        return;
    // Whoever converts may change the entries next, or move them out.
    if (m_sharedMap)
        unshareMap();
    // A value of an acceptable type stays; objects and shadows still run, to be rebound.
    if (mask[m_type] && m_type != eLobObj && m_type != eCLobObjShadow)
        return;
    switch (m_type) {
    case eVoid:
        return convertvoid(mask);
    case eLobObj:
        return convertLobObj(mask);
    case eLobDoc:
        return convertLobDoc(mask);
    case eDkAnnot:
        return convertDkAnnot(mask);
    case eDkPage:
        return convertDkPage(mask);
    case eDkDoc:
        return convertDkDoc(mask);
    case eCQsText:
        return convertCQsText(mask);
    case eEStr:
        return convertEStr(mask);
    case eQsAtom:
        return convertQsAtom(mask);
    case eQsInt32:
        return convertQsInt32(mask);
    case eQsBool:
        return convertQsBool(mask);
    case eDouble:
        return convertdouble(mask);
    case eDkColorValueRec:
        return convertDkColorValueRec(mask);
    case eQsTimeRec:
        return convertQsTimeRec(mask);
    case eFixedRect:
        return convertFixedRect(mask);
    case eFixedPoint:
        return convertFixedPoint(mask);
    case eFixedQuad:
        return convertFixedQuad(mask);
    case eFixedMatrix:
        return convertFixedMatrix(mask);
    case eCLobObjShadow:
        return convertCLobObjShadow(mask);
    case eMap:
        return convertMap(mask);
    case eQsAtomMap:
        return convertQsAtomMap(mask);
    case eVector:
        return convertVector(mask);
    case eQsStm:
        return convertQsStm(mask);
    case eDkActionClipboardData:
        return convertDkActionClipboardData(mask);
    case eVxIcon:
        return convertVxIcon(mask);
    }
}

void CAgg::convertTo(CAggType t) {
    if (t == m_type && t != eLobObj && t != eCLobObjShadow)
        return;
    if (!inRange(t))
        return;
    // A fresh entry takes the empty value of its type, as the table gives it, without the walk.
    if (m_type == eVoid)
        return makeEmpty(t);
    Mask mask = {};
    mask[t] = true;
    convert(mask);
}

void CAgg::convertList(const int* list, size_t count, bool away) {
    Mask listed = {};
    for (size_t i = 0; i < count; ++i) {
        // The list ends with 0; only its first entry can be eVoid.
        if (i > 0 && list[i] == 0)
            break;
        if (inRange(list[i]))
            listed[list[i]] = true;
    }
    if (away) {
        if (!listed[m_type])
            return;
        Mask mask;
        for (int i = 0; i < kTypeCount; ++i)
            mask[i] = !listed[i];
        convert(mask);
        return;
    }
    if (listed[m_type] && m_type != eLobObj && m_type != eCLobObjShadow)
        return;
    convert(listed);
}

void CAgg::convert(const std::vector<CAggType>& types) {
    Mask listed = {};
    for (CAggType t : types) {
        if (inRange(t))
            listed[t] = true;
    }
    if (listed[m_type] && m_type != eLobObj && m_type != eCLobObjShadow)
        return;
    convert(listed);
}

void CAgg::convertAway(CAggType t) {
    const int list[] = {t};
    convertList(list, 1, true);
}

void CAgg::convertAway(const std::vector<CAggType>& types) {
    Mask listed = {};
    for (CAggType t : types) {
        if (inRange(t))
            listed[t] = true;
    }
    if (!listed[m_type])
        return;
    Mask mask;
    for (int i = 0; i < kTypeCount; ++i)
        mask[i] = !listed[i];
    convert(mask);
}

std::vector<CAgg::CAggType> CAgg::typeList(std::initializer_list<int> list) {
    std::vector<CAggType> types;
    for (int t : list) {
        if (!types.empty() && t == 0)
            break;
        if (inRange(t))
            types.push_back(static_cast<CAggType>(t));
    }
    return types;
}

void CAgg::makeEmpty(CAggType t) {
    switch (t) {
    case eVoid:
        return;
    case eLobObj:
        m_payload.lobObj = gLobHFT ? gLobHFT->objNull() : LobObj{};
        break;
    case eCLobObjShadow:
        m_payload.shadow = new CLobObjShadow();
        break;
    case eLobDoc:
        m_payload.lobDoc = nullptr;
        break;
    case eDkAnnot:
        m_payload.annot = DkAnnot{gLobHFT ? gLobHFT->objNull().bits : 0};
        break;
    case eDkPage:
        m_payload.page = nullptr;
        break;
    case eDkDoc:
        m_payload.dkDoc = nullptr;
        break;
    case eQsStm:
        m_payload.stream = new CQsStmHolder{0, nullptr, nullptr};
        break;
    case eCQsText:
        m_payload.text = new CQsText();
        break;
    case eEStr:
        m_payload.estr = EStrNew(nullptr, kEStrPDFDoc);
        break;
    case eQsInt32:
        m_payload.int32 = 0;
        break;
    case eQsAtom:
        m_payload.atom = kQsNullAtom;
        break;
    case eQsBool:
        m_payload.boolean = 0;
        break;
    case eDouble:
        m_payload.number = 0.0;
        break;
    case eDkColorValueRec:
        m_payload.colour = DkColorValueRec{};
        break;
    case eQsTimeRec:
        m_payload.time = timeOfSeconds(0);
        break;
    case eFixedPoint:
        m_payload.point = QsFixedPoint{};
        break;
    case eFixedRect:
        m_payload.rect = QsFixedRect{};
        break;
    case eFixedQuad:
        m_payload.quad = QsFixedQuad{};
        break;
    case eFixedMatrix:
        m_payload.matrix = QsFixedMatrix{kQsFixedOne, 0, 0, kQsFixedOne, 0, 0};
        break;
    case eQsAtomMap:
        // Room for a record's handful of entries comes with the map itself.
        m_payload.atomMap = CAggAtomMap::make(CAggAtomMap::kDefaultRoom);
        break;
    case eMap:
        m_payload.map = CAggNewHolder<CAggMap>();
        break;
    case eVector:
        m_payload.vector = CAggNewHolder<CAggVector>();
        break;
    case eDkActionClipboardData:
        // The empty holder counts its one owner, as every other holder does, so that a copy
        // of it cannot free it under the original.
        m_payload.clipboard = new CDkActionClipboardData(nullptr, 1);
        break;
    case eVxIcon:
        m_payload.icon = nullptr;
        break;
    }
    m_type = t;
}

void CAgg::convertvoid(bool (&mask)[kTypeCount]) {
    static constexpr CAggType kOrder[] = {
        eLobObj,
        eCLobObjShadow,
        eLobDoc,
        eDkAnnot,
        eDkPage,
        eDkDoc,
        eQsStm,
        eCQsText,
        eEStr,
        eQsInt32,
        eQsAtom,
        eQsBool,
        eDouble,
        eDkColorValueRec,
        eQsTimeRec,
        eFixedPoint,
        eFixedRect,
        eFixedQuad,
        eFixedMatrix,
        eQsAtomMap,
        eMap,
        eVector,
        eDkActionClipboardData,
        eVxIcon,
    };
    setVoid();
    for (CAggType t : kOrder) {
        if (mask[t])
            return makeEmpty(t);
    }
}

void CAgg::via(CAggType step, CAggType target) {
    convert(step);
    convert(target);
}

CAgg CAgg::adoptEStr(EStr text) {
    CAgg value;
    if (text)
        value.setEStr(text);
    return value;
}

void CAgg::setEStr(EStr adopted) {
    setVoid();
    m_payload.estr = adopted;
    m_type = eEStr;
}

void CAgg::setVector(CAggVector&& elements) {
    CAggVector* holder = CAggNewHolder<CAggVector>(std::move(elements));
    setVoid();
    m_payload.vector = holder;
    m_type = eVector;
}

void CAgg::setMap(CAggMap&& entries) {
    CAggMap* holder = CAggNewHolder<CAggMap>(std::move(entries));
    setVoid();
    m_payload.map = holder;
    m_type = eMap;
}

CAgg CAgg::atomMapWithRoom(size_t room) {
    CAgg value;
    value.setAtomMap(CAggAtomMap::make(room));
    return value;
}

void CAgg::setAtomMap(CAggQsAtomMap* adopted) {
    setVoid();
    m_payload.atomMap = adopted;
    m_type = eQsAtomMap;
}

void CAgg::convertCQsText(bool (&mask)[kTypeCount]) {
    bool viaText = mask[eLobObj] || mask[eCLobObjShadow] || mask[eQsInt32] || mask[eQsBool] ||
                   mask[eQsAtom] || mask[eDouble] || mask[eQsTimeRec];
    if (!mask[eEStr] && !viaText)
        return convertvoid(mask);
    EStr text = EStrNewFromQsText(m_payload.text->get());
    setEStr(text ? text : EStrNew(nullptr, kEStrPDFDoc));
    if (!mask[eEStr])
        convertEStr(mask);
}

void CAgg::convertEStr(bool (&mask)[kTypeCount]) {
    EStr text = m_payload.estr;
    if (mask[eCQsText]) {
        auto* converted = new CQsText();
        QsTextFromEStr(text, converted->get());
        setVoid();
        m_payload.text = converted;
        m_type = eCQsText;
        return;
    }
    if (wantsLob(mask))
        return lobFromScalar(mask);
    if (mask[eQsInt32]) {
        EStrSetEncoding(text, kEStrHost);
        QsInt32 value = miAtoi(EStrGetBytes(text));
        setVoid();
        m_payload.int32 = value;
        m_type = eQsInt32;
        return;
    }
    if (mask[eQsBool]) {
        EStrSetEncoding(text, kEStrHost);
        QsBool value = textIsTrue(EStrGetBytes(text)) ? 1 : 0;
        setVoid();
        m_payload.boolean = value;
        m_type = eQsBool;
        return;
    }
    if (mask[eQsAtom]) {
        EStrSetEncoding(text, kEStrPDFDoc);
        QsAtom atom = CAggAtomOf(EStrGetBytes(text));
        setVoid();
        m_payload.atom = atom;
        m_type = eQsAtom;
        return;
    }
    if (mask[eDouble]) {
        EStrSetEncoding(text, kEStrHost);
        double value = mdAtof(EStrGetBytes(text));
        setVoid();
        m_payload.number = value;
        m_type = eDouble;
        return;
    }
    if (mask[eQsTimeRec]) {
        EStrSetEncoding(text, kEStrPDFDoc);
        QsTimeRec time{};
        // A text that does not parse keeps what the parser filled in.
        miTimeStringToTimeRec(EStrGetBytes(text), &time);
        setVoid();
        m_payload.time = time;
        m_type = eQsTimeRec;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertQsAtom(bool (&mask)[kTypeCount]) {
    if (mask[eCQsText])
        return via(eEStr, eCQsText);
    if (mask[eEStr])
        return setEStr(EStrNew(QsAtomGetString(m_payload.atom), kEStrPDFDoc));
    if (wantsLob(mask))
        return lobFromScalar(mask);
    if (mask[eQsInt32]) {
        QsInt32 value = miAtoi(QsAtomGetString(m_payload.atom));
        m_payload.int32 = value;
        m_type = eQsInt32;
        return;
    }
    if (mask[eQsBool]) {
        m_payload.boolean = m_payload.atom != kQsNullAtom ? 1 : 0;
        m_type = eQsBool;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertQsInt32(bool (&mask)[kTypeCount]) {
    QsInt32 value = m_payload.int32;
    if (mask[eDouble]) {
        m_payload.number = value;
        m_type = eDouble;
        return;
    }
    if (mask[eCQsText])
        return via(eEStr, eCQsText);
    if (mask[eEStr])
        return setEStr(textOfInt(value));
    if (wantsLob(mask))
        return lobFromScalar(mask);
    if (mask[eQsBool]) {
        m_payload.boolean = value != 0 ? 1 : 0;
        m_type = eQsBool;
        return;
    }
    if (mask[eQsTimeRec]) {
        // The clock reads 0 seconds as "now", so 0 is the present rather than the epoch.
        m_payload.time = timeOfSeconds(value);
        m_type = eQsTimeRec;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertQsBool(bool (&mask)[kTypeCount]) {
    bool value = m_payload.boolean != 0;
    if (mask[eCQsText])
        return via(eEStr, eCQsText);
    if (mask[eEStr])
        return setEStr(EStrNew(value ? "true" : "false", kEStrHost));
    if (mask[eQsInt32]) {
        m_payload.int32 = value ? 1 : 0;
        m_type = eQsInt32;
        return;
    }
    if (mask[eDouble]) {
        m_payload.number = value ? 1.0 : 0.0;
        m_type = eDouble;
        return;
    }
    if (wantsLob(mask))
        return lobFromScalar(mask);
    convertvoid(mask);
}

void CAgg::convertdouble(bool (&mask)[kTypeCount]) {
    double value = m_payload.number;
    if (mask[eCQsText])
        return via(eEStr, eCQsText);
    if (mask[eEStr])
        return setEStr(textOfDouble(value));
    if (mask[eQsInt32]) {
        m_payload.int32 = CAggTruncateToInt32(value);
        m_type = eQsInt32;
        return;
    }
    if (mask[eQsBool]) {
        // NaN is not 0.0, so it reads as true.
        m_payload.boolean = value != 0.0 ? 1 : 0;
        m_type = eQsBool;
        return;
    }
    if (mask[eQsTimeRec]) {
        m_payload.time = timeOfSeconds(CAggTruncateToLong(value));
        m_type = eQsTimeRec;
        return;
    }
    if (wantsLob(mask))
        return lobFromScalar(mask);
    convertvoid(mask);
}

void CAgg::convertQsTimeRec(bool (&mask)[kTypeCount]) {
    if (mask[eCQsText])
        return via(eEStr, eCQsText);
    if (mask[eEStr] || wantsLob(mask)) {
        QsTimeRec time = m_payload.time;
        setEStr(EStrNewFromTimeRec(&time, 0));
        if (!mask[eEStr])
            convertEStr(mask);
        return;
    }
    convertvoid(mask);
}

void CAgg::convertQsStm(bool (&mask)[kTypeCount]) {
    QsStm stream = m_payload.stream->liveStream();
    std::string bytes;
    int32_t encoding = kEStrPDFDoc;
    char piece[kStreamPiece];
    for (bool first = true; stream; first = false) {
        long got = QsStmRead(stream, piece, kStreamPiece);
        if (got <= 0)
            break;
        if (first && got >= 2 && static_cast<unsigned char>(piece[0]) == 0xFE &&
            static_cast<unsigned char>(piece[1]) == 0xFF)
            encoding = kEStrUCS;
        bytes.append(piece, static_cast<size_t>(got));
    }
    EStr text = EStrNew(nullptr, kEStrPDFDoc);
    if (!bytes.empty())
        EStrSetBytesWithSize(text, bytes.data(), static_cast<long>(bytes.size()), encoding);
    // The holder goes by the usual rule: an owned stream is closed.
    setEStr(text);
    if (!mask[eEStr])
        convertEStr(mask);
}

void CAgg::convertDkActionClipboardData(bool (&mask)[kTypeCount]) {
    convertvoid(mask);
}

void CAgg::convertVxIcon(bool (&mask)[kTypeCount]) {
    if (!mask[eQsBool])
        return convertvoid(mask);
    m_payload.boolean = m_payload.icon ? 1 : 0;
    m_type = eQsBool;
}
