// The conversion rows of the viewer's handles: objects, stores, documents, pages, annotations
// and shadows; and the making of objects from values ("Lob" in the rows).
//
// "Lob" stands for the pair eLobObj, eCLobObjShadow: the value is turned into an object of the
// document in m_lobDoc, and then into a shadow unless eLobObj itself is acceptable. Without a
// document the value falls to convertvoid, which gives the null object. Reading an object that
// the model no longer knows reads the null object; making objects may raise the host's error,
// which the walks over maps and vectors catch.
#include "values/CAgg.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/miString.h"
#include "values/CAggInternal.h"

#include <memory>
#include <string>
#include <strings.h>

namespace {

using Mask = bool[CAgg::kTypeCount];

/// Runs fn under a guard; the fallback when the host raises.
template <class T, class Fn> T guarded(T fallback, Fn fn) {
    T result = fallback;
    HostFrame guard;
    if (guard.run([&] { result = fn(); }) != 0)
        return fallback;
    return result;
}

LobObj nullObject() {
    return gLobHFT ? gLobHFT->objNull() : LobObj{};
}

/// What an object holds, read under a guard: a failing read is the null object.
struct LobReading {
    LobObjType type = LobObjType::Null;
    int32_t number = 0; // integer, or fixed word
    bool boolean = false;
    std::string text; // string bytes or name
};

LobReading readLob(LobObj object) {
    LobReading reading;
    if (!gLobHFT)
        return reading;
    HostFrame guard;
    int32_t failure = guard.run([&] {
        reading.type = gLobHFT->objGetType(object);
        switch (reading.type) {
        case LobObjType::Boolean:
            reading.boolean = gLobHFT->objGetBoolean(object);
            break;
        case LobObjType::Integer:
            reading.number = gLobHFT->objGetInteger(object);
            break;
        case LobObjType::Fixed:
            reading.number = gLobHFT->objGetFixed(object);
            break;
        case LobObjType::Name:
            reading.text = gLobHFT->objGetName(object);
            break;
        case LobObjType::String:
            reading.text = gLobHFT->objGetString(object);
            break;
        default:
            break;
        }
    });
    if (failure)
        return LobReading{};
    return reading;
}

bool textIsTrue(const std::string& text) {
    return text == "1" || (text.size() == 4 && strncasecmp(text.c_str(), "true", 4) == 0);
}

LobDoc lobDocOfObject(LobObj object) {
    return gLobHFT ? guarded<LobDoc>(nullptr, [&] { return gLobHFT->objGetLobDoc(object); })
                   : nullptr;
}

DkDoc dkDocOfLobDoc(LobDoc doc) {
    if (!doc || !gDkModelHFT)
        return nullptr;
    return guarded<DkDoc>(nullptr, [&] { return gDkModelHFT->docGetDkDoc(doc); });
}

LobDoc lobDocOfDkDoc(DkDoc doc) {
    if (!doc || !gDkModelHFT)
        return nullptr;
    return guarded<LobDoc>(nullptr, [&] { return gDkModelHFT->dkDocGetLobDoc(doc); });
}

} // namespace

bool CAgg::wantsLob(const bool (&mask)[kTypeCount]) const {
    return mask[eLobObj] || mask[eCLobObjShadow];
}

void CAgg::rebindLobObj() {
    if (!m_lobDoc || !gLobHFT)
        return;
    LobObj object = m_payload.lobObj;
    LobDoc home = lobDocOfObject(object);
    if (home && home != m_lobDoc)
        m_payload.lobObj = gLobHFT->objCopyToDoc(object, m_lobDoc);
}

void CAgg::becomeLob(LobObj object, const bool (&mask)[kTypeCount]) {
    setVoid();
    m_payload.lobObj = object;
    m_type = eLobObj;
    Mask lob = {};
    lob[mask[eLobObj] ? eLobObj : eCLobObjShadow] = true;
    convertLobObj(lob);
}

