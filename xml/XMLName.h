// Which texts XML takes as names. Nothing that is not a name may be written where a name
// stands: an element or attribute name made of other characters turns into markup.
#pragma once

#include <string_view>

/// Whether the UTF-8 text is a name as XML 1.0 defines it: a name start character, then name
/// characters; a colon counts as either. Malformed UTF-8 is no name.
bool XMLIsName(std::string_view text);
/// The same without colons: a name that can stand as a prefix or a local name in a namespace.
bool XMLIsNCName(std::string_view text);
