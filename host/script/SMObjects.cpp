// Objects: handles and their companions, private data and finalisers, properties and their
// enumeration, classes and arrays.
#include "host/script/CSpiderMonkeyEngineImpl.h"
#include "host/script/SMText.h"

#include "frame/host/ICore.h"

#include <js/Array.h>
#include <js/CallAndConstruct.h>
#include <js/Object.h>
#include <js/PropertyAndElement.h>
#include <js/Realm.h>
#include <js/Symbol.h>
#include <js/WeakMap.h>

#include <string>

namespace {

// A companion is the weak map's value for an object that has a handle: it owns the handle's
// record, and its finaliser is the object's. It is finalised on the main thread, so the
// plug-in's finalisers run there too.
void finalizeCompanion(JS::GCContext*, JSObject* companion) {
    auto* record = JS::GetMaybePtrFromReservedSlot<_s_ESObjectRec>(companion, 0);
    if (!record)
        return;
    if (record->impl)
        record->impl->finalizeRecord(record);
    else
        delete record;
}

const JSClassOps kCompanionOps = {nullptr, nullptr,           nullptr, nullptr, nullptr,
                                  nullptr, finalizeCompanion, nullptr, nullptr, nullptr};
const JSClass kCompanionClass = {
    "ESCompanion",  JSCLASS_HAS_RESERVED_SLOTS(1) | JSCLASS_FOREGROUND_FINALIZE,
    &kCompanionOps, nullptr,
    nullptr,        nullptr};

} // namespace

// Handles.

_s_ESObjectRec* CSpiderMonkeyEngine::Impl::recordFor(JS::HandleObject object) {
    // An entry may be out of date: a minor collection moves an object without telling the
    // records. Its record is alive (a record leaves the index before it goes), and the entry is
    // dropped for the weak map to answer.
    auto known = recordsByObject.find(object.get());
    if (known != recordsByObject.end()) {
        _s_ESObjectRec* record = known->second;
        if (record->object.unbarrieredGet() == object.get())
            return record;
        unindex(record);
    }
    JSAutoRealm realm(cx, *weakMap);
    JS::RootedValue entry(cx);
    if (!JS::GetWeakMapEntry(cx, *weakMap, object, &entry)) {
        JS_ClearPendingException(cx);
        return nullptr;
    }
    if (entry.isObject()) {
        auto* record = JS::GetMaybePtrFromReservedSlot<_s_ESObjectRec>(&entry.toObject(), 0);
        if (record && record->object.unbarrieredGet() == object.get())
            index(record, object.get());
        return record;
    }
    JS::RootedObject companion(cx, JS_NewObjectWithGivenProto(cx, &kCompanionClass, nullptr));
    if (!companion) {
        JS_ClearPendingException(cx);
        return nullptr;
    }
    auto* record = new _s_ESObjectRec();
    record->impl = this;
    record->object = object;
    records.insert(record);
    index(record, object.get());
    JS::SetReservedSlot(companion, 0, JS::PrivateValue(record));
    JS::RootedValue value(cx, JS::ObjectValue(*companion));
    if (!JS::SetWeakMapEntry(cx, *weakMap, object, value)) {
        // The companion goes with the next collection and takes the record along.
        JS_ClearPendingException(cx);
        return nullptr;
    }
    return record;
}

ESObject CSpiderMonkeyEngine::Impl::handOut(JS::HandleObject object, ESContext owner) {
    if (!object || finalizing)
        return nullptr;
    _s_ESObjectRec* record = recordFor(object);
    if (record)
        rootObject(object, owner ? owner : contextOf(object));
    return record;
}

JSObject* CSpiderMonkeyEngine::Impl::objectOf(ESObject handle) const {
    if (!handle || finalizing || handle->impl != this)
        return nullptr;
    return handle->object;
}

ESContext CSpiderMonkeyEngine::Impl::contextOf(JSObject* object) const {
    JS::Realm* realm = JS::GetObjectRealmOrNull(object);
    if (!realm)
        return nullptr;
    auto* context = static_cast<ESContext>(JS::GetRealmPrivate(realm));
    return context && context->impl == this && !context->dead ? context : nullptr;
}

JSObject* CSpiderMonkeyEngine::Impl::globalOf(ESContext context) const {
    return &context->global->value.get().toObject();
}

void CSpiderMonkeyEngine::Impl::updateWeakRecords(JSTracer* trc, void* data) {
    auto* impl = static_cast<Impl*>(data);
    for (_s_ESObjectRec* record : impl->records) {
        JS_UpdateWeakPointerAfterGC(trc, &record->object);
        JSObject* now = record->object.unbarrieredGet();
        if (!now)
            impl->unindex(record);
        else if (now != record->indexedAs)
            impl->index(record, now);
    }
}

