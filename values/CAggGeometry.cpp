// The conversion rows of fixed-point geometry and colours, and the vectors they travel as.
//
// Fixed to double goes through single precision; double to fixed is value * 65536 + 0.5,
// truncated (QsFixed.h).
#include "values/CAgg.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <strings.h>

namespace {

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

void CAgg::convertDkColorValueRec(bool (&mask)[kTypeCount]) {
    if (!mask[eVector])
        return convertvoid(mask);
    DkColorValueRec colour = m_payload.colour;
    CAggVector elements;
    int count = DkColorSpaceComponents(colour.space);
    elements.reserve(static_cast<size_t>(count) + 1);
    elements.emplace_back(CEStr(colourSpaceName(colour.space), kEStrPDFDoc).get());
    for (int i = 0; i < count; ++i)
        elements.emplace_back(QsFixedToDouble(colour.value[i]));
    setVector(std::move(elements));
}

void CAgg::colourFromVector() {
    CAggVector& elements = *m_payload.vector;
    DkColorValueRec colour{};
    if (!elements.empty()) {
        CAgg space(elements[0]);
        // A double takes text before a number in its row, so it names no space: gray.
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
    CAggVector elements;
    elements.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        elements.emplace_back(QsFixedToDouble(words[i]));
    setVector(std::move(elements));
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
