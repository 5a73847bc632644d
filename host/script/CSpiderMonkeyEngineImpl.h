// The engine's inside: the records behind the opaque handles, and the one runtime of the process.
// Only the sources of host/script include this header.
#pragma once

#include "host/script/CSpiderMonkeyEngine.h"

#include <jsapi.h>

#include <memory>
#include <string>
#include <vector>

struct _s_ESContextRec {
    std::string name;
    JS::PersistentRootedObject global;
    explicit _s_ESContextRec(JSContext* cx) : global(cx) {}
};

struct CSpiderMonkeyEngine::Impl {
    JSContext* cx = nullptr;
    std::vector<std::unique_ptr<_s_ESContextRec>> contexts;
    std::vector<ESContextInitProc> contextInits;
    std::vector<std::pair<std::string, ESClassInitProc>> classInits;
    std::vector<std::pair<std::string, ESStringProviderProc>> providers;
};

/// The process's engine context: made on first use on the calling thread, taken down at exit.
JSContext* SMProcessContext();
