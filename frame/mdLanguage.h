// The viewer's language, and the handle in which the plug-in's messages are looked up.
#pragma once

#include "frame/ZStringPack.h"

/// The platform-bound half of the frame's start: runs mdCommonInit. Always true.
bool mdInit();
/// Chooses the language: the preference "VxPrivate", "UnixLanguageStartup" (a three-letter code
/// such as 0x444555 for DEU), or VELL_LANG when that preference is 0. A language other than ENU
/// is loaded as the pack "SOAP.<language>", found beside the plug-in or by the dynamic loader;
/// any failure silently leaves the built-in texts.
/// Always true.
bool mdCommonInit();
/// The counterpart of mdInit; there is nothing to undo.
void mdTerm();

/// Sets the handle in which messages are looked up: a language pack's (from dlopen), or null
/// for the plug-in's own.
void mdSetLocaleDependentResourceHandle(void* handle);
/// The handle in which messages are looked up; null for the plug-in's own.
void* mdGetLocaleDependentResourceHandle();

/// The messages a pack handle exports, or null when it exports none of this version.
const ZStringPack* ZStringPackFromHandle(void* handle);
