// Messages: every text the plug-in shows to a person, looked up by key.
//
// A message identifier is a key's position in the key table ("$$$" and the key, closed by an
// empty entry); the text comes from the current language: the built-in English, or a language
// pack (frame/mdLanguage.h). Texts reach callers in the viewer's language encoding (char
// buffers) or as QsText.
#pragma once

#include "frame/QsText.h"

#include <cstddef>
#include <cstdint>

/// Message identifiers, in the order of the key table. kZStringCount is the closing empty entry,
/// whose text is empty.
enum ZStringID : uint16_t {
#define ZSTRING(name, key, text) name,
#include "frame/MessagesENU.inc"
#undef ZSTRING
    kZStringCount
};

/// The identifier of a key ("IDS_FULL_NAME", with or without the "$$$"); an unknown key gives
/// the position of the closing empty entry, whose text is empty.
uint16_t miGetZStringID(const char* key);
/// The key text at an identifier ("$$$IDS_FULL_NAME"); the empty text past the last key.
const char* miGetZStringTagName(uint16_t id);
/// Copies the message into buffer in the viewer's language encoding, cut to fit; the buffer, or
/// null when the text is empty (the buffer then holds the empty text).
char* miGetZString(uint16_t id, char* buffer, size_t size);
/// Sets text to the message; does nothing for a null text.
void miGetZStringEx(uint16_t id, QsTextRec* text);
/// miGetZString by key.
char* miGetZStringRaw(const char* key, char* buffer, size_t size);
/// miGetZStringEx by key: empties text, looks the key up, then applies the viewer's string
/// filter.
void miGetZStringExRaw(const char* key, QsTextRec* text);
/// The message through a 4096-byte buffer in the language encoding; returns text (also when it
/// is null).
QsTextRec* miGetQsText(uint16_t id, QsTextRec* text);

/// miGetZString.
char* mdGetString(uint16_t id, char* buffer, size_t size);
/// The message as a button label: a lone "&" is dropped, a doubled "&&" is kept as it is.
char* mdGetButtonString(uint16_t id, char* buffer, size_t size);
/// A newly allocated copy (QsMalloc) of a named image or bundle and its size, or null and the
/// size left alone (frame/Resources.h).
void* mdGetDataFromName(const char* name, size_t* size);

/// The message of a key as UTF-8, for logic that builds texts from messages. The text stays
/// valid until ReleaseZStringSuites.
const char* miGetMessageUTF8(const char* key);

/// Gets the message lookup, once; later calls do nothing.
void AcquireZStringSuites();
/// Gives the message lookup back and forgets what was read through it (the string filter, the
/// texts of miGetMessageUTF8, the alert labels).
void ReleaseZStringSuites();
