#include "host/script/CSpiderMonkeyEngineImpl.h"

#include <js/GlobalObject.h>
#include <js/Initialization.h>
#include <js/Realm.h>

#include <cstdlib>

namespace {

JSContext* gProcessContext = nullptr;

void shutDownRuntime() {
    if (!gProcessContext)
        return;
    JS_DestroyContext(gProcessContext);
    gProcessContext = nullptr;
    JS_ShutDown();
}

const JSClass kGlobalClass = {
    "global", JSCLASS_GLOBAL_FLAGS, &JS::DefaultGlobalClassOps, nullptr, nullptr, nullptr};

} // namespace

JSContext* SMProcessContext() {
    if (gProcessContext)
        return gProcessContext;
    if (!JS_Init())
        std::abort();
    JSContext* cx = JS_NewContext(JS::DefaultHeapMaxBytes);
    if (!cx || !JS::InitSelfHostedCode(cx))
        std::abort();
    gProcessContext = cx;
    std::atexit(shutDownRuntime);
    return cx;
}

CSpiderMonkeyEngine::CSpiderMonkeyEngine() : m_impl(std::make_unique<Impl>()) {
    m_impl->cx = SMProcessContext();
}

CSpiderMonkeyEngine::~CSpiderMonkeyEngine() {
    while (!m_impl->contexts.empty())
        destroyContext(m_impl->contexts.back().get());
}

ESContext CSpiderMonkeyEngine::newContext(const char* name) {
    JSContext* cx = m_impl->cx;
    auto rec = std::make_unique<_s_ESContextRec>(cx);
    rec->name = name ? name : "";
    JS::RealmOptions options;
    rec->global = JS_NewGlobalObject(cx, &kGlobalClass, nullptr, JS::FireOnNewGlobalHook, options);
    if (!rec->global)
        return nullptr;
    {
        JSAutoRealm realm(cx, rec->global);
        if (!JS::InitRealmStandardClasses(cx))
            return nullptr;
    }
    ESContext context = rec.get();
    m_impl->contexts.push_back(std::move(rec));
    for (ESContextInitProc proc : m_impl->contextInits)
        proc(context);
    return context;
}

void CSpiderMonkeyEngine::destroyContext(ESContext context) {
    std::erase_if(m_impl->contexts, [&](const auto& rec) { return rec.get() == context; });
}

void CSpiderMonkeyEngine::registerContextInit(ESContextInitProc proc) {
    if (!proc)
        return;
    m_impl->contextInits.push_back(proc);
    for (auto& rec : m_impl->contexts)
        proc(rec.get());
}

void CSpiderMonkeyEngine::registerClassInit(ESClassInitProc proc, const char* className) {
    if (proc && className)
        m_impl->classInits.emplace_back(className, proc);
}

void CSpiderMonkeyEngine::registerStringProvider(const char* name, ESStringProviderProc proc) {
    if (proc && name)
        m_impl->providers.emplace_back(name, proc);
}
