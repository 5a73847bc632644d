// Events, evaluation and calls into script, and the road of a script error: to the context's
// error handler and exception value, and on as a host error or a script exception.
#include "host/script/CSpiderMonkeyEngineImpl.h"
#include "host/script/IScriptConsole.h"
#include "host/script/SMText.h"

#include "frame/HostError.h"
#include "frame/UTF8.h"
#include "frame/host/ICore.h"

#include <js/CompilationAndEvaluation.h>
#include <js/ErrorReport.h>
#include <js/Exception.h>
#include <js/PropertyAndElement.h>
#include <js/Proxy.h>
#include <js/SourceText.h>
#include <js/WeakMap.h>

#include <algorithm>
#include <string>

namespace {

struct EngineError {
    int32_t number;
    const char16_t* name;
    const char16_t* message;
};

const EngineError kEngineErrors[] = {
    {kESErrBadArgument, u"ArgumentError", u"An argument is missing or of no use."},
    {kESErrSecurity, u"SecurityError", u"This is not allowed for the current event."},
    {kESErrDeadObject, u"DeadObjectError", u"The object is no longer there."},
    {kESErrGeneral, u"GeneralError", u"The operation failed."},
};

// An own data property of an object as UTF-8, read without running anything.
std::string ownDataText(JSContext* cx, JS::HandleObject object, const char* name) {
    JS::Rooted<mozilla::Maybe<JS::PropertyDescriptor>> desc(cx);
    if (!JS_GetOwnPropertyDescriptor(cx, object, name, &desc) || desc.isNothing() ||
        !desc->isDataDescriptor() || !desc->value().isString()) {
        JS_ClearPendingException(cx);
        return "";
    }
    JS::RootedString string(cx, desc->value().toString());
    JS::UniqueChars utf8 = JS_EncodeStringToUTF8(cx, string);
    return utf8 ? utf8.get() : "";
}

// What a thrown value says, read without side effects: "name: message" for an error object.
std::string describeException(JSContext* cx, const JS::ExceptionStack& stack, int32_t& line,
                              std::string& source) {
    std::string text;
    JS::ErrorReportBuilder report(cx);
    if (report.init(cx, stack, JS::ErrorReportBuilder::NoSideEffects)) {
        if (report.toStringResult())
            text = report.toStringResult().c_str();
        if (report.report()) {
            line = static_cast<int32_t>(report.report()->lineno);
            if (report.report()->filename)
                source = report.report()->filename;
        }
    }
    JS_ClearPendingException(cx);
    if (stack.exception().isObject()) {
        JS::RootedObject object(cx, &stack.exception().toObject());
        std::string_view className = JS::GetClass(object)->name;
        if (!js::IsProxy(object) && className.ends_with("Error")) {
            std::string name = ownDataText(cx, object, "name");
            std::string message = ownDataText(cx, object, "message");
            if (!name.empty())
                text = message.empty() ? name : name + ": " + message;
        }
    }
    return text;
}

} // namespace

// Errors.

JSObject* CSpiderMonkeyEngine::Impl::makeError(ESContext context, const std::u16string& name,
                                               const std::u16string& message, int32_t number) {
    if (!usable(context))
        return nullptr;
    JSAutoRealm realm(cx, globalOf(context));
    JS::RootedObject constructor(cx);
    JS::RootedString messageString(cx, newString(message));
    JS::RootedString nameString(cx, newString(name));
    if (!messageString || !nameString || !JS_GetClassObject(cx, JSProto_Error, &constructor)) {
        JS_ClearPendingException(cx);
        return nullptr;
    }
    JS::RootedValue constructorValue(cx, JS::ObjectValue(*constructor));
    JS::RootedValue messageValue(cx, JS::StringValue(messageString));
    JS::RootedObject error(cx);
    if (!JS::Construct(cx, constructorValue, JS::HandleValueArray(messageValue), &error) ||
        !JS_DefineProperty(cx, error, "name", nameString, 0) ||
        (number && !JS_DefineProperty(cx, error, "number", number, 0))) {
        JS_ClearPendingException(cx);
        return nullptr;
    }
    if (number) {
        _s_ESObjectRec* record = recordFor(error);
        if (record)
            record->errorNumber = number;
    }
    return error;
}

JSObject* CSpiderMonkeyEngine::Impl::makeNumberedError(ESContext context, int32_t number,
                                                       const char* message) {
    std::u16string name = u"HostError";
    std::string fallback = "The host failed with error " + std::to_string(number) + ".";
    std::u16string text(fallback.begin(), fallback.end());
    for (const EngineError& kind : kEngineErrors) {
        if (kind.number == number) {
            name = kind.name;
            text = kind.message;
        }
    }
    if (message)
        text = SMTextToUnits(message, -1, encodings);
    return makeError(context, name, text, number);
}

