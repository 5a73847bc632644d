// Expat's text. Expat is built for UTF-8 (XML_Char is char), so an XML_Char string already is
// UTF-8: it becomes a CEStr through EStrFromUTF8 and comes back through EStrToUTF8.
#pragma once

#include <expat.h>
#include <string>

/// A string of Expat's characters.
using XMLString = std::basic_string<XML_Char>;

/// A tag of the form URI, ":", local name as "m:" and the local name, followed by
/// ` xmlns:m="URI"` when withNamespace is set; a tag without ":" comes back as it is.
std::string Tag2UTF8AndNS(const XML_Char* tag, bool withNamespace);
