// The reference host's script engine: the "ESHFT" table over SpiderMonkey 102.
//
// This header shows no engine type; everything SpiderMonkey lives behind Impl, in the sources of
// this folder. The process has one engine runtime on its main thread; each CSpiderMonkeyEngine
// keeps its own contexts, slots and registrations on it.
#pragma once

#include "frame/host/IScriptEngine.h"

#include <memory>

class CSpiderMonkeyEngine final : public IScriptEngine {
public:
    CSpiderMonkeyEngine();
    ~CSpiderMonkeyEngine() override;
    CSpiderMonkeyEngine(const CSpiderMonkeyEngine&) = delete;
    CSpiderMonkeyEngine& operator=(const CSpiderMonkeyEngine&) = delete;

    int32_t hftVersion() const override { return 256; }

    void registerContextInit(ESContextInitProc proc) override;
    void registerClassInit(ESClassInitProc proc, const char* className) override;
    void registerStringProvider(const char* name, ESStringProviderProc proc) override;

    /// A new script context named for what it runs ("App", "Doc", "Console").
    ESContext newContext(const char* name);
    /// Takes a context down with its slots.
    void destroyContext(ESContext context);

    struct Impl;

private:
    std::unique_ptr<Impl> m_impl;
};
