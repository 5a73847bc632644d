// Text that goes into script source: a value from outside (a WSDL document, a server's realm)
// placed inside a string literal of a template must stay text, whatever it holds.
#pragma once

#include <string>
#include <string_view>

namespace CES {

/// The units as the inside of a double-quoted script string literal that reads back as exactly
/// those units: quotes, backslashes, control characters, the line terminators U+2028 and U+2029,
/// and lone halves of surrogate pairs are escaped; ordinary text stays as it is.
std::u16string scriptStringBody(std::u16string_view text);
/// The same for UTF-8 text, in UTF-8.
std::string scriptStringBody(std::string_view utf8);

} // namespace CES
