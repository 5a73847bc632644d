// The converters between script values and CAgg.
#include "values/CESConvert.h"
#include "values/CESEventScope.h"
#include "values/CESInternal.h"
#include "values/CESNames.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/VxIconBundle.h"
#include "values/CESStreams.h"
#include "values/CESTime.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <string_view>
#include <vector>

using namespace CES;
using CES::detail::engine;
using CES::detail::guarded;
using CES::detail::kMaxConversionDepth;
using CES::detail::NameCache;

namespace {

// The largest vector a CAgg holds.
constexpr long kMaxVectorLength = 0x1000000;

/// A UCS string of marked bytes.
CEStr ucsString(const std::string& marked) {
    return detail::ucsString(marked.data(), static_cast<long>(marked.size()));
}

/// A map key as the engine takes names: host bytes for encoding 0, else marked UCS.
CEStr keyName(const _EStrRec* key) {
    CEStr name(key);
    if (name.isNull())
        return CEStr("", kEStrHost);
    if (EStrGetEncoding(name) != kEStrHost)
        EStrSetEncoding(name, kEStrUCS);
    return name;
}

// Script to CAgg.

/// The objects met in one conversion: a set of handles kept in one table, so that a value of
/// many objects costs a few allocations rather than one for each of them.
class VisitedObjects {
public:
    /// Adds the object; false when it was there already.
    bool insert(ESObject object) {
        if ((m_count + 1) * 2 > m_slots.size())
            grow();
        size_t mask = m_slots.size() - 1;
        for (size_t i = slotOf(object, mask);; i = (i + 1) & mask) {
            if (m_slots[i] == object)
                return false;
            if (!m_slots[i]) {
                m_slots[i] = object;
                ++m_count;
                return true;
            }
        }
    }

private:
    static size_t slotOf(ESObject object, size_t mask) {
        // Handles are aligned records: their low bits say nothing, so the bits are mixed.
        uint64_t bits = reinterpret_cast<uintptr_t>(object) * 0x9E3779B97F4A7C15ull;
        return static_cast<size_t>(bits >> 32) & mask;
    }
    void grow() {
        std::vector<ESObject> old(std::max<size_t>(16, m_slots.size() * 2), nullptr);
        old.swap(m_slots);
        m_count = 0;
        for (ESObject object : old) {
            if (object)
                insert(object);
        }
    }

    std::vector<ESObject> m_slots;
    size_t m_count = 0;
};

class ToCAgg {
public:
    explicit ToCAgg(ESContext context)
        : m_es(engine()), m_context(context), m_names(context), m_property(m_es.newVal(context)) {}
    ~ToCAgg() {
        // A slot of a context that went was freed with it, and may serve another since.
        if (!m_names->contextGone())
            m_es.freeVal(m_property);
    }
    ToCAgg(const ToCAgg&) = delete;
    ToCAgg& operator=(const ToCAgg&) = delete;

    void convert(CAgg& out, ESVal value, bool textKeys, int depth);

private:
    void convertObject(CAgg& out, ESObject object, ESVal value, bool textKeys, int depth);
    void convertArray(CAgg& out, ESObject array, bool textKeys, int depth);
    void convertProperties(CAgg& out, ESObject object, bool textKeys, int depth);
    bool hasFunction(ESObject object, ESName name, const char* text);

    struct EnumState {
        ToCAgg* self;
        CAgg* out;
        bool textKeys;
        int depth;
        std::exception_ptr failure;
    };
    static bool visitName(ESName name, const char* text, long length, ESVal value, void* data);

