// The runtime of the process, the engine's set-up, its contexts, and the stacks of scopes and
// active contexts.
#include "host/script/CSpiderMonkeyEngineImpl.h"

#include <js/GlobalObject.h>
#include <js/Initialization.h>
#include <js/Interrupt.h>
#include <js/Realm.h>
#include <js/Stack.h>
#include <js/WeakMap.h>

#include <algorithm>
#include <cstdlib>

namespace {

// The engine stops script recursion well before the main thread's stack runs out, leaving room
// for the native frames around it.
constexpr size_t kNativeStackQuota = 1024 * 1024;

JSContext* gProcessContext = nullptr;
JS::PersistentRootedObject* gAnchor = nullptr;
std::vector<CSpiderMonkeyEngine::Impl*>* gEngines = nullptr;

const JSClass kGlobalClass = {
    "global", JSCLASS_GLOBAL_FLAGS, &JS::DefaultGlobalClassOps, nullptr, nullptr, nullptr};

void shutDownRuntime() {
    if (!gProcessContext)
        return;
    delete gAnchor;
    gAnchor = nullptr;
    JS_DestroyContext(gProcessContext);
    gProcessContext = nullptr;
    JS_ShutDown();
}

// One tracer and one weak-pointer callback for the process, passed on to every live engine.
void traceEngines(JSTracer* trc, void*) {
    if (gEngines)
        for (auto* impl : *gEngines)
            CSpiderMonkeyEngine::Impl::traceSlots(trc, impl);
}

void updateEngines(JSTracer* trc, void*) {
    if (gEngines)
        for (auto* impl : *gEngines)
            CSpiderMonkeyEngine::Impl::updateWeakRecords(trc, impl);
}

// Script stops at an interrupt check while any engine's stop check says so. The check is asked
// again at the next one, so that script the plug-in runs while the stop unwinds ends too.
bool interruptEngines(JSContext* cx) {
    if (!gEngines)
        return true;
    for (auto* impl : *gEngines) {
        if (impl->stopCheck && impl->stopCheck()) {
            JS_RequestInterruptCallback(cx);
            return false;
        }
    }
    return true;
}

} // namespace

JSContext* SMProcessContext() {
    if (gProcessContext)
        return gProcessContext;
    if (!JS_Init())
        std::abort();
    JSContext* cx = JS_NewContext(JS::DefaultHeapMaxBytes);
    if (!cx)
        std::abort();
    JS_SetNativeStackQuota(cx, kNativeStackQuota);
    if (!JS::InitSelfHostedCode(cx))
        std::abort();
    // Collections run to the end in one go, so no barrier of ours has to cope with a collection
    // half done.
    JS_SetGCParameter(cx, JSGC_INCREMENTAL_GC_ENABLED, 0);
    JS_AddExtraGCRootsTracer(cx, traceEngines, nullptr);
    JS_AddWeakPointerZonesCallback(cx, updateEngines, nullptr);
    JS_AddInterruptCallback(cx, interruptEngines);
    gProcessContext = cx;
    gEngines = new std::vector<CSpiderMonkeyEngine::Impl*>();
    JS::RealmOptions options;
    gAnchor = new JS::PersistentRootedObject(
        cx, JS_NewGlobalObject(cx, &kGlobalClass, nullptr, JS::FireOnNewGlobalHook, options));
    if (!*gAnchor)
        std::abort();
    std::atexit(shutDownRuntime);
    return cx;
}

JSObject* SMAnchorGlobal() {
    SMProcessContext();
    return *gAnchor;
}

JSObject* SMNewGlobal(JSContext* cx) {
    JS::RealmOptions options;
    options.creationOptions().setExistingCompartment(SMAnchorGlobal());
    return JS_NewGlobalObject(cx, &kGlobalClass, nullptr, JS::FireOnNewGlobalHook, options);
}

// The engine.

CSpiderMonkeyEngine::CSpiderMonkeyEngine() : m_impl(std::make_unique<Impl>()) {
    Impl& impl = *m_impl;
    impl.engine = this;
    impl.cx = SMProcessContext();
    JS::RootedObject anchor(impl.cx, SMAnchorGlobal());
    JSAutoRealm realm(impl.cx, anchor);
    impl.weakMap =
        std::make_unique<JS::PersistentRootedObject>(impl.cx, JS::NewWeakMapObject(impl.cx));
    if (!*impl.weakMap)
        std::abort();
    gEngines->push_back(&impl);
}

