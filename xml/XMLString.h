// The three forms of XML text: Expat's XML_Char strings, CEStr, and UTF-8 bytes.
//
// Expat is built for UTF-8 (XML_Char is char), so an XML_Char string already is UTF-8 and the
// conversions between those two forms are copies. What matters is the step to and from CEStr:
// every name, attribute and text of a parsed document becomes a CEStr that holds the same
// characters.
#pragma once

#include "values/EStr.h"

#include <expat.h>
#include <string>

/// A string of Expat's characters.
using XMLString = std::basic_string<XML_Char>;

/// Expat's text as a CEStr: PDFDocEncoding when every byte is ASCII, else UCS.
CEStr XML_String2ESTR(const XML_Char* text);
/// The same for a run of length bytes, which need not end in a zero.
CEStr XML_String2ESTR(const XML_Char* text, long length);
/// Expat's text as UTF-8 bytes; null gives the empty text.
std::string XML_String2UTF8(const XML_Char* text);
/// Appends the UTF-8 form of a UCS string's units from unit `from` on; a surrogate pair is one
/// character, a lone surrogate gives U+FFFD.
void AppendUCSAsUTF8(std::string& out, const _EStrRec* text, long from = 0);
/// A CEStr of any encoding as UTF-8 bytes; null gives the empty text.
std::string ESTR2UTF8(const _EStrRec* text);
/// A CEStr of any encoding as Expat's text.
XMLString ESTR2XML_String(const _EStrRec* text);
/// A tag of the form URI, ":", local name as "m:" and the local name, followed by
/// ` xmlns:m="URI"` when withNamespace is set; a tag without ":" comes back as it is.
std::string Tag2UTF8AndNS(const XML_Char* tag, bool withNamespace);