    IScriptEngine& m_es;
    Context m_context; // keeps the handler that catches script errors of the walk
    NameCache::Use m_names;
    ESVal m_property; // what hasFunction reads
    VisitedObjects m_visited;
};

void ToCAgg::convert(CAgg& out, ESVal value, bool textKeys, int depth) {
    switch (m_es.valType(value)) {
    case kESValBoolean:
        out = CAgg();
        out.toQsBool() = m_es.readBool(value);
        return;
    case kESValNumber: {
        double number = 0;
        if (!m_es.readNumber(value, number))
            detail::throwPending(m_context);
        out = CAgg();
        out.todouble() = number;
        return;
    }
    case kESValString: {
        std::string marked;
        if (!m_es.readString(value, true, marked))
            detail::throwPending(m_context);
        out = CAgg(ucsString(marked).get());
        return;
    }
    case kESValObject:
        convertObject(out, m_es.readObject(value), value, textKeys, depth);
        return;
    case kESValUndefined:
    case kESValNull:
        out = CAgg();
        return;
    }
}

bool ToCAgg::hasFunction(ESObject object, ESName name, const char* text) {
    bool read =
        name ? m_es.getNamed(object, name, m_property) : m_es.getProperty(object, text, m_property);
    if (!read)
        detail::throwPending(m_context);
    m_names->checkContext();
    ESObject function = m_es.readObject(m_property);
    return function && m_es.isFunction(function);
}

void ToCAgg::convertObject(CAgg& out, ESObject object, ESVal value, bool textKeys, int depth) {
    // An object met before in this conversion leaves the value as it was: a cycle is cut, and so
    // is a second reference to a shared object. One nested past any real data is left out too.
    if (!object || depth > kMaxConversionDepth || !m_visited.insert(object))
        return;
    std::string_view className = m_es.className(object);
    void* data = nullptr;
    if (className == "Icon" || className == "LobObj") {
        out = m_es.getPrivate(object, "LobObj", &data) && data ? CAgg(*static_cast<LobObj*>(data))
                                                               : CAgg();
    } else if (className == "LobObjShadow") {
        out = m_es.getPrivate(object, "*", &data) && data ? CAgg(*static_cast<CLobObjShadow*>(data))
                                                          : CAgg();
    } else if (className == "String") {
        std::string marked;
        if (!m_es.readString(value, true, marked))
            detail::throwPending(m_context);
        out = CAgg(ucsString(marked).get());
    } else if (className == "Date") {
        QsTimeRec time{};
        ESValGetTime(value, &time);
        out = CAgg(time);
    } else if (className == "Stream" || hasFunction(object, m_names->read(), "read") ||
               hasFunction(object, m_names->write(), "write")) {
        bool shouldClose = false;
        QsStm stream = ESObjectToRdQsStm(object, &shouldClose);
        out = CAgg(stream, ESObjectStreamShouldClose(object));
    } else if (m_es.isArray(object)) {
        convertArray(out, object, textKeys, depth);
    } else {
        convertProperties(out, object, textKeys, depth);
    }
}

void ToCAgg::convertArray(CAgg& out, ESObject array, bool textKeys, int depth) {
    long length = m_es.arrayLength(array);
    if (m_context.hasException())
        detail::throwPending(m_context);
    if (length > kMaxVectorLength)
        raiseHostError(kHostErrBadSize);
    out = CAgg();
    CAgg::CAggVector& elements = out.toVector();
    elements.resize(static_cast<size_t>(length));
    Val element(m_context);
    for (long i = 0; i < length; ++i) {
        m_names->checkContext();
        if (!m_es.getElement(array, static_cast<uint32_t>(i), element.slot()))
            detail::throwPending(m_context);
        convert(elements[static_cast<size_t>(i)], element.slot(), textKeys, depth + 1);
    }
}

bool ToCAgg::visitName(ESName name, const char* text, long length, ESVal value, void* data) {
    auto* state = static_cast<EnumState*>(data);
    try {
        ToCAgg& self = *state->self;
        if (state->textKeys) {
            CAgg& entry = state->out->toMap()[self.m_names->ucsKey(name, text, length)];
            self.convert(entry, value, true, state->depth + 1);
        } else {
            CAgg& entry = state->out->toQsAtomMap()[self.m_names->atomKey(name, text, length)];
            self.convert(entry, value, false, state->depth + 1);
        }
        return true;
    } catch (...) {
        // Nothing may pass through the engine: the failure waits until the walk has stopped.
        state->failure = std::current_exception();
        return false;
    }
}

void ToCAgg::convertProperties(CAgg& out, ESObject object, bool textKeys, int depth) {
    out = CAgg();
    if (textKeys)
        out.toMap();
    else
        out.toQsAtomMap();
    EnumState state{this, &out, textKeys, depth, nullptr};
    bool ok = m_es.enumerateNamed(object, m_context, textKeys, visitName, &state);
    if (state.failure)
        std::rethrow_exception(state.failure);
    if (!ok)
        detail::throwPending(m_context);
}

// CAgg to script.

class ToScript {
public:
    explicit ToScript(ESContext context) : m_es(engine()), m_context(context), m_names(context) {}
    ~ToScript();
    ToScript(const ToScript&) = delete;
    ToScript& operator=(const ToScript&) = delete;

