// What every context of the viewer has before the plug-in sees it: console, app, event, the
// named text providers, and a Date that reads the engine's own time texts.
#include "host/script/CSpiderMonkeyEngineImpl.h"
#include "host/script/IScriptConsole.h"
#include "host/script/SMText.h"

#include "frame/UTF8.h"
#include "frame/host/IUserInterface.h"

#include <js/CallAndConstruct.h>
#include <js/PropertyAndElement.h>
#include <jsfriendapi.h>

#include <cstdio>
#include <string>

namespace {

class StdoutConsole final : public IScriptConsole {
public:
    void println(const std::string& line) override {
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);
    }
    void show() override {}
    void clear() override {}
};

/// Slots of a native procedure that go when it returns.
class ProcSlots {
public:
    ProcSlots(CSpiderMonkeyEngine& engine, ESContext context, int count) : m_engine(engine) {
        for (int i = 0; i < count; ++i)
            m_slots.push_back(engine.newVal(context));
    }
    ~ProcSlots() {
        for (ESVal slot : m_slots)
            m_engine.freeVal(slot);
    }
    ProcSlots(const ProcSlots&) = delete;
    ProcSlots& operator=(const ProcSlots&) = delete;
    ESVal* data() { return m_slots.data(); }
    ESVal operator[](size_t i) const { return m_slots[i]; }

private:
    CSpiderMonkeyEngine& m_engine;
    std::vector<ESVal> m_slots;
};

CSpiderMonkeyEngine& engineOf(ESContext context) {
    return *context->impl->engine;
}

// The text of an argument as UTF-8; empty when it is undefined.
std::string argumentUTF8(CSpiderMonkeyEngine& engine, ESVal value) {
    QsTextRec text;
    if (engine.valType(value) == kESValUndefined || !engine.readQsText(value, &text))
        return "";
    return UTF8FromUTF16(text.units.data(), text.units.size());
}

int32_t argumentInt(CSpiderMonkeyEngine& engine, ESVal value, int32_t fallback) {
    int32_t number = fallback;
    if (engine.valType(value) != kESValUndefined && !engine.readInt(value, number))
        number = fallback;
    return number;
}

// console.

bool consolePrintln(ESContext context, ESObject, ESArgs args, ESVal) {
    CSpiderMonkeyEngine& engine = engineOf(context);
    static const ESParamRec kParams[] = {{"cMessage", false}};
    ProcSlots slots(engine, context, 1);
    if (!engine.parseArgs(args, kParams, 1, slots.data()))
        return false;
    QsTextRec text;
    if (!engine.readQsText(slots[0], &text))
        return false;
    context->impl->consoleOut().println(UTF8FromUTF16(text.units.data(), text.units.size()));
    return true;
}

bool consoleShow(ESContext context, ESObject, ESArgs, ESVal) {
    context->impl->consoleOut().show();
    return true;
}

bool consoleClear(ESContext context, ESObject, ESArgs, ESVal) {
    context->impl->consoleOut().clear();
    return true;
}

// app.

// The alert's kind for its icon number: error, warning, question, status.
int32_t alertKind(int32_t icon) {
    switch (icon) {
    case 0:
        return 1;
    case 1:
    case 3:
        return 3;
    case 2:
        return 2;
    default:
        return 0;
    }
}

struct AlertButtons {
    const char* labels[3];
    int32_t results[3]; // what the script gets for each: 1 OK, 2 Cancel, 3 No, 4 Yes
};

const AlertButtons& alertButtons(int32_t type) {
    static const AlertButtons kOk = {{"OK", nullptr, nullptr}, {1, 0, 0}};
    static const AlertButtons kOkCancel = {{"OK", "Cancel", nullptr}, {1, 2, 0}};
    static const AlertButtons kYesNo = {{"Yes", "No", nullptr}, {4, 3, 0}};
    static const AlertButtons kYesNoCancel = {{"Yes", "No", "Cancel"}, {4, 3, 2}};
    switch (type) {
    case 1:
        return kOkCancel;
    case 2:
        return kYesNo;
    case 3:
        return kYesNoCancel;
    default:
        return kOk;
    }
}

bool appAlert(ESContext context, ESObject, ESArgs args, ESVal result) {
    CSpiderMonkeyEngine& engine = engineOf(context);
    static const ESParamRec kParams[] = {
        {"cMsg", true}, {"nIcon", false}, {"nType", false}, {"cTitle", false}};
    ProcSlots slots(engine, context, 4);
    if (!engine.parseArgs(args, kParams, 4, slots.data()))
        return false;
    std::string message = argumentUTF8(engine, slots[0]);
    const AlertButtons& buttons = alertButtons(argumentInt(engine, slots[2], 0));
    IUserInterface* ui = context->impl->ui;
    int32_t answer = buttons.results[0];
    if (ui) {
        int32_t kind = alertKind(argumentInt(engine, slots[1], 0));
        int32_t pressed = ui->alert(kind, message.c_str(), buttons.labels[0], buttons.labels[1],
                                    buttons.labels[2], false);
        answer = pressed >= 1 && pressed <= 3 ? buttons.results[pressed - 1] : 0;
    } else {
        std::string title = argumentUTF8(engine, slots[3]);
        context->impl->consoleOut().println(title.empty() ? message : title + ": " + message);
    }
    engine.setNumber(result, answer);
    return true;
}

