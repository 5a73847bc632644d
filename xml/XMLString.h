// The forms of XML text: Expat's XML_Char strings, CEStr, and UTF-8 bytes.
//
// Expat is built for UTF-8 (XML_Char is char), so an XML_Char string already is UTF-8 and the
// step that matters is the one to and from CEStr, which the encoded strings' UTF-8 doors take
// (EStrFromUTF8, EStrToUTF8). This family names those steps as the XML layer speaks of them.
#pragma once

#include "values/EStr.h"

#include <expat.h>
#include <string>

/// A string of Expat's characters.
using XMLString = std::basic_string<XML_Char>;

/// Expat's text as a CEStr: PDFDocEncoding when every byte is ASCII, else UCS.
inline CEStr XML_String2ESTR(const XML_Char* text) {
    return EStrFromUTF8(text);
}
/// The same for a run of length bytes, which need not end in a zero.
inline CEStr XML_String2ESTR(const XML_Char* text, long length) {
    return EStrFromUTF8(text, length);
}
/// Expat's text as UTF-8 bytes; null gives the empty text.
inline std::string XML_String2UTF8(const XML_Char* text) {
    return text ? std::string(text) : std::string();
}
/// A CEStr of any encoding as UTF-8 bytes; null gives the empty text.
inline std::string ESTR2UTF8(const _EStrRec* text) {
    return EStrToUTF8(text);
}
/// A CEStr of any encoding as Expat's text.
inline XMLString ESTR2XML_String(const _EStrRec* text) {
    return EStrToUTF8(text);
}
/// A tag of the form URI, ":", local name as "m:" and the local name, followed by
/// ` xmlns:m="URI"` when withNamespace is set; a tag without ":" comes back as it is.
std::string Tag2UTF8AndNS(const XML_Char* tag, bool withNamespace);
