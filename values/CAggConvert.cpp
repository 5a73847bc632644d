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
    char buffer[64];
    miSnprintf(buffer, sizeof buffer, "%d", value);
    return EStrNew(buffer, kEStrHost);
}

EStr textOfDouble(double value) {
    char buffer[1024];
    miSnprintf(buffer, sizeof buffer, "%f", value);
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

// The number of fixed words of each geometry record, in field order.
int fixedWordCount(CAgg::CAggType type) {
    switch (type) {
    case CAgg::eFixedPoint:
        return 2;
    case CAgg::eFixedRect:
        return 4;
    case CAgg::eFixedQuad:
        return 8;
    default:
        return 6;
    }
}

const char* colourSpaceName(uint8_t space) {
    switch (space) {
    case kDkColorSpaceGray:
        return "G";
    case kDkColorSpaceRGB:
        return "RGB";
    case kDkColorSpaceCMYK:
        return "CMYK";
    default:
        return "T";
    }
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

void CAgg::convert(bool (&mask)[kTypeCount]) {
    if (!inRange(m_type))
        return;
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
        m_payload.atomMap = new CAggQsAtomMap();
        break;
    case eMap:
        m_payload.map = new CAggMap();
        break;
    case eVector:
        m_payload.vector = new CAggVector();
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

void CAgg::setEStr(EStr adopted) {
    setVoid();
    m_payload.estr = adopted;
    m_type = eEStr;
}

void CAgg::setVector(CAggVector* adopted) {
    setVoid();
    m_payload.vector = adopted;
    m_type = eVector;
}

void CAgg::setMap(CAggMap* adopted) {
    setVoid();
    m_payload.map = adopted;
    m_type = eMap;
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
        m_payload.time = timeOfSeconds(CAggTruncateToInt32(value));
        m_type = eQsTimeRec;
        return;
    }
    if (wantsLob(mask))
        return lobFromScalar(mask);
    convertvoid(mask);
}

void CAgg::convertDkColorValueRec(bool (&mask)[kTypeCount]) {
    if (!mask[eVector])
        return convertvoid(mask);
    DkColorValueRec colour = m_payload.colour;
    auto* elements = new CAggVector();
    int count = DkColorSpaceComponents(colour.space);
    elements->reserve(static_cast<size_t>(count) + 1);
    elements->emplace_back(CEStr(colourSpaceName(colour.space), kEStrPDFDoc).get());
    for (int i = 0; i < count; ++i)
        elements->emplace_back(QsFixedToDouble(colour.value[i]));
    setVector(elements);
}

void CAgg::colourFromVector() {
    CAggVector& elements = *m_payload.vector;
    DkColorValueRec colour{};
    if (!elements.empty()) {
        CAgg space(elements[0]);
        space.convert(eQsInt32, eEStr);
        if (space.m_type == eQsInt32) {
            // Any number over 2 is the colourless space.
            QsInt32 number = space.m_payload.int32;
            colour.space =
                static_cast<uint8_t>(number > 2 ? kDkColorSpaceNone : std::max(number, 0));
        } else {
            EStrSetEncoding(space.m_payload.estr, kEStrHost);
            const char* name = EStrGetBytes(space.m_payload.estr);
            if (strcasecmp(name, "RGB") == 0)
                colour.space = kDkColorSpaceRGB;
            else if (strcasecmp(name, "CMYK") == 0)
                colour.space = kDkColorSpaceCMYK;
            else if (strcasecmp(name, "T") == 0)
                colour.space = kDkColorSpaceNone;
        }
        size_t last = std::min<size_t>(elements.size(), 5);
        for (size_t i = 1; i < last; ++i)
            colour.value[i - 1] = QsDoubleToFixed(elements[i].todouble());
    }
    setVoid();
    m_payload.colour = colour;
    m_type = eDkColorValueRec;
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

void CAgg::fixedFromVector(CAggType target) {
    CAggVector& elements = *m_payload.vector;
    QsFixed words[8] = {};
    if (target == eFixedMatrix) {
        words[0] = kQsFixedOne;
        words[3] = kQsFixedOne;
    }
    size_t count = std::min<size_t>(elements.size(), static_cast<size_t>(fixedWordCount(target)));
    for (size_t i = 0; i < count; ++i)
        words[i] = QsDoubleToFixed(elements[i].todouble());
    setVoid();
    switch (target) {
    case eFixedPoint:
        std::memcpy(&m_payload.point, words, sizeof m_payload.point);
        break;
    case eFixedRect:
        std::memcpy(&m_payload.rect, words, sizeof m_payload.rect);
        break;
    case eFixedQuad:
        std::memcpy(&m_payload.quad, words, sizeof m_payload.quad);
        break;
    default:
        std::memcpy(&m_payload.matrix, words, sizeof m_payload.matrix);
        break;
    }
    m_type = target;
}

void CAgg::geometryToVector() {
    QsFixed words[8];
    int count = fixedWordCount(m_type);
    std::memcpy(words, &m_payload, sizeof(QsFixed) * static_cast<size_t>(count));
    auto* elements = new CAggVector();
    elements->reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        elements->emplace_back(QsFixedToDouble(words[i]));
    setVector(elements);
}

void CAgg::convertFixedRect(bool (&mask)[kTypeCount]) {
    QsFixedRect rect = m_payload.rect;
    if (mask[eVector])
        return geometryToVector();
    if (wantsLob(mask))
        return lobFromGeometry(mask);
    if (mask[eFixedQuad]) {
        m_payload.quad = QsFixedQuad{{rect.left, rect.top},
                                     {rect.right, rect.top},
                                     {rect.left, rect.bottom},
                                     {rect.right, rect.bottom}};
        m_type = eFixedQuad;
        return;
    }
    if (mask[eFixedPoint]) {
        // The centre, each coordinate the integer mean of two sides.
        auto mean = [](QsFixed a, QsFixed b) {
            return static_cast<QsFixed>((static_cast<int64_t>(a) + b) / 2);
        };
        m_payload.point = QsFixedPoint{mean(rect.left, rect.right), mean(rect.top, rect.bottom)};
        m_type = eFixedPoint;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertFixedPoint(bool (&mask)[kTypeCount]) {
    QsFixedPoint point = m_payload.point;
    if (mask[eVector])
        return geometryToVector();
    if (wantsLob(mask))
        return lobFromGeometry(mask);
    if (mask[eFixedRect] || mask[eFixedQuad]) {
        m_payload.rect = QsFixedRect{point.h, point.v, point.h, point.v};
        m_type = eFixedRect;
        if (!mask[eFixedRect])
            convert(eFixedQuad);
        return;
    }
    convertvoid(mask);
}

void CAgg::convertFixedQuad(bool (&mask)[kTypeCount]) {
    QsFixedQuad quad = m_payload.quad;
    if (mask[eVector])
        return geometryToVector();
    if (wantsLob(mask))
        return lobFromGeometry(mask);
    if (mask[eFixedRect] || mask[eFixedPoint]) {
        // The bounding box; top is the greater vertical coordinate, as in a page's space.
        const QsFixedPoint corners[] = {quad.tl, quad.tr, quad.bl, quad.br};
        QsFixedRect box{corners[0].h, corners[0].v, corners[0].h, corners[0].v};
        for (const QsFixedPoint& corner : corners) {
            box.left = std::min(box.left, corner.h);
            box.right = std::max(box.right, corner.h);
            box.top = std::max(box.top, corner.v);
            box.bottom = std::min(box.bottom, corner.v);
        }
        m_payload.rect = box;
        m_type = eFixedRect;
        if (!mask[eFixedRect])
            convert(eFixedPoint);
        return;
    }
    convertvoid(mask);
}

void CAgg::convertFixedMatrix(bool (&mask)[kTypeCount]) {
    if (mask[eVector])
        return geometryToVector();
    if (wantsLob(mask))
        return lobFromGeometry(mask);
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
