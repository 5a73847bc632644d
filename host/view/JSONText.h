// Writing JSON by hand, for the few shapes the host sends its pages.
#pragma once

#include <string>
#include <string_view>

/// Text as a JSON string literal, quotes included. Bytes that are no UTF-8 become U+FFFD, and
/// "<", ">" and "&" are escaped too, so that the text is safe inside a page's script.
std::string JSONString(std::string_view text);
