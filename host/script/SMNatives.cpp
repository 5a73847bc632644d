// Native members: methods, read-only properties, getters and setters, the dispatch from script
// into their procedures, and the arguments those procedures read.
#include "host/script/CSpiderMonkeyEngineImpl.h"

#include "frame/HostError.h"

#include <js/Array.h>
#include <js/PropertyAndElement.h>
#include <jsfriendapi.h>

#include <string>

SMNativeRec* CSpiderMonkeyEngine::Impl::nativeRec(const std::string& name, SMNativeRec::Kind kind,
                                                  void* proc) {
    auto key = std::make_pair(std::to_string(kind) + ":" + name, proc);
    auto& rec = natives[key];
    if (!rec) {
        rec = std::make_unique<SMNativeRec>();
        rec->impl = this;
        rec->name = name;
        rec->kind = kind;
        rec->proc = proc;
    }
    return rec.get();
}

JSObject* CSpiderMonkeyEngine::Impl::newNativeFunction(JS::HandleId id, SMNativeRec* native) {
    JSFunction* function = js::NewFunctionByIdWithReserved(cx, SMNativeDispatch, 0, 0, id);
    if (!function)
        return nullptr;
    JSObject* object = JS_GetFunctionObject(function);
    js::SetFunctionNativeReserved(object, 0, JS::PrivateValue(native));
    return object;
}

bool CSpiderMonkeyEngine::addMethod(ESObject object, const char* name, ESMethodProc proc) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj || !proc || !name)
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx);
    if (!m_impl->idFromName(name, &id))
        return false;
    SMNativeRec* native =
        m_impl->nativeRec(name, SMNativeRec::kMethod, reinterpret_cast<void*>(proc));
    JS::RootedObject function(cx, m_impl->newNativeFunction(id, native));
    // Methods are not enumerated, as the script's own built-in methods are not.
    if (!function || !JS_DefinePropertyById(cx, obj, id, function, JSPROP_READONLY)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return true;
}

bool CSpiderMonkeyEngine::addReadOnlyProperty(ESObject object, const char* name, ESVal value) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj || !m_impl->usable(value))
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx);
    JS::RootedValue v(cx, value->value);
    if (!m_impl->idFromName(name, &id) ||
        !JS_DefinePropertyById(cx, obj, id, v,
                               JSPROP_ENUMERATE | JSPROP_READONLY | JSPROP_PERMANENT)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return true;
}

bool CSpiderMonkeyEngine::addAccessor(ESObject object, const char* name, ESGetterProc getter,
                                      ESSetterProc setter) {
    JSContext* cx = m_impl->cx;
    JS::RootedObject obj(cx, m_impl->objectOf(object));
    if (!obj || !getter || !name)
        return false;
    JSAutoRealm realm(cx, obj);
    JS::RootedId id(cx);
    if (!m_impl->idFromName(name, &id))
        return false;
    SMNativeRec* get =
        m_impl->nativeRec(name, SMNativeRec::kGetter, reinterpret_cast<void*>(getter));
    SMNativeRec* set =
        m_impl->nativeRec(name, SMNativeRec::kSetter, reinterpret_cast<void*>(setter));
    JS::RootedObject getFunction(cx, m_impl->newNativeFunction(id, get));
    JS::RootedObject setFunction(cx, m_impl->newNativeFunction(id, set));
    if (!getFunction || !setFunction ||
        !JS_DefinePropertyById(cx, obj, id, getFunction, setFunction, JSPROP_ENUMERATE)) {
        m_impl->reportFailure(m_impl->contextOf(obj));
        return false;
    }
    return true;
}

// The dispatch.

namespace {

// Calls the procedure; a raised HostError becomes its code, anything else the general error.
bool callNative(const SMNativeRec& native, ESContext context, ESObject self, ESArgs args,
                ESVal result, ESVal assigned, int32_t& code) {
    code = 0;
    try {
        switch (native.kind) {
        case SMNativeRec::kMethod:
            return reinterpret_cast<ESMethodProc>(native.proc)(context, self, args, result);
        case SMNativeRec::kGetter:
            return reinterpret_cast<ESGetterProc>(native.proc)(context, self, result);
        case SMNativeRec::kSetter:
            return !native.proc ||
                   reinterpret_cast<ESSetterProc>(native.proc)(context, self, assigned);
        }
    } catch (const HostError& error) {
        code = error.code;
    } catch (...) {
        code = kESErrGeneral;
    }
    return false;
}

} // namespace