int32_t CSpiderMonkeyEngine::Impl::errorNumberOf(const JS::Value& exception) {
    if (!exception.isObject())
        return 0;
    JS::RootedObject object(cx, &exception.toObject());
    JSAutoRealm realm(cx, *weakMap);
    JS::RootedValue entry(cx);
    if (!JS::GetWeakMapEntry(cx, *weakMap, object, &entry) || !entry.isObject()) {
        JS_ClearPendingException(cx);
        return 0;
    }
    auto* record = JS::GetMaybePtrFromReservedSlot<_s_ESObjectRec>(&entry.toObject(), 0);
    return record ? record->errorNumber : 0;
}

void CSpiderMonkeyEngine::Impl::throwFromNative(ESContext context, JS::HandleValue value) {
    if (!frames.empty()) {
        SMFrame& frame = frames.back();
        if (!frame.exception)
            frame.exception = allocSlot(frame.context);
        frame.exception->value = value;
        return;
    }
    if (usable(context)) {
        context->exception->value = value;
        context->hasException = true;
    }
}

bool CSpiderMonkeyEngine::Impl::captureIntoFrame(ESContext context) {
    JS::RootedValue exception(cx);
    if (JS_IsExceptionPending(cx) && JS_GetPendingException(cx, &exception)) {
        JS_ClearPendingException(cx);
        throwFromNative(context, exception);
    }
    return false;
}

bool CSpiderMonkeyEngine::Impl::exceptionForHostError(ESContext context, int32_t code,
                                                      JS::MutableHandleValue out) {
    if (code && usable(context) && context->hasException) {
        // The script error that made a call from the procedure fail travels on as it was.
        if (code == kESErrScript || errorNumberOf(context->exception->value) == code) {
            out.set(context->exception->value);
            return true;
        }
    }
    JSObject* error = makeNumberedError(context, code ? code : kESErrGeneral, nullptr);
    if (!error)
        return false;
    out.setObject(*error);
    return true;
}

int32_t CSpiderMonkeyEngine::Impl::reportFailure(ESContext context) {
    if (!usable(context))
        context = engine->defaultContext();
    if (!usable(context)) {
        JS_ClearPendingException(cx);
        return 0;
    }
    JSAutoRealm realm(cx, globalOf(context));
    int32_t number = 0;
    int32_t line = 0;
    std::string source;
    std::string message = "The script was stopped or ran out of memory.";
    JS::ExceptionStack stack(cx);
    if (JS_IsExceptionPending(cx) && JS::StealPendingExceptionStack(cx, &stack)) {
        number = errorNumberOf(stack.exception());
        message = describeException(cx, stack, line, source);
        context->exception->value = stack.exception();
    } else {
        JS_ClearPendingException(cx);
        context->exception->value.setUndefined();
    }
    context->hasException = true;
    context->lastErrorSource = source;
    context->lastErrorLine = line;
    // An error inside the handler itself is only printed, so that it cannot call itself on.
    if (!context->errorHandler || context->inErrorHandler) {
        defaultReport(context, line, message);
        return number;
    }
    std::string text = hostText(UTF16FromUTF8(message.data(), message.size()));
    ESErrorHandlerProc handler = context->errorHandler;
    void* data = context->errorData;
    context->inErrorHandler = true;
    runGuarded(context, [&] { handler(context, number, line, text.c_str(), data); });
    context->inErrorHandler = false;
    return number;
}

void CSpiderMonkeyEngine::Impl::raiseFailure(ESContext context) {
    int32_t number = reportFailure(context);
    throw HostError{number ? number : kESErrScript};
}

void CSpiderMonkeyEngine::Impl::defaultReport(ESContext, int32_t line, const std::string& message) {
    consoleOut().println(line > 0 ? message + " (line " + std::to_string(line) + ")" : message);
}

void CSpiderMonkeyEngine::setErrorHandler(ESContext context, ESErrorHandlerProc proc, void* data) {
    if (!m_impl->usable(context))
        return;
    context->errorHandler = proc;
    context->errorData = data;
}

bool CSpiderMonkeyEngine::getErrorHandler(ESContext context, ESErrorHandlerProc* proc,
                                          void** data) {
    bool live = m_impl->usable(context);
    if (proc)
        *proc = live ? context->errorHandler : nullptr;
    if (data)
        *data = live ? context->errorData : nullptr;
    return live && context->errorHandler;
}

bool CSpiderMonkeyEngine::exceptionValue(ESContext context, ESVal out) {
    if (!m_impl->usable(context) || !context->hasException || !m_impl->usable(out))
        return false;
    out->value = context->exception->value;
    return true;
}

void CSpiderMonkeyEngine::clearException(ESContext context) {
    if (!m_impl->usable(context))
        return;
    context->exception->value.setUndefined();
    context->hasException = false;
}

