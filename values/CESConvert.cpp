// The converters between script values and CAgg.
#include "values/CESConvert.h"
#include "values/CESEventScope.h"
#include "values/CESInternal.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/VxIconBundle.h"
#include "values/CESStreams.h"
#include "values/CESTime.h"

#include <exception>
#include <set>
#include <string_view>

using namespace CES;
using CES::detail::engine;
using CES::detail::guarded;
using CES::detail::kMaxConversionDepth;

namespace {

// The largest vector a CAgg holds.
constexpr long kMaxVectorLength = 0x1000000;

/// A UCS string of marked bytes.
CEStr ucsString(const std::string& marked) {
    CEStr s = CEStr::adopt(EStrNewSize(0, kEStrUCS));
    EStrSetBytesWithSize(s, marked.data(), static_cast<long>(marked.size()), kEStrUCS);
    return s;
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

class ToCAgg {
public:
    explicit ToCAgg(ESContext context) : m_es(engine()), m_context(context) {}

    void convert(CAgg& out, ESVal value, bool textKeys, int depth);

private:
    void convertObject(CAgg& out, ESObject object, ESVal value, bool textKeys, int depth);
    void convertArray(CAgg& out, ESObject array, bool textKeys, int depth);
    void convertProperties(CAgg& out, ESObject object, bool textKeys, int depth);
    bool hasFunction(ESObject object, const char* name);

    struct EnumState {
        ToCAgg* self;
        CAgg* out;
        int depth;
        std::exception_ptr failure;
    };
    static bool visitName(const char* name, long length, ESVal value, void* data);
    static bool visitAtom(QsAtom name, ESVal value, void* data);

    IScriptEngine& m_es;
    Context m_context; // keeps the handler that catches script errors of the walk
    std::set<ESObject> m_visited;
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

bool ToCAgg::hasFunction(ESObject object, const char* name) {
    Val property(m_context);
    if (!m_es.getProperty(object, name, property.slot()))
        detail::throwPending(m_context);
    ESObject function = property.object();
    return function && m_es.isFunction(function);
}

void ToCAgg::convertObject(CAgg& out, ESObject object, ESVal value, bool textKeys, int depth) {
    // An object met before in this conversion leaves the value as it was: a cycle is cut, and so
    // is a second reference to a shared object. One nested past any real data is left out too.
    if (!object || depth > kMaxConversionDepth || !m_visited.insert(object).second)
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
    } else if (className == "Stream" || hasFunction(object, "read") ||
               hasFunction(object, "write")) {
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
        if (!m_es.getElement(array, static_cast<uint32_t>(i), element.slot()))
            detail::throwPending(m_context);
        convert(elements[static_cast<size_t>(i)], element.slot(), textKeys, depth + 1);
    }
}

bool ToCAgg::visitName(const char* name, long length, ESVal value, void* data) {
    auto* state = static_cast<EnumState*>(data);
    try {
        CEStr key = ucsString(std::string(name, static_cast<size_t>(length)));
        CAgg& entry = state->out->toMap()[key];
        state->self->convert(entry, value, true, state->depth + 1);
        return true;
    } catch (...) {
        // Nothing may pass through the engine: the failure waits until the walk has stopped.
        state->failure = std::current_exception();
        return false;
    }
}

bool ToCAgg::visitAtom(QsAtom name, ESVal value, void* data) {
    auto* state = static_cast<EnumState*>(data);
    try {
        CAgg& entry = state->out->toQsAtomMap()[name];
        state->self->convert(entry, value, false, state->depth + 1);
        return true;
    } catch (...) {
        state->failure = std::current_exception();
        return false;
    }
}

void ToCAgg::convertProperties(CAgg& out, ESObject object, bool textKeys, int depth) {
    out = CAgg();
    EnumState state{this, &out, depth, nullptr};
    bool ok = false;
    if (textKeys) {
        out.toMap();
        ok = m_es.enumerate(object, visitName, &state);
    } else {
        out.toQsAtomMap();
        ok = m_es.enumerateAtoms(object, visitAtom, &state);
    }
    if (state.failure)
        std::rethrow_exception(state.failure);
    if (!ok)
        detail::throwPending(m_context);
}

// CAgg to script.

class ToScript {
public:
    explicit ToScript(ESContext context) : m_es(engine()), m_context(context) {}

    void convert(ESVal value, CAgg& in, int depth);
    void setProperties(ESObject object, CAgg& in, int depth);

private:
    void setString(ESVal value, const _EStrRec* text);
    void setIcon(ESVal value, VxIcon icon);
    void setVector(ESVal value, CAgg::CAggVector& elements, int depth);
    void setProperty(ESObject object, const char* name, CAgg& in, int depth);
    ESObject newObject(const char* className);

    IScriptEngine& m_es;
    Context m_context;
};

ESObject ToScript::newObject(const char* className) {
    ESObject object = guarded([&] { return m_es.newObject(m_context, className); });
    if (!object)
        detail::throwPending(m_context);
    return object;
}

void ToScript::setString(ESVal value, const _EStrRec* text) {
    CEStr name = keyName(text);
    if (!m_es.setString(value, name.c_str(), EStrGetLen(name)))
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
    m_es.setProperty(object, "height", number.slot());
}

void ToScript::setVector(ESVal value, CAgg::CAggVector& elements, int depth) {
    std::vector<Val> values;
    values.reserve(elements.size());
    std::vector<ESVal> slots;
    slots.reserve(elements.size());
    for (CAgg& element : elements) {
        values.emplace_back(m_context);
        slots.push_back(values.back().slot());
        convert(slots.back(), element, depth + 1);
    }
    ESObject array = guarded(
        [&] { return m_es.newArray(m_context, slots.data(), static_cast<long>(slots.size())); });
    if (!array)
        detail::throwPending(m_context);
    m_es.setObject(value, array);
}

void ToScript::setProperty(ESObject object, const char* name, CAgg& in, int depth) {
    Val converted(m_context);
    convert(converted.slot(), in, depth + 1);
    if (!guarded([&] { return m_es.setProperty(object, name, converted.slot()); }))
        detail::throwPending(m_context);
}

void ToScript::setProperties(ESObject object, CAgg& in, int depth) {
    if (in.getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, entry] : in.toQsAtomMap())
            setProperty(object, QsAtomGetString(atom), entry, depth);
        return;
    }
    for (auto& [key, entry] : in.toMap()) {
        CEStr name = keyName(key.get());
        setProperty(object, name.c_str(), entry, depth);
    }
}

void ToScript::convert(ESVal value, CAgg& in, int depth) {
    // A void value is not converted first; nor is one nested past any real data.
    if (in.getType() == CAgg::eVoid || depth > kMaxConversionDepth) {
        m_es.setUndefined(value);
        return;
    }
    CAggConvertToESValType(in);
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
    case CAgg::eQsAtomMap: {
        ESObject object = newObject("Aggregate");
        m_es.setObject(value, object);
        setProperties(object, in, depth);
        return;
    }
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