    void convert(ESVal value, CAgg& in, int depth);
    void setProperties(ESObject object, CAgg& in, int depth);

private:
    void setString(ESVal value, const _EStrRec* text);
    void setIcon(ESVal value, VxIcon icon);
    void setVector(ESVal value, CAgg::CAggVector& elements, int depth);
    void setMap(ESVal value, CAgg& in, int depth);
    ESObject newObject(const char* className);
    /// The first of count slots of the pool, which stay the caller's until it gives them back by
    /// setting m_top to that index again.
    size_t takeSlots(size_t count);
    ESName nameFor(const _EStrRec* key) { return m_names->forKey(key); }
    ESName nameFor(QsAtom atom) { return m_names->forAtom(atom); }
    /// Sets a property by its held name, or by the key's text when the cache had no room for it.
    bool setByName(ESObject object, ESName name, const _EStrRec* key, ESVal value);
    bool setByName(ESObject object, ESName name, QsAtom atom, ESVal value);
    /// Makes the object of a map whose values wait in the pool from first, with its names.
    void makeObject(ESVal value, CAgg& in, size_t first, size_t count);

    IScriptEngine& m_es;
    Context m_context;
    NameCache::Use m_names;
    // Slots for the elements and properties of the objects being made, used as a stack: one
    // conversion makes a few hundred at most, however many values it converts.
    std::vector<ESVal> m_pool;
    std::vector<ESName> m_poolNames; // the property name beside each slot
    size_t m_top = 0;
};

ToScript::~ToScript() {
    // Slots of a context that went in the meantime were freed with it, and may serve another.
    if (m_names->contextGone())
        return;
    for (ESVal slot : m_pool)
        m_es.freeVal(slot);
}

size_t ToScript::takeSlots(size_t count) {
    size_t first = m_top;
    if (m_pool.capacity() < first + count)
        m_pool.reserve(first + count);
    while (m_pool.size() < first + count) {
        ESVal slot = m_es.newVal(m_context);
        if (!slot)
            throwInternalException();
        m_pool.push_back(slot);
    }
    m_poolNames.resize(m_pool.size());
    m_top = first + count;
    return first;
}

bool ToScript::setByName(ESObject object, ESName name, const _EStrRec* key, ESVal value) {
    if (name)
        return m_es.setNamed(object, name, value);
    CEStr text = keyName(key);
    return m_es.setProperty(object, text.c_str(), value);
}

bool ToScript::setByName(ESObject object, ESName name, QsAtom atom, ESVal value) {
    return name ? m_es.setNamed(object, name, value)
                : m_es.setProperty(object, QsAtomGetString(atom), value);
}

ESObject ToScript::newObject(const char* className) {
    ESObject object = guarded([&] { return m_es.newObject(m_context, className); });
    if (!object)
        detail::throwPending(m_context);
    return object;
}

void ToScript::setString(ESVal value, const _EStrRec* text) {
    // Host and UCS text go as they are, and PDFDocEncoding text of the characters it shares
    // with ASCII as those characters; only other text needs a copy moved to UCS.
    int32_t encoding = text ? EStrGetEncoding(text) : kEStrHost;
    bool ok = false;
    if (!text) {
        ok = m_es.setString(value, "", 0);
    } else if (encoding == kEStrPDFDoc &&
               detail::isPlainText(EStrGetBytes(text), EStrGetLen(text))) {
        ok = m_es.setASCIIString(value, EStrGetBytes(text), EStrGetLen(text));
    } else if (encoding == kEStrHost || encoding == kEStrUCS) {
        ok = m_es.setString(value, EStrGetBytes(text), EStrGetLen(text));
    } else {
        CEStr name = keyName(text);
        ok = m_es.setString(value, name.c_str(), EStrGetLen(name));
    }
    if (!ok)
        throwInternalException();
}

void shadowFinalizer(ESObject object) {
    void* shadow = nullptr;
    if (gESHFT && gESHFT->getPrivate(object, "*", &shadow)) {
        gESHFT->removePrivate(object, "*");
        delete static_cast<CLobObjShadow*>(shadow);
    }
}

void ToScript::setIcon(ESVal value, VxIcon icon) {
    _t_VxIconBundleRec6* bundle = VxIconGetBundle(icon);
    if (!bundle) {
        m_es.setUndefined(value);
        return;
    }
    int32_t width = 0;
    int32_t height = 0;
    if (bundle->handler->measureProc)
        bundle->handler->measureProc(bundle, &width, &height);
    QsStm pixels = bundle->handler->openStmProc ? bundle->handler->openStmProc(bundle, 0) : nullptr;
    ESObject object = QsStmToESObject(m_context, pixels, true);
    m_es.setObject(value, object);
    Val number(static_cast<long>(width), m_context);
    m_es.setProperty(object, "width", number.slot());
    number = static_cast<long>(height);
    m_names->checkContext();
    m_es.setProperty(object, "height", number.slot());
}

void ToScript::setVector(ESVal value, CAgg::CAggVector& elements, int depth) {
    size_t first = takeSlots(elements.size());
    for (size_t i = 0; i < elements.size(); ++i)
        convert(m_pool[first + i], elements[i], depth + 1);
    ESObject array = guarded([&] {
        return m_es.newArray(m_context, m_pool.data() + first, static_cast<long>(elements.size()));
    });
    if (!array)
        detail::throwPending(m_context);
    m_es.setObject(value, array);
    m_top = first;
}

void ToScript::setMap(ESVal value, CAgg& in, int depth) {
    // The values first, then the names, then the object with all of them in one call: nothing
    // runs script between taking a name and using it.
    bool atoms = in.getType() == CAgg::eQsAtomMap;
    size_t count = atoms ? in.toQsAtomMap().size() : in.toMap().size();
    size_t first = takeSlots(count);
    size_t i = first;
    if (atoms) {
        for (auto& [atom, entry] : in.toQsAtomMap())
            convert(m_pool[i++], entry, depth + 1);
    } else {
        for (auto& [key, entry] : in.toMap())
            convert(m_pool[i++], entry, depth + 1);
    }
    makeObject(value, in, first, count);
    m_top = first;
}

void ToScript::makeObject(ESVal value, CAgg& in, size_t first, size_t count) {
    // Once a name finds no room, the rest go by their text without being looked for: a map of
    // more keys than the cache holds costs no more than it did without one.
    bool atoms = in.getType() == CAgg::eQsAtomMap;
    bool allNamed = true;
    size_t i = first;
    auto name = [&](auto key) {
        ESName found = allNamed ? nameFor(key) : nullptr;
        allNamed = found != nullptr;
        m_poolNames[i++] = found;
    };
    if (atoms) {
        for (auto& [atom, entry] : in.toQsAtomMap())
            name(atom);
    } else {
        for (auto& [key, entry] : in.toMap())
            name(static_cast<const _EStrRec*>(key.get()));
    }
    if (allNamed) {
        bool made = guarded([&] {
            return m_es.newObjectWithProperties(m_context, "Aggregate", m_poolNames.data() + first,
                                                m_pool.data() + first, static_cast<long>(count),
                                                value);
        });
        if (!made)
            detail::throwPending(m_context);
        return;
    }
    // Some names found no room: the object is made, then set property by property.
    ESObject object = newObject("Aggregate");
    m_es.setObject(value, object);
    i = first;
    auto setOne = [&](auto key) {
        m_names->checkContext();
        bool set = guarded([&] { return setByName(object, m_poolNames[i], key, m_pool[i]); });
        if (!set)
            detail::throwPending(m_context);
        ++i;
    };
    if (atoms) {
        for (auto& [atom, entry] : in.toQsAtomMap())
            setOne(atom);
    } else {
        for (auto& [key, entry] : in.toMap())
            setOne(static_cast<const _EStrRec*>(key.get()));
    }
}

void ToScript::setProperties(ESObject object, CAgg& in, int depth) {
    size_t slot = takeSlots(1);
    auto setOne = [&](auto key, CAgg& entry) {
        convert(m_pool[slot], entry, depth + 1);
        m_names->checkContext();
        ESName name = nameFor(key);
        if (!guarded([&] { return setByName(object, name, key, m_pool[slot]); }))
            detail::throwPending(m_context);
    };
    if (in.getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, entry] : in.toQsAtomMap())
            setOne(atom, entry);
    } else {
        for (auto& [key, entry] : in.toMap())
            setOne(static_cast<const _EStrRec*>(key.get()), entry);
    }
    m_top = slot;
}