ESObject CSpiderMonkeyEngine::newError(ESContext context, const char* name, const char* message) {
    Impl& impl = *m_impl;
    JS::RootedObject error(impl.cx, impl.makeError(context, SMTextToUnits(name, -1, impl.encodings),
                                                   SMTextToUnits(message, -1, impl.encodings), 0));
    return error ? impl.handOut(error, context) : nullptr;
}

void CSpiderMonkeyEngine::throwValue(ESContext context, ESVal value) {
    if (!m_impl->usable(value))
        return;
    JS::RootedValue v(m_impl->cx, value->value);
    m_impl->throwFromNative(context, v);
}

void CSpiderMonkeyEngine::raiseError(ESContext context, int32_t number, const char* message) {
    JSObject* error = m_impl->makeNumberedError(context, number, message);
    if (!error)
        return;
    JS::RootedValue v(m_impl->cx, JS::ObjectValue(*error));
    m_impl->throwFromNative(context, v);
}

// Calls and evaluation.

bool CSpiderMonkeyEngine::Impl::callValue(ESContext context, JS::HandleValue thisValue,
                                          JS::HandleValue function, const ESVal* args, int32_t argc,
                                          ESVal result) {
    JS::RootedValueVector arguments(cx);
    for (int32_t i = 0; i < argc; ++i) {
        ESVal arg = args ? args[i] : nullptr;
        if (!arguments.append(usable(arg) ? arg->value.get() : JS::UndefinedValue()))
            raiseFailure(context);
    }
    JS::RootedValue value(cx);
    if (!JS::Call(cx, thisValue, function, arguments, &value))
        raiseFailure(context);
    if (usable(result))
        result->value = value;
    return true;
}

bool CSpiderMonkeyEngine::callMethod(ESObject self, const char* name, const ESVal* args,
                                     int32_t argc, ESVal result) {
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    JS::RootedObject object(cx, impl.objectOf(self));
    if (!object || argc < 0)
        return false;
    ESContext context = impl.contextOf(object);
    if (!context)
        context = defaultContext();
    if (!impl.usable(context))
        return false;
    SMNativeScope scope(impl, context);
    JSAutoRealm realm(cx, object);
    JS::RootedId id(cx);
    JS::RootedValue function(cx);
    if (!impl.idFromName(name, &id) || !JS_GetPropertyById(cx, object, id, &function))
        impl.raiseFailure(context);
    if (!function.isObject() || !JS::IsCallable(&function.toObject()))
        return false;
    JS::RootedValue thisValue(cx, JS::ObjectValue(*object));
    return impl.callValue(context, thisValue, function, args, argc, result);
}

bool CSpiderMonkeyEngine::callFunction(ESObject self, ESVal function, const ESVal* args,
                                       int32_t argc, ESVal result) {
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    if (!impl.usable(function) || argc < 0 || !function->value.get().isObject())
        return false;
    JS::RootedObject callee(cx, &function->value.get().toObject());
    if (!JS::IsCallable(callee))
        return false;
    JS::RootedObject thisObject(cx, impl.objectOf(self));
    ESContext context = impl.contextOf(callee);
    if (!context)
        context = function->owner;
    if (!impl.usable(context))
        return false;
    SMNativeScope scope(impl, context);
    JSAutoRealm realm(cx, callee);
    JS::RootedValue thisValue(cx, thisObject ? JS::ObjectValue(*thisObject) : JS::UndefinedValue());
    JS::RootedValue functionValue(cx, JS::ObjectValue(*callee));
    return impl.callValue(context, thisValue, functionValue, args, argc, result);
}

void CSpiderMonkeyEngine::evaluate(ESContext context, ESEvent event, const char* source,
                                   long length, ESVal result) {
    evaluateNamed(context, event, source, length, result, std::string());
}

std::pair<std::string, int32_t> CSpiderMonkeyEngine::lastErrorLocation(ESContext context) const {
    if (!m_impl->usable(context))
        return {std::string(), 0};
    return {context->lastErrorSource, context->lastErrorLine};
}

void CSpiderMonkeyEngine::evaluateNamed(ESContext context, ESEvent event, const char* source,
                                        long length, ESVal result, const std::string& sourceName) {
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    if (!impl.usable(context))
        throw HostError{kESErrScript};
    SMNativeScope scope(impl, context);
    // The given event is the current one for the time of the run.
    struct Override {
        ESContext context;
        ESEvent event;
        ~Override() {
            if (event && !context->dead)
                context->eventOverrides.pop_back();
        }
    } override{context, impl.eventContext(event) == context ? event : nullptr};
    if (override.event)
        context->eventOverrides.push_back(event);

    std::u16string units = SMTextToUnits(source, length, impl.encodings);
    JSAutoRealm realm(cx, impl.globalOf(context));
    JS::CompileOptions options(cx);
    options.setFileAndLine(sourceName.empty() ? context->name.c_str() : sourceName.c_str(), 1);
    JS::SourceText<char16_t> text;
    JS::RootedValue value(cx);
    if (!text.init(cx, units.data(), units.size(), JS::SourceOwnership::Borrowed) ||
        !JS::Evaluate(cx, options, text, &value))
        impl.raiseFailure(context);
    if (impl.usable(result))
        result->value = value;
}