void CSpiderMonkeyEngine::Impl::index(_s_ESObjectRec* record, JSObject* object) {
    if (record->indexedAs == object)
        return;
    unindex(record);
    // A record left under this object by one that moved away loses its entry to this one.
    auto [entry, added] = recordsByObject.try_emplace(object, record);
    if (!added) {
        entry->second->indexedAs = nullptr;
        entry->second = record;
    }
    record->indexedAs = object;
}

void CSpiderMonkeyEngine::Impl::unindex(_s_ESObjectRec* record) {
    if (!record->indexedAs)
        return;
    auto found = recordsByObject.find(record->indexedAs);
    if (found != recordsByObject.end() && found->second == record)
        recordsByObject.erase(found);
    record->indexedAs = nullptr;
}

void CSpiderMonkeyEngine::Impl::finalizeRecord(_s_ESObjectRec* record) {
    records.erase(record);
    unindex(record);
    bool wasFinalizing = finalizing;
    finalizing = true;
    if (record->finalizer) {
        try {
            record->finalizer(record);
        } catch (...) {
            // A finaliser has nobody to tell; the collection goes on.
        }
    }
    finalizing = wasFinalizing;
    delete record;
}

void CSpiderMonkeyEngine::Impl::detachRecords() {
    // Whatever companions are left outlive the engine; they free their records alone.
    for (_s_ESObjectRec* record : records) {
        record->object = nullptr;
        record->indexedAs = nullptr;
        record->impl = nullptr;
        record->finalizer = nullptr;
    }
    records.clear();
    recordsByObject.clear();
}

// Private data and finalisers work on the record alone, so finalisers may use them.

void CSpiderMonkeyEngine::setPrivate(ESObject object, const char* name, void* data) {
    if (object && name)
        object->privates[name] = data;
}

bool CSpiderMonkeyEngine::getPrivate(ESObject object, const char* name, void** data) {
    if (data)
        *data = nullptr;
    if (!object || !name)
        return false;
    auto found = object->privates.find(name);
    if (found == object->privates.end())
        return false;
    if (data)
        *data = found->second;
    return true;
}

void CSpiderMonkeyEngine::removePrivate(ESObject object, const char* name) {
    if (object && name)
        object->privates.erase(name);
}

void CSpiderMonkeyEngine::setFinalizer(ESObject object, ESFinalizeProc proc) {
    if (m_impl->objectOf(object))
        object->finalizer = proc;
}

// Properties.

bool CSpiderMonkeyEngine::getProperty(ESObject object, const char* name, ESVal out) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj || !m_impl->usable(out))
        return false;
    ESContext owner = out->owner;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx);
    JS::RootedValue value(cx);
    if (!m_impl->idFromName(name, &id) || !JS_GetPropertyById(cx, obj, id, &value)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return m_impl->storeRead(out, owner, value);
}

bool CSpiderMonkeyEngine::setProperty(ESObject object, const char* name, ESVal value) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj || !m_impl->usable(value))
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx);
    JS::RootedValue v(cx, value->value);
    if (!m_impl->idFromName(name, &id) || !JS_SetPropertyById(cx, obj, id, v)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return true;
}

bool CSpiderMonkeyEngine::deleteProperty(ESObject object, const char* name) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj)
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx);
    JS::ObjectOpResult result;
    if (!m_impl->idFromName(name, &id) || !JS_DeletePropertyById(cx, obj, id, result)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return result.ok();
}

bool CSpiderMonkeyEngine::hasProperty(ESObject object, const char* name) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj)
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx);
    bool found = false;
    if (!m_impl->idFromName(name, &id) || !JS_HasPropertyById(cx, obj, id, &found)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return found;
}

bool CSpiderMonkeyEngine::getElement(ESObject object, uint32_t index, ESVal out) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj || !m_impl->usable(out))
        return false;
    ESContext owner = out->owner;
    JSAutoRealm realm(cx, obj);
    JS::RootedValue value(cx);
    if (!JS_GetElement(cx, obj, index, &value)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return m_impl->storeRead(out, owner, value);
}

bool CSpiderMonkeyEngine::setElement(ESObject object, uint32_t index, ESVal value) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj || !m_impl->usable(value))
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedValue v(cx, value->value);
    if (!JS_SetElement(cx, obj, index, v)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return true;
}

bool CSpiderMonkeyEngine::Impl::storeRead(ESVal out, ESContext owner, JS::HandleValue value) {
    // Script that ran for the read may have taken the slot's context down, and the slot with it.
    if (out->owner != owner || !usable(out))
        return false;
    out->value = value;
    return true;
}

