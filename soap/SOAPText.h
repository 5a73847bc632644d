// Text helpers shared by the SOAP writers and readers: names are split and joined as UTF-8 and
// made into CEStr the way the parser makes them, so that keys built here meet keys parsed there.
#pragma once

#include "values/CAgg.h"
#include "values/EStr.h"

#include <functional>
#include <string>
#include <utility>

/// The text as UTF-8; null gives the empty text.
std::string SOAPUTF8(const _EStrRec* text);
/// UTF-8 as a CEStr: PDFDocEncoding when every byte is ASCII, else UCS.
CEStr SOAPEStrFromUTF8(const std::string& text);
/// The value read as a string, from a copy, so that the value keeps its type.
CEStr SOAPValueText(const CAgg& value);
/// True for a string value, in either of the string types.
bool SOAPIsString(const CAgg& value);
/// True for a map of either key kind.
bool SOAPIsMap(const CAgg& value);
/// Calls fn with each key and value of a map or atom map, in the map's order; an atom key is
/// given as its text.
void SOAPForEachEntry(CAgg& map, const std::function<void(const CEStr& key, CAgg& value)>& fn);
/// Splits a qualified name at its last ":" into namespace and local name; without ":" the
/// namespace is empty.
std::pair<std::string, std::string> SOAPSplitQName(const std::string& name);