bool SMNativeDispatch(JSContext* cx, unsigned argc, JS::Value* vp) {
    JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
    auto* native =
        static_cast<SMNativeRec*>(js::GetFunctionNativeReserved(&args.callee(), 0).toPrivate());
    CSpiderMonkeyEngine::Impl& impl = *native->impl;
    ESContext context = impl.contextOf(&args.callee());
    if (!impl.usable(context)) {
        JS_ReportErrorASCII(cx, "The script context of %s is gone.", native->name.c_str());
        return false;
    }
    SMNativeScope scope(impl, context);
    impl.frames.push_back({context, nullptr});
    ESObject self = nullptr;
    if (args.thisv().isObject()) {
        JS::RootedObject thisObject(cx, &args.thisv().toObject());
        self = impl.handOut(thisObject, context);
    }
    ESVal result = impl.allocSlot(context);
    ESVal assigned = impl.allocSlot(context);
    assigned->value = args.get(0);
    _s_ESArgsRec callArgs{&args, native, context};
    int32_t code = 0;
    bool ok = callNative(*native, context, self, &callArgs, result, assigned, code);

    SMFrame frame = impl.frames.back();
    impl.frames.pop_back();
    JS::RootedValue value(cx, result->value);
    impl.releaseSlot(result);
    impl.releaseSlot(assigned);
    if (frame.exception) {
        // An exception the procedure threw wins over whatever it answered.
        JS::RootedValue exception(cx, frame.exception->value);
        impl.releaseSlot(frame.exception);
        JS_SetPendingException(cx, exception);
        return false;
    }
    if (!ok) {
        JS::RootedValue exception(cx);
        if (impl.exceptionForHostError(context, code, &exception))
            JS_SetPendingException(cx, exception);
        return false;
    }
    args.rval().set(native->kind == SMNativeRec::kSetter ? JS::UndefinedValue() : value.get());
    return true;
}

// Arguments.

int32_t CSpiderMonkeyEngine::argCount(ESArgs args) {
    return args ? static_cast<int32_t>(args->callArgs->length()) : 0;
}

bool CSpiderMonkeyEngine::getArg(ESArgs args, int32_t index, ESVal out) {
    if (!args || !m_impl->usable(out) || index < 0)
        return false;
    out->value = args->callArgs->get(static_cast<unsigned>(index));
    return true;
}

const char* CSpiderMonkeyEngine::methodName(ESArgs args) {
    return args ? args->native->name.c_str() : "";
}

bool CSpiderMonkeyEngine::parseArgs(ESArgs args, const ESParamRec* params, int32_t count,
                                    ESVal* out) {
    if (!args || count < 0 || (count > 0 && (!params || !out)))
        return false;
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    const JS::CallArgs& call = *args->callArgs;
    for (int32_t i = 0; i < count; ++i)
        setUndefined(out[i]);

    // The named form: one object, not an array or a function, with one of the names.
    JS::RootedObject bag(cx);
    if (call.length() == 1 && call[0].isObject() && count > 0) {
        JS::RootedObject candidate(cx, &call[0].toObject());
        JSAutoRealm realm(cx, candidate);
        bool array = false;
        if (!JS::IsArrayObject(cx, candidate, &array))
            return impl.captureIntoFrame(args->context);
        JS::RootedId id(cx);
        for (int32_t i = 0; i < count && !array && !JS::IsCallable(candidate) && !bag; ++i) {
            bool found = false;
            if (!impl.idFromName(params[i].name, &id) ||
                !JS_HasPropertyById(cx, candidate, id, &found))
                return impl.captureIntoFrame(args->context);
            if (found)
                bag = candidate;
        }
    }

    JS::RootedValue value(cx);
    JS::RootedId id(cx);
    for (int32_t i = 0; i < count; ++i) {
        if (bag) {
            JSAutoRealm realm(cx, bag);
            if (!impl.idFromName(params[i].name, &id) || !JS_GetPropertyById(cx, bag, id, &value))
                return impl.captureIntoFrame(args->context);
        } else {
            value = call.get(static_cast<unsigned>(i));
        }
        if (value.isUndefined() && params[i].required) {
            std::string message = "Missing argument " + std::string(params[i].name) + " of " +
                                  args->native->name + ".";
            raiseError(args->context, kESErrBadArgument, message.c_str());
            return false;
        }
        if (impl.usable(out[i]))
            out[i]->value = value;
    }
    return true;
}