void ToScript::convert(ESVal value, CAgg& in, int depth) {
    // A void value is not converted first; nor is one nested past any real data.
    if (in.getType() == CAgg::eVoid || depth > kMaxConversionDepth) {
        m_es.setUndefined(value);
        return;
    }
    // A value that already has one of the script's types is not converted; a shadow is, for
    // that rebinds it.
    switch (in.getType()) {
    case CAgg::eMap:
    case CAgg::eVector:
    case CAgg::eDouble:
    case CAgg::eQsBool:
    case CAgg::eEStr:
    case CAgg::eQsTimeRec:
    case CAgg::eQsStm:
    case CAgg::eVxIcon:
        break;
    default:
        CAggConvertToESValType(in);
    }
    switch (in.getType()) {
    case CAgg::eEStr:
        setString(value, in.toEStr());
        return;
    case CAgg::eQsBool:
        m_es.setBool(value, in.toQsBool() != 0);
        return;
    case CAgg::eDouble:
        m_es.setNumber(value, in.todouble());
        return;
    case CAgg::eQsTimeRec: {
        const QsTimeRec& time = in.toQsTimeRec();
        if (time.month > 0 && time.date > 0)
            ESValSetTime(value, &time);
        else
            m_es.setNull(value);
        return;
    }
    case CAgg::eCLobObjShadow: {
        ESObject object = newObject("LobObjShadow");
        m_es.setPrivate(object, "*", new CLobObjShadow(in.toCLobObjShadow()));
        m_es.setFinalizer(object, shadowFinalizer);
        m_es.setObject(value, object);
        return;
    }
    case CAgg::eMap:
    case CAgg::eQsAtomMap:
        setMap(value, in, depth);
        return;
    case CAgg::eQsStm: {
        // The object takes the stream over from the value. Copies of the value may still own
        // it too; they share the flag that says it was closed.
        QsStm stream = in.toQsStm(0);
        m_es.setObject(value, QsStmToESObject(m_context, stream, true, in.sharedStreamClosed()));
        return;
    }
    case CAgg::eVxIcon:
        setIcon(value, in.toVxIcon());
        return;
    case CAgg::eVector:
        setVector(value, in.toVector(), depth);
        return;
    default:
        m_es.setNull(value);
        return;
    }
}

} // namespace