CSpiderMonkeyEngine::~CSpiderMonkeyEngine() {
    Impl& impl = *m_impl;
    impl.active.clear();
    impl.frames.clear();
    for (auto& context : impl.contexts)
        context->activeCount = 0;
    for (auto& context : impl.contexts)
        impl.destroyNow(context.get(), false);
    impl.scopeRoots.clear();
    impl.scopeMarks.clear();
    // What no context holds any more dies now, while its finalisers can still reach us.
    JS_GC(impl.cx);
    impl.releaseDeferred();
    impl.detachRecords();
    impl.weakMap.reset();
    std::erase(*gEngines, &impl);
}

void CSpiderMonkeyEngine::setCore(ICore* core) {
    m_impl->core = core;
}
void CSpiderMonkeyEngine::setEncodings(IEncodings* encodings) {
    m_impl->encodings = encodings;
}
void CSpiderMonkeyEngine::setUserInterface(IUserInterface* ui) {
    m_impl->ui = ui;
}
void CSpiderMonkeyEngine::setConsole(IScriptConsole* console) {
    m_impl->console = console;
}

void CSpiderMonkeyEngine::setStopCheck(std::function<bool()> check) {
    m_impl->stopCheck = std::move(check);
}

void CSpiderMonkeyEngine::requestInterrupt() {
    JS_RequestInterruptCallback(m_impl->cx);
}

void CSpiderMonkeyEngine::collectGarbage() {
    JS::PrepareForFullGC(m_impl->cx);
    JS::NonIncrementalGC(m_impl->cx, JS::GCOptions::Shrink, JS::GCReason::API);
    m_impl->releaseDeferred();
}

size_t CSpiderMonkeyEngine::liveSlotCount() const {
    return m_impl->liveSlots;
}

// Registration.

void CSpiderMonkeyEngine::registerContextInit(ESContextInitProc proc) {
    if (!proc)
        return;
    m_impl->contextInits.push_back(proc);
    for (size_t i = 0; i < m_impl->contexts.size(); ++i) {
        ESContext context = m_impl->contexts[i].get();
        if (m_impl->usable(context))
            m_impl->runGuarded(context, [&] { proc(context); });
    }
}

void CSpiderMonkeyEngine::registerClassInit(ESClassInitProc proc, const char* className) {
    if (!proc || !className)
        return;
    m_impl->classRec(className).inits.push_back(proc);
    for (size_t i = 0; i < m_impl->contexts.size(); ++i) {
        ESContext context = m_impl->contexts[i].get();
        if (!m_impl->usable(context))
            continue;
        m_impl->runGuarded(context, [&] {
            ESObject app = readObject(context->app);
            if (app && std::string_view(this->className(app)) == className)
                proc(context, app);
        });
    }
}

void CSpiderMonkeyEngine::registerStringProvider(const char* name, ESStringProviderProc proc) {
    if (!proc || !name)
        return;
    auto provider = std::make_unique<SMProviderRec>();
    provider->impl = m_impl.get();
    provider->name = name;
    provider->proc = proc;
    m_impl->providers.push_back(std::move(provider));
    for (auto& context : m_impl->contexts)
        if (m_impl->usable(context.get()))
            m_impl->installProvider(context.get(), *m_impl->providers.back());
}

// Contexts.

ESContext CSpiderMonkeyEngine::newContext(const char* name, DkDoc document) {
    Impl& impl = *m_impl;
    JSContext* cx = impl.cx;
    JS::RootedObject global(cx, SMNewGlobal(cx));
    if (!global)
        return nullptr;
    auto rec = std::make_unique<_s_ESContextRec>();
    ESContext context = rec.get();
    context->impl = &impl;
    context->name = name ? name : "";
    context->document = document;
    {
        JSAutoRealm realm(cx, global);
        if (!JS::InitRealmStandardClasses(cx)) {
            JS_ClearPendingException(cx);
            return nullptr;
        }
        JS::SetRealmPrivate(JS::GetObjectRealmOrNull(global), context);
    }
    context->global = impl.allocSlot(context);
    context->global->value.setObject(*global);
    context->exception = impl.allocSlot(context);
    context->app = impl.allocSlot(context);
    impl.contexts.push_back(std::move(rec));
    if (!impl.installHostObjects(context)) {
        impl.destroyNow(context, true);
        return nullptr;
    }
    for (size_t i = 0; i < impl.contextInits.size() && impl.usable(context); ++i) {
        ESContextInitProc proc = impl.contextInits[i];
        impl.runGuarded(context, [&] { proc(context); });
    }
    return impl.usable(context) ? context : nullptr;
}

void CSpiderMonkeyEngine::destroyContext(ESContext context) {
    if (!m_impl->usable(context))
        return;
    if (context->activeCount > 0) {
        context->destroyWhenIdle = true;
        return;
    }
    m_impl->destroyNow(context, true);
}

