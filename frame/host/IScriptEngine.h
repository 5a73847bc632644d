// "ESHFT": the viewer's script engine. The plug-in registers initialisers that run on every
// script context and on objects of a script class, and named text providers.
#pragma once

#include "frame/host/IHostTable.h"
#include "frame/QsText.h"

struct _s_ESContextRec;
struct _s_ESValRec;
struct _s_ESObjectRec;
/// A script context.
using ESContext = _s_ESContextRec*;
/// A value slot owned by a context.
using ESVal = _s_ESValRec*;
/// A script object.
using ESObject = _s_ESObjectRec*;

/// Runs on every new script context, now and later.
using ESContextInitProc = void (*)(ESContext context);
/// Runs whenever an object of a script class is created.
using ESClassInitProc = void (*)(ESContext context, ESObject object);
/// Answers a named text: sets out to the text of key; true when it did.
using ESStringProviderProc = bool (*)(const char* key, QsTextRec* out);

class IScriptEngine : public IHostTable {
public:
    virtual void registerContextInit(ESContextInitProc proc) = 0;
    virtual void registerClassInit(ESClassInitProc proc, const char* className) = 0;
    virtual void registerStringProvider(const char* name, ESStringProviderProc proc) = 0;
};