bool appResponse(ESContext context, ESObject, ESArgs args, ESVal result) {
    CSpiderMonkeyEngine& engine = engineOf(context);
    static const ESParamRec kParams[] = {{"cQuestion", true},
                                         {"cTitle", false},
                                         {"cDefault", false},
                                         {"bPassword", false},
                                         {"cLabel", false}};
    ProcSlots slots(engine, context, 5);
    if (!engine.parseArgs(args, kParams, 5, slots.data()))
        return false;
    IUserInterface* ui = context->impl->ui;
    std::optional<std::string> answer;
    if (ui) {
        std::string question = argumentUTF8(engine, slots[0]);
        std::string title = argumentUTF8(engine, slots[1]);
        std::string fallback = argumentUTF8(engine, slots[2]);
        answer = ui->response(question.c_str(), title.c_str(), fallback.c_str(),
                              engine.readBool(slots[3]));
    }
    engine.setNull(result);
    if (answer) {
        QsTextRec text{UTF16FromUTF8(answer->data(), answer->size())};
        engine.setQsText(result, &text);
    }
    return true;
}

// event.

bool eventGetter(ESContext context, ESObject, ESVal result) {
    CSpiderMonkeyEngine& engine = engineOf(context);
    ESEvent event = engine.currentEvent(context);
    if (event)
        engine.setObject(result, engine.eventObject(event));
    return true;
}

// Date. The engine's parser rejects the bare "Z" zone that the plug-in's time texts end with
// ("1 January 2004 12:00:00 Z"); the constructor and Date.parse read it as "GMT" instead.

JSString* withZoneSpelledOut(JSContext* cx, JS::HandleString text) {
    size_t length = JS_GetStringLength(text);
    std::u16string units(length, u'\0');
    if (!JS_CopyStringChars(cx, mozilla::Range<char16_t>(units.data(), length), text))
        return nullptr;
    size_t end = units.find_last_not_of(u" \t");
    if (end == std::u16string::npos || end == 0 || (units[end] != u'Z' && units[end] != u'z') ||
        (units[end - 1] != u' ' && units[end - 1] != u'\t'))
        return text;
    units.replace(end, 1, u"GMT");
    return JS_NewUCStringCopyN(cx, units.data(), units.size());
}

bool copyArgumentsFixingZone(JSContext* cx, const JS::CallArgs& args,
                             JS::MutableHandleValueVector out) {
    if (!out.append(args.array(), args.length()))
        return false;
    if (args.length() == 1 && args[0].isString()) {
        JS::RootedString text(cx, args[0].toString());
        JSString* fixed = withZoneSpelledOut(cx, text);
        if (!fixed)
            return false;
        out[0].setString(fixed);
    }
    return true;
}

bool dateConstructor(JSContext* cx, unsigned argc, JS::Value* vp) {
    JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
    JS::RootedValue original(cx, js::GetFunctionNativeReserved(&args.callee(), 0));
    if (!args.isConstructing())
        return JS::Call(cx, JS::UndefinedHandleValue, original, JS::HandleValueArray::empty(),
                        args.rval());
    JS::RootedValueVector arguments(cx);
    if (!copyArgumentsFixingZone(cx, args, &arguments))
        return false;
    JS::RootedObject newTarget(cx, &args.newTarget().toObject());
    JS::RootedObject date(cx);
    if (!JS::Construct(cx, original, newTarget, arguments, &date))
        return false;
    args.rval().setObject(*date);
    return true;
}

bool dateParse(JSContext* cx, unsigned argc, JS::Value* vp) {
    JS::CallArgs args = JS::CallArgsFromVp(argc, vp);
    JS::RootedValue original(cx, js::GetFunctionNativeReserved(&args.callee(), 0));
    JS::RootedValueVector arguments(cx);
    return copyArgumentsFixingZone(cx, args, &arguments) &&
           JS::Call(cx, args.thisv(), original, arguments, args.rval());
}

// Named text providers: an object whose properties are looked up in the provider as they are
// first read.

bool resolveProviderText(JSContext* cx, JS::HandleObject object, JS::HandleId id, bool* resolved) {
    *resolved = false;
    auto* provider = JS::GetMaybePtrFromReservedSlot<SMProviderRec>(object, 0);
    if (!provider || !id.isString())
        return true;
    std::u16string key;
    if (!provider->impl->readUnits(id.toString(), key))
        return false;
    QsTextRec text;
    bool found = false;
    try {
        found = provider->proc(provider->impl->hostText(key).c_str(), &text);
    } catch (...) {
        found = false;
    }
    if (!found)
        return true;
    JS::RootedString string(cx, JS_NewUCStringCopyN(cx, text.units.data(), text.units.size()));
    if (!string || !JS_DefinePropertyById(cx, object, id, string,
                                          JSPROP_ENUMERATE | JSPROP_READONLY | JSPROP_PERMANENT))
        return false;
    *resolved = true;
    return true;
}