void ESValToCAgg(CAgg& out, ESVal value, unsigned short useTextKeys) {
    ESContext context = engine().valueContext(value);
    if (!context)
        throwInternalException();
    ValueScope scope(context);
    ToCAgg(context).convert(out, value, useTextKeys != 0, 0);
}

void CAggConvertToESValType(CAgg& agg) {
    agg.convert(CAgg::eMap, CAgg::eVector, CAgg::eDouble, CAgg::eQsBool, CAgg::eEStr,
                CAgg::eQsTimeRec, CAgg::eCLobObjShadow, CAgg::eQsStm, CAgg::eVxIcon);
}

void CAggToESVal(ESVal value, CAgg& in) {
    ESContext context = engine().valueContext(value);
    if (!context)
        throwInternalException();
    ValueScope scope(context);
    ToScript(context).convert(value, in, 0);
}

void ESSetObjectProps(ESObject object, CAgg& map) {
    ESContext context = engine().objectContext(object);
    if (!context)
        throwInternalException();
    ValueScope scope(context);
    map.toMap();
    ToScript(context).setProperties(object, map, 0);
}

void ESClearObjectProps(ESObject object) {
    Val held(object);
    CAgg properties;
    ESValToCAgg(properties, held.slot(), 0);
    for (auto& [key, value] : properties.toMap()) {
        CEStr name(key.get());
        EStrSetEncoding(name, kEStrHost);
        if (!guarded([&] { return engine().deleteProperty(object, name.c_str()); })) {
            Context context(object);
            if (context.hasException())
                detail::throwPending(context);
        }
    }
}
