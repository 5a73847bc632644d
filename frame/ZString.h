// Messages: every text the plug-in shows to a person, looked up by key.
//
// A message identifier is a key's position in the key table ("$$$" and the key); the text comes
// from the current language (the built-in English, or a language pack).
#pragma once

#include "frame/QsText.h"

#include <cstddef>
#include <cstdint>

/// The identifier of a key ("IDS_FULL_NAME", with or without the "$$$"); an unknown key gives
/// the position of the closing empty entry, whose text is empty.
uint16_t miGetZStringID(const char* key);
/// The key text at an identifier.
const char* miGetZStringTagName(uint16_t id);
/// Copies the message into buffer in the viewer's language encoding; the buffer, or null when
/// the text is empty.
char* miGetZString(uint16_t id, char* buffer, size_t size);
/// Sets text to the message; does nothing for a null text.
void miGetZStringEx(uint16_t id, QsTextRec* text);
char* miGetZStringRaw(const char* key, char* buffer, size_t size);
void miGetZStringExRaw(const char* key, QsTextRec* text);
/// The same through a 4096-byte buffer; returns text.
QsTextRec* miGetQsText(uint16_t id, QsTextRec* text);

/// miGetZString.
char* mdGetString(uint16_t id, char* buffer, size_t size);
/// The message as a button label, with its mnemonic marks removed.
char* mdGetButtonString(uint16_t id, char* buffer, size_t size);
/// A newly allocated copy (QsMalloc) of a named image or bundle and its size, or null.
void* mdGetDataFromName(const char* name, size_t* size);

/// The message of a key as UTF-8, for logic that builds texts from messages.
const char* miGetMessageUTF8(const char* key);