bool CSpiderMonkeyEngine::Impl::keyUnits(JS::HandleId id, std::u16string& out) {
    if (id.isInt()) {
        std::string digits = std::to_string(id.toInt());
        out.assign(digits.begin(), digits.end());
        return true;
    }
    return id.isString() && readUnits(id.toString(), out);
}

// Enumeration: own enumerable properties with names, in the engine's order, each value read in a
// slot of its own that the procedure sees for the time of its call.

bool CSpiderMonkeyEngine::Impl::enumerateObject(ESObject object, const EnumVisitor& visit) {
    JS::RootedObject obj(cx, objectOf(object));
    if (!obj)
        return false;
    ESContext context = contextOf(obj);
    if (!context)
        context = engine->defaultContext();
    if (!usable(context))
        return false;
    JSAutoRealm realm(cx, obj);
    JS::Rooted<JS::IdVector> ids(cx, JS::IdVector(cx));
    if (!JS_Enumerate(cx, obj, &ids)) {
        reportFailure(context);
        return false;
    }
    ESVal slot = allocSlot(context);
    bool ok = true;
    JS::RootedId id(cx);
    JS::RootedValue value(cx);
    for (size_t i = 0; i < ids.length() && ok; ++i) {
        id = ids[i];
        if (!id.isInt() && !id.isString())
            continue;
        if (!JS_GetPropertyById(cx, obj, id, &value)) {
            reportFailure(context);
            ok = false;
            break;
        }
        slot->value = value;
        bool goOn = true;
        ok = runGuarded(context, [&] { goOn = visit(id, slot); });
        if (!goOn || !usable(context))
            break;
    }
    releaseSlot(slot);
    return ok;
}

bool CSpiderMonkeyEngine::enumerate(ESObject object, ESEnumProc proc, void* data) {
    if (!proc)
        return false;
    std::u16string name;
    return m_impl->enumerateObject(object, [&](JS::HandleId id, ESVal value) {
        if (!m_impl->keyUnits(id, name))
            return true;
        std::string bytes = SMTextFromUnits(name.data(), name.size(), true, nullptr);
        return proc(bytes.c_str(), static_cast<long>(bytes.size()), value, data);
    });
}

bool CSpiderMonkeyEngine::enumerateAtoms(ESObject object, ESEnumAtomProc proc, void* data) {
    ICore* core = m_impl->core;
    if (!proc || !core)
        return false;
    std::u16string name;
    return m_impl->enumerateObject(object, [&](JS::HandleId id, ESVal value) {
        if (!m_impl->keyUnits(id, name))
            return true;
        return proc(core->atomFromString(m_impl->hostText(name).c_str()), value, data);
    });
}

// Classes.

SMClassRec& CSpiderMonkeyEngine::Impl::classRec(const std::string& name) {
    auto& rec = classes[name];
    if (!rec) {
        rec = std::make_unique<SMClassRec>();
        rec->name = name;
        rec->jsClass.name = rec->name.c_str();
    }
    return *rec;
}

JSObject* CSpiderMonkeyEngine::Impl::prototypeOf(ESContext context, SMClassRec& rec) {
    ESVal& slot = context->prototypes[rec.name];
    if (slot)
        return &slot->value.get().toObject();
    // Each class has a prototype per context that names it, so that its objects print as
    // "[object Name]".
    JS::RootedObject proto(cx, JS_NewPlainObject(cx));
    JS::RootedId tag(cx, JS::GetWellKnownSymbolKey(cx, JS::SymbolCode::toStringTag));
    JS::RootedString name(cx, JS_NewStringCopyZ(cx, rec.name.c_str()));
    if (!proto || !name || !JS_DefinePropertyById(cx, proto, tag, name, JSPROP_READONLY))
        return nullptr;
    slot = allocSlot(context);
    slot->value.setObject(*proto);
    return proto;
}

void CSpiderMonkeyEngine::Impl::runClassInits(ESContext context, const std::string& className,
                                              ESObject object) {
    auto found = classes.find(className);
    if (found == classes.end())
        return;
    std::vector<ESClassInitProc> inits = found->second->inits;
    for (ESClassInitProc proc : inits)
        if (usable(context))
            runGuarded(context, [&] { proc(context, object); });
}

namespace {

// Names that newObject makes with the script's own constructor.
bool isScriptClass(const std::string& name) {
    static const char* const kNames[] = {"Object",  "Array", "Date",   "String", "Number",
                                         "Boolean", "Error", "RegExp", "Map",    "Set"};
    for (const char* known : kNames)
        if (name == known)
            return true;
    return false;
}

} // namespace

