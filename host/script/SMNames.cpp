// Held names: property keys made once from text and kept by a context, the operations that take
// them, the enumeration that hands them out, and objects made with all their properties at once.
#include "host/script/CSpiderMonkeyEngineImpl.h"
#include "host/script/SMText.h"

#include <js/PropertyAndElement.h>

#include <algorithm>

_s_ESNameRec* CSpiderMonkeyEngine::Impl::liveName(ESName name) const {
    if (!name || !name->context || name->context->impl != this || !usable(name->context))
        return nullptr;
    return name;
}

void CSpiderMonkeyEngine::Impl::endContextNames(ESContext context) {
    std::vector<ESContextTermProc> terms = contextTerms;
    for (ESContextTermProc proc : terms) {
        try {
            proc(context);
        } catch (...) {
            // The context goes all the same.
        }
    }
    context->names.clear();
}

size_t CSpiderMonkeyEngine::heldNameCount() const {
    size_t count = 0;
    for (auto& context : m_impl->contexts)
        if (!context->dead)
            count += context->names.size();
    return count;
}

void CSpiderMonkeyEngine::registerContextTerm(ESContextTermProc proc) {
    auto& terms = m_impl->contextTerms;
    if (proc && std::find(terms.begin(), terms.end(), proc) == terms.end())
        terms.push_back(proc);
}

ESName CSpiderMonkeyEngine::holdName(ESContext context, const char* text, long length) {
    Impl& impl = *m_impl;
    if (!impl.usable(context) || !text)
        return nullptr;
    JSContext* cx = impl.cx;
    std::u16string units = SMTextToUnits(text, length, impl.encodings);
    JSAutoRealm realm(cx, impl.globalOf(context));
    JS::RootedId id(cx);
    if (!JS_CharsToId(cx, JS::TwoByteChars(units.data(), units.size()), &id)) {
        JS_ClearPendingException(cx);
        return nullptr;
    }
    auto& name = context->names[id.asRawBits()];
    if (!name) {
        name = std::make_unique<_s_ESNameRec>();
        name->id = id;
        name->context = context;
        name->key = id.asRawBits();
    }
    ++name->holds;
    return name.get();
}

void CSpiderMonkeyEngine::releaseName(ESName name) {
    if (!m_impl->liveName(name) || --name->holds > 0)
        return;
    // The last hold: the record goes, and the handle with it.
    name->context->names.erase(name->key);
}

bool CSpiderMonkeyEngine::readName(ESName name, bool ucs, std::string& out) {
    out.clear();
    Impl& impl = *m_impl;
    if (!impl.liveName(name))
        return false;
    JS::RootedId id(impl.cx, name->id);
    std::u16string units;
    if (!impl.keyUnits(id, units))
        return false;
    out = SMTextFromUnits(units.data(), units.size(), ucs, impl.encodings);
    return true;
}

bool CSpiderMonkeyEngine::getNamed(ESObject object, ESName name, ESVal out) {
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    JS::RootedObject obj(cx, impl.objectOf(object));
    if (!obj || !impl.liveName(name) || !impl.usable(out))
        return false;
    ESContext owner = out->owner;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx, name->id);
    JS::RootedValue value(cx);
    if (!JS_GetPropertyById(cx, obj, id, &value)) {
        impl.reportFailure(impl.contextOf(obj));
        return false;
    }
    return impl.storeRead(out, owner, value);
}

bool CSpiderMonkeyEngine::setNamed(ESObject object, ESName name, ESVal value) {
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    JS::RootedObject obj(cx, impl.objectOf(object));
    if (!obj || !impl.liveName(name) || !impl.usable(value))
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx, name->id);
    JS::RootedValue v(cx, value->value);
    if (!JS_SetPropertyById(cx, obj, id, v)) {
        impl.reportFailure(impl.contextOf(obj));
        return false;
    }
    return true;
}

bool CSpiderMonkeyEngine::enumerateNamed(ESObject object, ESContext context, bool ucs,
                                         ESEnumNameProc proc, void* data) {
    Impl& impl = *m_impl;
    if (!proc)
        return false;
    // Names of a context that is gone are never found.
    const auto* held = impl.usable(context) ? &context->names : nullptr;
    std::u16string units;
    return impl.enumerateObject(object, [&](JS::HandleId id, ESVal value) {
        if (held) {
            auto found = held->find(id.asRawBits());
            if (found != held->end())
                return proc(found->second.get(), nullptr, 0, value, data);
        }
        if (!impl.keyUnits(id, units))
            return true;
        std::string text = SMTextFromUnits(units.data(), units.size(), ucs, impl.encodings);
        return proc(nullptr, text.c_str(), static_cast<long>(text.size()), value, data);
    });
}

bool CSpiderMonkeyEngine::newObjectWithProperties(ESContext context, const char* className,
                                                  const ESName* names, const ESVal* values,
                                                  long count, ESVal out) {
    Impl& impl = *m_impl;
    if (!impl.usable(context) || !impl.usable(out) || count < 0 || (count > 0 && !names))
        return false;
    for (long i = 0; i < count; ++i)
        if (!names[i] || names[i]->context != context)
            return false;
    JSContext* cx = impl.cx;
    std::string name = className && *className ? className : "Object";
    JSAutoRealm realm(cx, impl.globalOf(context));
    JS::RootedObject object(cx, impl.makeObject(context, name));
    if (!object)
        return false;
    // Only initialisers need a handle; without any, the object never gets one.
    if (impl.hasClassInits(context, name)) {
        ESObject handle = impl.handOut(object, context);
        if (!handle)
            return false;
        impl.runClassInits(context, name, handle);
        if (!impl.usable(context))
            return false;
    }
    JS::RootedId id(cx);
    JS::RootedValue value(cx);
    for (long i = 0; i < count; ++i) {
        // The context, and its names with it, may have gone in a setter that ran script.
        if (!impl.usable(context))
            return false;
        ESVal slot = values ? values[i] : nullptr;
        id = names[i]->id;
        value = impl.usable(slot) ? slot->value.get() : JS::UndefinedValue();
        if (!JS_SetPropertyById(cx, object, id, value)) {
            impl.reportFailure(context);
            return false;
        }
    }
    if (!impl.usable(out))
        return false;
    out->value.setObject(*object);
    return true;
}
