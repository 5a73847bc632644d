// Guarded calls into script, and safe strings.
#include "values/CESCalls.h"
#include "values/CESEventScope.h"
#include "values/CESInternal.h"

#include "frame/QsCore.h"

#include <cstring>
#include <string_view>

using namespace CES;
using CES::detail::engine;

bool ESObjectSafeCallWithDkDoc(ESObject object, DkDoc doc, const char* name, int32_t argc,
                               const ESVal* argv, ESVal result) {
    IScriptEngine& es = engine();
    ESContext context = es.objectContext(object);
    if (!context)
        return false;
    int32_t code = 0;
    bool called = false;
    {
        EventScope event(context, "Internal", "Exec");
        event.actAs("Internal", "Exec");
        HostFrame frame;
        code = frame.run([&] {
            ESObject target = doc ? es.documentObject(doc) : nullptr;
            Val eventObject = event.object();
            if (target && eventObject.object()) {
                Val targetValue(target);
                es.setProperty(eventObject.object(), "target", targetValue.slot());
            }
            called = es.callMethod(object, name, argv, argc, result);
        });
    }
    if (code)
        raiseHostError(code);
    return called;
}

bool ESObjectSafeCall(ESObject object, const char* name, int32_t argc, const ESVal* argv,
                      ESVal result) {
    bool called = false;
    HostFrame frame;
    int32_t code = frame.run(
        [&] { called = ESObjectSafeCallWithDkDoc(object, nullptr, name, argc, argv, result); });
    return code == 0 && called;
}

CEStr ESObjectSafeToSource(ESObject object) {
    IScriptEngine& es = engine();
    ESContext context = es.objectContext(object);
    if (!context)
        return CEStr();
    Val source(context);
    bool called = false;
    HostFrame frame;
    if (frame.run([&] { called = es.callMethod(object, "toSource", nullptr, 0, source.slot()); }) ||
        !called || source.type() != kESValString)
        return CEStr();
    Context::Buffer text = source.getUCBuffer();
    CEStr out = CEStr::adopt(EStrNewSize(0, kEStrUCS));
    EStrSetBytesWithSize(out, text.get(), text.size(), kEStrUCS);
    return out;
}

bool ESValIsSafeString(ESVal value) {
    IScriptEngine& es = engine();
    ESObject object = es.readObject(value);
    void* atom = nullptr;
    if (!object || std::string_view(es.className(object)) != "String" ||
        !es.getPrivate(object, "SafeString", &atom))
        return false;
    std::string text;
    if (!es.readString(value, false, text))
        return false;
    return text == QsAtomGetString(static_cast<QsAtom>(reinterpret_cast<uintptr_t>(atom)));
}

Val ESValCreateSafeString(ESContext context, const _EStrRec* text) {
    CEStr host = text ? CEStr(text) : CEStr::adopt(EStrNew("", kEStrHost));
    if (EStrGetEncoding(host) != kEStrHost)
        EStrSetEncoding(host, kEStrHost);
    Context scope(context);
    Val string(scope);
    if (!engine().setString(string.slot(), host.c_str(), EStrGetLen(host)))
        throwInternalException();
    Val object = newObject(scope, "String", string);
    QsAtom atom = QsAtomFromString(host.c_str());
    engine().setPrivate(object.object(), "SafeString",
                        reinterpret_cast<void*>(static_cast<uintptr_t>(atom)));
    return object;
}