JSObject* CSpiderMonkeyEngine::Impl::construct(ESContext context, const std::string& name,
                                               const JS::HandleValueArray& args) {
    JS::RootedObject global(cx, globalOf(context));
    JS::RootedValue constructor(cx);
    JS::RootedObject made(cx);
    if (!JS_GetProperty(cx, global, name.c_str(), &constructor) || !constructor.isObject() ||
        !JS::IsConstructor(&constructor.toObject()) ||
        !JS::Construct(cx, constructor, args, &made)) {
        reportFailure(context);
        return nullptr;
    }
    return made;
}

JSObject* CSpiderMonkeyEngine::Impl::makeObject(ESContext context, const std::string& className) {
    JS::RootedObject object(cx);
    if (context->lastClass && context->lastClass->name == className) {
        JS::RootedObject proto(cx, &context->lastPrototype->value.get().toObject());
        object = JS_NewObjectWithGivenProto(cx, &context->lastClass->jsClass, proto);
    } else if (className == "Object") {
        object = JS_NewPlainObject(cx);
    } else if (isScriptClass(className)) {
        object = construct(context, className, JS::HandleValueArray::empty());
    } else {
        SMClassRec& rec = classRec(className);
        JS::RootedObject proto(cx, prototypeOf(context, rec));
        if (proto) {
            object = JS_NewObjectWithGivenProto(cx, &rec.jsClass, proto);
            context->lastClass = &rec;
            context->lastPrototype = context->prototypes[rec.name];
        }
    }
    if (!object)
        reportFailure(context);
    return object;
}

ESObject CSpiderMonkeyEngine::Impl::createObject(ESContext context, const std::string& className) {
    JSAutoRealm realm(cx, globalOf(context));
    JS::RootedObject object(cx, makeObject(context, className));
    return object ? handOut(object, context) : nullptr;
}

bool CSpiderMonkeyEngine::Impl::hasClassInits(ESContext context,
                                              const std::string& className) const {
    if (context->lastClass && context->lastClass->name == className)
        return !context->lastClass->inits.empty();
    auto found = classes.find(className);
    return found != classes.end() && !found->second->inits.empty();
}

ESObject CSpiderMonkeyEngine::newObjectFrom(ESContext context, const char* constructorName,
                                            ESVal argument) {
    Impl& impl = *m_impl;
    if (!impl.usable(context) || !constructorName || !impl.usable(argument))
        return nullptr;
    JSAutoRealm realm(impl.cx, impl.globalOf(context));
    JS::RootedValue value(impl.cx, argument->value);
    JS::RootedObject made(impl.cx,
                          impl.construct(context, constructorName, JS::HandleValueArray(value)));
    return made ? impl.handOut(made, context) : nullptr;
}

ESObject CSpiderMonkeyEngine::newObject(ESContext context, const char* className) {
    if (!m_impl->usable(context))
        return nullptr;
    std::string name = className && *className ? className : "Object";
    ESObject object = m_impl->createObject(context, name);
    if (object)
        m_impl->runClassInits(context, name, object);
    return object;
}

const char* CSpiderMonkeyEngine::className(ESObject object) {
    JSObject* obj = m_impl->objectOf(object);
    return obj ? JS::GetClass(obj)->name : "";
}

// Arrays and functions.

ESObject CSpiderMonkeyEngine::newArray(ESContext context, const ESVal* values, long count) {
    Impl& impl = *m_impl;
    if (!impl.usable(context) || count < 0)
        return nullptr;
    JSContext* cx = impl.cx;
    JSAutoRealm realm(cx, impl.globalOf(context));
    JS::RootedValueVector elements(cx);
    if (!elements.reserve(static_cast<size_t>(count))) {
        impl.reportFailure(context);
        return nullptr;
    }
    for (long i = 0; i < count; ++i) {
        ESVal value = values ? values[i] : nullptr;
        elements.infallibleAppend(impl.usable(value) ? value->value.get() : JS::UndefinedValue());
    }
    JS::RootedObject array(cx, JS::NewArrayObject(cx, elements));
    if (!array) {
        impl.reportFailure(context);
        return nullptr;
    }
    return impl.handOut(array, context);
}

bool CSpiderMonkeyEngine::isArray(ESObject object) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj)
        return false;
    JSAutoRealm realm(cx, obj);
    bool array = false;
    if (!JS::IsArrayObject(cx, obj, &array)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return array;
}

long CSpiderMonkeyEngine::arrayLength(ESObject object) {
    if (!isArray(object))
        return 0;
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    JSAutoRealm realm(cx, obj);
    uint32_t length = 0;
    if (!JS::GetArrayLength(cx, obj, &length)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return 0;
    }
    return static_cast<long>(length);
}

bool CSpiderMonkeyEngine::isFunction(ESObject object) {
    JSObject* obj = m_impl->objectOf(object);
    return obj && JS::IsCallable(obj);
}