const JSClassOps kProviderOps = {nullptr, nullptr, nullptr, nullptr, resolveProviderText,
                                 nullptr, nullptr, nullptr, nullptr, nullptr};
const JSClass kProviderClass = {
    "StringProvider", JSCLASS_HAS_RESERVED_SLOTS(1), &kProviderOps, nullptr, nullptr, nullptr};

} // namespace

IScriptConsole& CSpiderMonkeyEngine::Impl::consoleOut() {
    static StdoutConsole standardOutput;
    return console ? *console : standardOutput;
}

bool CSpiderMonkeyEngine::Impl::installDateParsing(ESContext context) {
    JSAutoRealm realm(cx, globalOf(context));
    JS::RootedObject global(cx, globalOf(context));
    JS::RootedValue original(cx);
    JS::RootedValue originalParse(cx);
    JS::RootedValue proto(cx);
    if (!JS_GetProperty(cx, global, "Date", &original) || !original.isObject())
        return false;
    JS::RootedObject date(cx, &original.toObject());
    if (!JS_GetProperty(cx, date, "prototype", &proto) ||
        !JS_GetProperty(cx, date, "parse", &originalParse) || !proto.isObject())
        return false;
    JSFunction* constructor =
        js::NewFunctionWithReserved(cx, dateConstructor, 7, JSFUN_CONSTRUCTOR, "Date");
    JSFunction* parse = js::NewFunctionWithReserved(cx, dateParse, 1, 0, "parse");
    if (!constructor || !parse)
        return false;
    JS::RootedObject wrapper(cx, JS_GetFunctionObject(constructor));
    JS::RootedObject parseObject(cx, JS_GetFunctionObject(parse));
    js::SetFunctionNativeReserved(wrapper, 0, original);
    js::SetFunctionNativeReserved(parseObject, 0, originalParse);
    JS::RootedObject protoObject(cx, &proto.toObject());
    JS::RootedValue utc(cx);
    JS::RootedValue now(cx);
    return JS_GetProperty(cx, date, "UTC", &utc) && JS_GetProperty(cx, date, "now", &now) &&
           JS_DefineProperty(cx, wrapper, "prototype", protoObject,
                             JSPROP_READONLY | JSPROP_PERMANENT) &&
           JS_DefineProperty(cx, wrapper, "parse", parseObject, 0) &&
           JS_DefineProperty(cx, wrapper, "UTC", utc, 0) &&
           JS_DefineProperty(cx, wrapper, "now", now, 0) &&
           JS_DefineProperty(cx, protoObject, "constructor", wrapper, 0) &&
           JS_DefineProperty(cx, global, "Date", wrapper, 0);
}

bool CSpiderMonkeyEngine::Impl::installProvider(ESContext context, SMProviderRec& provider) {
    JSAutoRealm realm(cx, globalOf(context));
    JS::RootedObject global(cx, globalOf(context));
    JS::RootedObject object(cx, JS_NewObjectWithGivenProto(cx, &kProviderClass, nullptr));
    JS::RootedId id(cx);
    if (!object || !idFromName(provider.name.c_str(), &id)) {
        JS_ClearPendingException(cx);
        return false;
    }
    JS::SetReservedSlot(object, 0, JS::PrivateValue(&provider));
    if (!JS_DefinePropertyById(cx, global, id, object, JSPROP_READONLY)) {
        reportFailure(context);
        return false;
    }
    return true;
}

bool CSpiderMonkeyEngine::Impl::installHostObjects(ESContext context) {
    CSpiderMonkeyEngine& e = *engine;
    SMNativeScope scope(*this, context);
    if (!installDateParsing(context)) {
        JS_ClearPendingException(cx);
        return false;
    }
    ESObject global = e.globalObject(context);
    ESObject console = createObject(context, "Console");
    ESObject app = createObject(context, "App");
    if (!global || !console || !app)
        return false;
    ProcSlots values(e, context, 2);
    e.setObject(values[0], console);
    e.setObject(values[1], app);
    e.setObject(context->app, app);
    bool ok =
        e.addMethod(console, "println", consolePrintln) &&
        e.addMethod(console, "show", consoleShow) && e.addMethod(console, "clear", consoleClear) &&
        e.addMethod(app, "alert", appAlert) && e.addMethod(app, "response", appResponse) &&
        e.setProperty(global, "console", values[0]) && e.setProperty(global, "app", values[1]) &&
        e.addAccessor(global, "event", eventGetter, nullptr);
    for (auto& provider : providers)
        ok = ok && installProvider(context, *provider);
    if (ok)
        runClassInits(context, "App", app);
    return ok;
}
