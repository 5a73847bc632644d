// An encoded string as one quoted line, for expected-record files and failure messages.
#pragma once

#include "values/EStr.h"

#include <string>

/// The string's characters as UTF-8 between double quotes, with newlines, returns, tabs, quotes
/// and backslashes escaped, and "[ucs]" behind a UCS string.
inline std::string quotedText(const _EStrRec* s) {
    std::string out = "\"";
    for (char c : EStrToUTF8(s)) {
        switch (c) {
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        default:
            out += c;
        }
    }
    out += "\"";
    if (EStrGetEncoding(s) == kEStrUCS)
        out += "[ucs]";
    return out;
}
