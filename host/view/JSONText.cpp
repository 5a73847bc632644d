#include "host/view/JSONText.h"

#include <glib.h>

#include <cstdio>

std::string JSONString(std::string_view text) {
    std::string out = "\"";
    const char* at = text.data();
    const char* end = text.data() + text.size();
    while (at < end) {
        gunichar c = g_utf8_get_char_validated(at, end - at);
        if (c == static_cast<gunichar>(-1) || c == static_cast<gunichar>(-2)) {
            out += "\\ufffd";
            ++at;
            continue;
        }
        const char* next = g_utf8_next_char(at);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (c < 0x20 || c == '<' || c == '>' || c == '&' || c == 0x2028 || c == 0x2029) {
                char escaped[16];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                out += escaped;
            } else {
                out.append(at, next);
            }
        }
        at = next;
    }
    return out + "\"";
}