void CAgg::lobFromScalar(bool (&mask)[kTypeCount]) {
    if (!m_lobDoc || !gLobHFT)
        return convertvoid(mask);
    LobDoc doc = m_lobDoc;
    LobObj object = nullObject();
    switch (m_type) {
    case eEStr:
        EStrSetEncoding(m_payload.estr, kEStrAuto);
        object = gLobHFT->objNewString(doc, EStrGetBytes(m_payload.estr),
                                       EStrGetLen(m_payload.estr), false);
        break;
    case eQsAtom:
        object = gLobHFT->objNewName(doc, QsAtomGetString(m_payload.atom));
        break;
    case eQsInt32:
        object = gLobHFT->objNewInteger(doc, m_payload.int32);
        break;
    case eQsBool:
        object = gLobHFT->objNewBoolean(doc, m_payload.boolean != 0);
        break;
    case eDouble:
        object = gLobHFT->objNewFixed(doc, QsDoubleToFixed(m_payload.number));
        break;
    default:
        break;
    }
    becomeLob(object, mask);
}

void CAgg::lobFromCollection(bool (&mask)[kTypeCount]) {
    if (!m_lobDoc || !gLobHFT)
        return convertvoid(mask);
    LobDoc doc = m_lobDoc;
    LobObj result = nullObject();
    HostFrame guard;
    // A failure on one entry ends the walk; what was built so far is the result.
    guard.run([&] {
        if (m_type == eVector) {
            result = gLobHFT->objNewArray(doc, false, static_cast<long>(m_payload.vector->size()));
            for (CAgg& element : *m_payload.vector) {
                LobObj item = element.toLobObj(doc);
                gLobHFT->arrayAppend(result, item);
            }
        } else if (m_type == eMap) {
            result = gLobHFT->objNewDict(doc, false, static_cast<long>(m_payload.map->size()));
            for (auto& [key, value] : *m_payload.map) {
                CEStr name = CEStr::adopt(EStrCopySetEncoding(key, kEStrPDFDoc));
                LobObj item = value.toLobObj(doc);
                gLobHFT->dictPut(result, name.c_str(), item);
            }
        } else if (m_type == eQsAtomMap) {
            result = gLobHFT->objNewDict(doc, false, static_cast<long>(m_payload.atomMap->size()));
            for (auto& [atom, value] : *m_payload.atomMap) {
                LobObj item = value.toLobObj(doc);
                gLobHFT->dictPut(result, QsAtomGetString(atom), item);
            }
        }
    });
    becomeLob(result, mask);
}

void CAgg::lobFromGeometry(bool (&mask)[kTypeCount]) {
    if (!m_lobDoc || !gLobHFT)
        return convertvoid(mask);
    geometryToVector();
    lobFromCollection(mask);
}

void CAgg::lobToText() {
    LobReading reading = readLob(m_payload.lobObj);
    EStr text = nullptr;
    char buffer[1024];
    switch (reading.type) {
    case LobObjType::String:
        text = EStrNew(nullptr, kEStrPDFDoc);
        if (!reading.text.empty())
            EStrSetBytesWithSize(text, reading.text.data(), static_cast<long>(reading.text.size()),
                                 kEStrAuto);
        break;
    case LobObjType::Name:
        text = EStrNew(reading.text.c_str(), kEStrPDFDoc);
        break;
    case LobObjType::Integer:
        miSnprintf(buffer, sizeof buffer, "%d", reading.number);
        text = EStrNew(buffer, kEStrHost);
        break;
    case LobObjType::Fixed:
        miSnprintf(buffer, sizeof buffer, "%f", QsFixedToDouble(reading.number));
        text = EStrNew(buffer, kEStrHost);
        break;
    case LobObjType::Boolean:
        text = EStrNew(reading.boolean ? "true" : "false", kEStrHost);
        break;
    default:
        text = EStrNew(nullptr, kEStrPDFDoc);
        break;
    }
    setEStr(text);
}

void CAgg::lobToCollection(CAggType target) {
    LobObj object = m_payload.lobObj;
    LobObjType type = gLobHFT
                          ? guarded(LobObjType::Null, [&] { return gLobHFT->objGetType(object); })
                          : LobObjType::Null;
    // One level: the elements stay objects. A failing read keeps what was read before it.
    if (type == LobObjType::Array) {
        CAggVector elements;
        HostFrame guard;
        guard.run([&] {
            long length = gLobHFT->arrayLength(object);
            for (long i = 0; i < length; ++i)
                elements.emplace_back(gLobHFT->arrayGet(object, i));
        });
        setVector(std::move(elements));
        convert(target);
        return;
    }
    if (type == LobObjType::Dict) {
        CAggMap entries;
        HostFrame guard;
        guard.run([&] {
            for (const std::string& key : gLobHFT->dictKeys(object))
                entries[CEStr(key.c_str(), kEStrPDFDoc)] =
                    CAgg(gLobHFT->dictGet(object, key.c_str()));
        });
        setMap(std::move(entries));
        convert(target);
        return;
    }
    setVoid();
    makeEmpty(target);
}

