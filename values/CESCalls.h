// Calls into script that keep its failures from the caller, and safe strings.
#pragma once

#include "values/CES.h"
#include "values/EStr.h"

// Guarded calls.

/// Calls a method of the object for an internal event aimed at the document; a host error is
/// raised again once the event is closed. False when there is no such method.
bool ESObjectSafeCallWithDkDoc(ESObject object, DkDoc doc, const char* name, int32_t argc,
                               const ESVal* argv, ESVal result);
/// The same without a document; a failure is kept from the caller and answers false.
bool ESObjectSafeCall(ESObject object, const char* name, int32_t argc, const ESVal* argv,
                      ESVal result);
/// The object's "toSource" text, or null.
CEStr ESObjectSafeToSource(ESObject object);

// Safe strings: texts that the plug-in made, told apart from texts that a script made.

/// Whether the value is a string object that the plug-in made with this text.
bool ESValIsSafeString(ESVal value);
/// A new string object of the text, marked as made by the plug-in.
CES::Val ESValCreateSafeString(ESContext context, const _EStrRec* text);