// Events.

ESContext CSpiderMonkeyEngine::Impl::eventContext(ESEvent event) const {
    if (!event)
        return nullptr;
    for (auto& context : contexts) {
        if (context->dead)
            continue;
        for (auto& open : context->events)
            if (open.get() == event)
                return context.get();
    }
    return nullptr;
}

ESEvent CSpiderMonkeyEngine::openEvent(ESContext context, const char* type, const char* name) {
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    if (!impl.usable(context))
        return nullptr;
    JSAutoRealm realm(cx, impl.globalOf(context));
    SMClassRec& eventClass = impl.classRec("Event");
    JS::RootedObject proto(cx, impl.prototypeOf(context, eventClass));
    JS::RootedObject object(cx);
    if (proto)
        object = JS_NewObjectWithGivenProto(cx, &eventClass.jsClass, proto);
    std::u16string typeUnits = SMTextToUnits(type ? type : "", -1, impl.encodings);
    std::u16string nameUnits = SMTextToUnits(name ? name : "", -1, impl.encodings);
    JS::RootedString typeString(cx, impl.newString(typeUnits));
    JS::RootedString nameString(cx, impl.newString(nameUnits));
    if (!object || !typeString || !nameString ||
        !JS_DefineProperty(cx, object, "type", typeString, JSPROP_ENUMERATE) ||
        !JS_DefineProperty(cx, object, "name", nameString, JSPROP_ENUMERATE) ||
        !JS_DefineProperty(cx, object, "target", JS::NullHandleValue, JSPROP_ENUMERATE) ||
        !JS_DefineProperty(cx, object, "result", JS::UndefinedHandleValue, JSPROP_ENUMERATE)) {
        impl.reportFailure(context);
        return nullptr;
    }
    auto event = std::make_unique<_s_ESEventRec>();
    event->context = context;
    event->type = impl.hostText(typeUnits);
    event->name = impl.hostText(nameUnits);
    event->object = impl.allocSlot(context);
    event->object->value.setObject(*object);
    context->events.push_back(std::move(event));
    return context->events.back().get();
}

void CSpiderMonkeyEngine::closeEvent(ESEvent event) {
    ESContext context = m_impl->eventContext(event);
    if (!context)
        return;
    std::erase(context->eventOverrides, event);
    m_impl->releaseSlot(event->object);
    std::erase_if(context->events, [&](const auto& open) { return open.get() == event; });
}

ESObject CSpiderMonkeyEngine::eventObject(ESEvent event) {
    ESContext context = m_impl->eventContext(event);
    return context ? readObject(event->object) : nullptr;
}

void CSpiderMonkeyEngine::setEventAs(ESEvent event, const char* asType, const char* asName) {
    if (!m_impl->eventContext(event))
        return;
    event->asType = asType ? m_impl->hostText(SMTextToUnits(asType, -1, m_impl->encodings)) : "";
    event->asName = asName ? m_impl->hostText(SMTextToUnits(asName, -1, m_impl->encodings)) : "";
}

ESEvent CSpiderMonkeyEngine::currentEvent(ESContext context) {
    if (!m_impl->usable(context))
        return nullptr;
    if (!context->eventOverrides.empty())
        return context->eventOverrides.back();
    return context->events.empty() ? nullptr : context->events.back().get();
}

const char* CSpiderMonkeyEngine::eventType(ESEvent event) {
    if (!m_impl->eventContext(event))
        return "";
    return event->asType.empty() ? event->type.c_str() : event->asType.c_str();
}

const char* CSpiderMonkeyEngine::eventName(ESEvent event) {
    if (!m_impl->eventContext(event))
        return "";
    return event->asName.empty() ? event->name.c_str() : event->asName.c_str();
}

bool CSpiderMonkeyEngine::isCurrentEventOneOf(ESContext context, const ESEventPair* pairs) {
    ESEvent event = currentEvent(context);
    ICore* core = m_impl->core;
    if (!event || !core || !pairs)
        return false;
    std::string_view type = eventType(event);
    std::string_view name = eventName(event);
    for (const ESEventPair* pair = pairs; pair->type != kQsNullAtom || pair->name != kQsNullAtom;
         ++pair) {
        if (type == core->atomGetString(pair->type) && name == core->atomGetString(pair->name))
            return true;
    }
    return false;
}