void CAgg::convertLobObj(bool (&mask)[kTypeCount]) {
    LobObj object = m_payload.lobObj;
    if (mask[eLobObj])
        return rebindLobObj();
    if (mask[eCLobObjShadow]) {
        rebindLobObj();
        auto* shadow = new CLobObjShadow(m_payload.lobObj);
        m_payload.shadow = shadow;
        m_type = eCLobObjShadow;
        return;
    }
    if (mask[eDkAnnot]) {
        DkAnnot annot{nullObject().bits};
        if (gDkModelHFT)
            annot = guarded(annot, [&] { return gDkModelHFT->annotFromLobObj(object); });
        m_payload.annot = annot;
        m_type = eDkAnnot;
        return;
    }
    if (mask[eDkPage]) {
        DkPage page = nullptr;
        if (gDkModelHFT)
            page = guarded<DkPage>(nullptr, [&] { return gDkModelHFT->pageFromLobObj(object); });
        m_payload.page = page;
        m_type = eDkPage;
        return;
    }
    if (mask[eCQsText])
        return via(eEStr, eCQsText);
    if (mask[eEStr])
        return lobToText();
    if (mask[eQsInt32] || mask[eQsBool] || mask[eDouble]) {
        LobReading reading = readLob(object);
        double number = 0.0;
        switch (reading.type) {
        case LobObjType::Integer:
            number = reading.number;
            break;
        case LobObjType::Fixed:
            number = QsFixedToDouble(reading.number);
            break;
        case LobObjType::Boolean:
            number = reading.boolean ? 1.0 : 0.0;
            break;
        case LobObjType::String:
        case LobObjType::Name:
            number = mdAtof(reading.text.c_str());
            break;
        default:
            break;
        }
        if (mask[eQsInt32]) {
            bool isText = reading.type == LobObjType::String || reading.type == LobObjType::Name;
            m_payload.int32 = isText ? miAtoi(reading.text.c_str()) : CAggTruncateToInt32(number);
            m_type = eQsInt32;
        } else if (mask[eQsBool]) {
            bool value = number != 0.0;
            if (reading.type == LobObjType::String || reading.type == LobObjType::Name)
                value = textIsTrue(reading.text);
            else if (reading.type == LobObjType::Array || reading.type == LobObjType::Dict)
                value = true;
            m_payload.boolean = value ? 1 : 0;
            m_type = eQsBool;
        } else {
            m_payload.number = number;
            m_type = eDouble;
        }
        return;
    }
    if (mask[eDkColorValueRec])
        return via(eVector, eDkColorValueRec);
    if (mask[eQsTimeRec])
        return via(eEStr, eQsTimeRec);
    if (mask[eFixedPoint])
        return via(eVector, eFixedPoint);
    if (mask[eFixedRect])
        return via(eVector, eFixedRect);
    if (mask[eFixedMatrix])
        return via(eVector, eFixedMatrix);
    if (mask[eQsAtomMap])
        return lobToCollection(eQsAtomMap);
    if (mask[eMap])
        return lobToCollection(eMap);
    if (mask[eVector])
        return lobToCollection(eVector);
    if (mask[eDkDoc]) {
        m_payload.dkDoc = dkDocOfLobDoc(lobDocOfObject(object));
        m_type = eDkDoc;
        return;
    }
    if (mask[eLobDoc]) {
        m_payload.lobDoc = lobDocOfObject(object);
        m_type = eLobDoc;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertCLobObjShadow(bool (&mask)[kTypeCount]) {
    if (mask[eCLobObjShadow]) {
        if (!m_lobDoc || !gLobHFT)
            return;
        LobObj object = m_payload.shadow->getLobObj();
        LobDoc home = lobDocOfObject(object);
        if (home && home != m_lobDoc)
            *m_payload.shadow = gLobHFT->objCopyToDoc(object, m_lobDoc);
        return;
    }
    // The shadow is kept until the conversion is done, so that the object behind it lives
    // while it is read.
    std::unique_ptr<CLobObjShadow> keep(m_payload.shadow);
    m_payload.lobObj = keep->getLobObj();
    m_type = eLobObj;
    convertLobObj(mask);
}

void CAgg::convertLobDoc(bool (&mask)[kTypeCount]) {
    LobDoc doc = m_payload.lobDoc;
    if (mask[eDkDoc]) {
        m_payload.dkDoc = dkDocOfLobDoc(doc);
        m_type = eDkDoc;
        return;
    }
    if (mask[eQsBool]) {
        m_payload.boolean = doc ? 1 : 0;
        m_type = eQsBool;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertDkDoc(bool (&mask)[kTypeCount]) {
    DkDoc doc = m_payload.dkDoc;
    if (mask[eLobDoc]) {
        m_payload.lobDoc = lobDocOfDkDoc(doc);
        m_type = eLobDoc;
        return;
    }
    if (mask[eQsBool]) {
        m_payload.boolean = doc ? 1 : 0;
        m_type = eQsBool;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertDkAnnot(bool (&mask)[kTypeCount]) {
    DkAnnot annot = m_payload.annot;
    // An annotation has its object already: it needs no document to become one.
    LobObj object{annot.bits};
    if (gDkModelHFT)
        object = guarded(object, [&] { return gDkModelHFT->annotGetLobObj(annot); });
    if (wantsLob(mask))
        return becomeLob(object, mask);
    if (mask[eDkPage]) {
        DkPage page = nullptr;
        if (gDkModelHFT)
            page = guarded<DkPage>(nullptr, [&] { return gDkModelHFT->annotAcquirePage(annot); });
        m_payload.page = page;
        m_type = eDkPage;
        return;
    }
    if (mask[eLobDoc]) {
        m_payload.lobDoc = lobDocOfObject(object);
        m_type = eLobDoc;
        return;
    }
    if (mask[eDkDoc]) {
        m_payload.dkDoc = dkDocOfLobDoc(lobDocOfObject(object));
        m_type = eDkDoc;
        return;
    }
    if (mask[eQsBool]) {
        m_payload.boolean = annot.bits != nullObject().bits ? 1 : 0;
        m_type = eQsBool;
        return;
    }
    convertvoid(mask);
}

void CAgg::convertDkPage(bool (&mask)[kTypeCount]) {
    DkPage page = m_payload.page;
    bool model = page && gDkModelHFT;
    if (wantsLob(mask)) {
        LobObj object = nullObject();
        if (model)
            object = guarded(object, [&] { return gDkModelHFT->pageGetLobObj(page); });
        return becomeLob(object, mask);
    }
    if (mask[eQsInt32]) {
        QsInt32 number = model ? guarded(-1, [&] { return gDkModelHFT->pageGetNumber(page); }) : -1;
        setVoid();
        m_payload.int32 = number;
        m_type = eQsInt32;
        return;
    }
    if (mask[eDkDoc] || mask[eLobDoc]) {
        DkDoc doc = nullptr;
        if (model)
            doc = guarded<DkDoc>(nullptr, [&] { return gDkModelHFT->pageGetDkDoc(page); });
        setVoid();
        if (mask[eDkDoc]) {
            m_payload.dkDoc = doc;
            m_type = eDkDoc;
        } else {
            m_payload.lobDoc = lobDocOfDkDoc(doc);
            m_type = eLobDoc;
        }
        return;
    }
    if (mask[eQsBool]) {
        setVoid();
        m_payload.boolean = page ? 1 : 0;
        m_type = eQsBool;
        return;
    }
    convertvoid(mask);
}

LobObj& CAgg::toLobObj(LobDoc doc) {
    m_lobDoc = doc;
    try {
        convert(eLobObj);
    } catch (...) {
        m_lobDoc = nullptr;
        throw;
    }
    m_lobDoc = nullptr;
    return m_payload.lobObj;
}

CLobObjShadow& CAgg::toCLobObjShadow(LobDoc doc) {
    return *toCLobObjShadowPtr(doc);
}

CLobObjShadow* CAgg::toCLobObjShadowPtr(LobDoc doc) {
    m_lobDoc = doc;
    try {
        convert(eCLobObjShadow);
    } catch (...) {
        m_lobDoc = nullptr;
        throw;
    }
    m_lobDoc = nullptr;
    return m_payload.shadow;
}