void CSpiderMonkeyEngine::Impl::destroyNow(ESContext context, bool collect) {
    if (context->dead)
        return;
    endContextNames(context);
    context->dead = true;
    if (context->global && context->global->owner) {
        JSObject* global = &context->global->value.toObject();
        JS::SetRealmPrivate(JS::GetObjectRealmOrNull(global), nullptr);
    }
    context->events.clear();
    context->eventOverrides.clear();
    context->prototypes.clear();
    context->lastClass = nullptr;
    context->lastPrototype = nullptr;
    releaseSlotsOf(context);
    context->global = context->app = context->exception = nullptr;
    if (collect) {
        // Its objects die now, so their finalisers run while the plug-in is surely there.
        JS_GC(cx);
        releaseDeferred();
    }
}

ESContext CSpiderMonkeyEngine::defaultContext() {
    Impl& impl = *m_impl;
    for (auto it = impl.active.rbegin(); it != impl.active.rend(); ++it)
        if (impl.usable(*it))
            return *it;
    for (auto& context : impl.contexts)
        if (impl.usable(context.get()))
            return context.get();
    return nullptr;
}

ESContext CSpiderMonkeyEngine::valueContext(ESVal value) {
    return m_impl->usable(value) && !value->owner->dead ? value->owner : nullptr;
}

ESContext CSpiderMonkeyEngine::objectContext(ESObject object) {
    JSObject* obj = m_impl->objectOf(object);
    return obj ? m_impl->contextOf(obj) : nullptr;
}

ESObject CSpiderMonkeyEngine::globalObject(ESContext context) {
    if (!m_impl->usable(context))
        return nullptr;
    JS::RootedObject global(m_impl->cx, m_impl->globalOf(context));
    return m_impl->handOut(global, context);
}

DkDoc CSpiderMonkeyEngine::contextDocument(ESContext context) {
    return m_impl->usable(context) ? context->document : nullptr;
}

ESObject CSpiderMonkeyEngine::documentObject(DkDoc document) {
    if (!document)
        return nullptr;
    for (auto& context : m_impl->contexts)
        if (m_impl->usable(context.get()) && context->document == document)
            return globalObject(context.get());
    return nullptr;
}

void CSpiderMonkeyEngine::enterContext(ESContext context) {
    if (m_impl->usable(context))
        m_impl->pushActive(context);
}

void CSpiderMonkeyEngine::leaveContext(ESContext context) {
    if (context && context->impl == m_impl.get())
        m_impl->popActive(context);
}

// Scopes and the active stack.

void CSpiderMonkeyEngine::beginScope(ESContext) {
    m_impl->scopeMarks.push_back(m_impl->scopeRoots.size());
}

void CSpiderMonkeyEngine::endScope(ESContext) {
    if (!m_impl->scopeMarks.empty())
        m_impl->endScopeToMark();
}

void CSpiderMonkeyEngine::Impl::endScopeToMark() {
    size_t mark = scopeMarks.back();
    scopeMarks.pop_back();
    while (scopeRoots.size() > mark) {
        releaseSlot(scopeRoots.back());
        scopeRoots.pop_back();
    }
}

void CSpiderMonkeyEngine::Impl::rootObject(JSObject* object, ESContext owner) {
    if (!usable(owner))
        owner = engine->defaultContext();
    if (!usable(owner))
        return;
    // Below the first mark lie the loose roots, handed out outside any scope or call.
    ESVal slot = allocSlot(owner);
    slot->value.setObject(*object);
    scopeRoots.push_back(slot);
}

void CSpiderMonkeyEngine::dropLooseRoots() {
    Impl& impl = *m_impl;
    // Only when nothing runs: whoever is waiting for a call may still use what it was given.
    if (!impl.scopeMarks.empty() || !impl.active.empty())
        return;
    for (ESVal slot : impl.scopeRoots)
        impl.releaseSlot(slot);
    impl.scopeRoots.clear();
}

void CSpiderMonkeyEngine::Impl::pushActive(ESContext context) {
    active.push_back(context);
    if (context)
        ++context->activeCount;
}

void CSpiderMonkeyEngine::Impl::popActive(ESContext context) {
    auto found = std::find(active.rbegin(), active.rend(), context);
    if (found == active.rend())
        return;
    active.erase(std::next(found).base());
    if (context && --context->activeCount == 0 && context->destroyWhenIdle)
        destroyNow(context, true);
}

SMNativeScope::SMNativeScope(CSpiderMonkeyEngine::Impl& impl, ESContext context)
    : m_impl(impl), m_context(context) {
    impl.scopeMarks.push_back(impl.scopeRoots.size());
    impl.pushActive(context);
}

SMNativeScope::~SMNativeScope() {
    m_impl.endScopeToMark();
    m_impl.popActive(m_context);
}
