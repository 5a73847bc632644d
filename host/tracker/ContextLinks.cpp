#include "host/tracker/ContextLinks.h"

#include <glib.h>

#include <cctype>
#include <string_view>
#include <utility>

namespace {

bool startsWithNoCase(std::string_view text, size_t at, std::string_view word) {
    if (text.size() - at < word.size())
        return false;
    for (size_t i = 0; i < word.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[at + i])) != word[i])
            return false;
    }
    return true;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

// The few character references an address carries in practice.
std::string decodeEntities(std::string_view value) {
    static constexpr std::pair<std::string_view, char> kNamed[] = {
        {"&amp;", '&'}, {"&quot;", '"'}, {"&#39;", '\''}, {"&lt;", '<'}, {"&gt;", '>'}};
    std::string out;
    size_t i = 0;
    while (i < value.size()) {
        bool decoded = false;
        for (const auto& [name, c] : kNamed) {
            if (value.substr(i, name.size()) == name) {
                out += c;
                i += name.size();
                decoded = true;
                break;
            }
        }
        if (!decoded)
            out += value[i++];
    }
    return out;
}

// The page's base address: the first <base href>, or empty.
std::string baseOf(const std::string& html) {
    for (size_t at = 0; (at = html.find('<', at)) != std::string::npos; ++at) {
        if (!startsWithNoCase(html, at + 1, "base") || at + 5 >= html.size() ||
            !isSpace(html[at + 5]))
            continue;
        size_t close = html.find('>', at);
        std::string tag =
            html.substr(at, close == std::string::npos ? std::string::npos : close - at);
        for (size_t i = 1; i < tag.size(); ++i) {
            if (!isSpace(tag[i - 1]) || !startsWithNoCase(tag, i, "href"))
                continue;
            size_t j = tag.find_first_not_of(" \t\r\n\f", i + 4);
            if (j == std::string::npos || tag[j] != '=')
                continue;
            j = tag.find_first_not_of(" \t\r\n\f", j + 1);
            if (j == std::string::npos)
                return "";
            char quote = tag[j] == '"' || tag[j] == '\'' ? tag[j] : 0;
            size_t start = quote ? j + 1 : j;
            size_t end = quote ? tag.find(quote, start) : tag.find_first_of(" \t\r\n\f", start);
            return decodeEntities(std::string_view(tag).substr(
                start, end == std::string::npos ? std::string::npos : end - start));
        }
        return "";
    }
    return "";
}

// A link as the page means it: relative ones against the page's base, when it names one.
std::string resolve(const std::string& address, const std::string& base) {
    if (base.empty() || g_uri_peek_scheme(address.c_str()))
        return address;
    gchar* resolved =
        g_uri_resolve_relative(base.c_str(), address.c_str(), G_URI_FLAGS_NONE, nullptr);
    std::string out = resolved ? resolved : address;
    g_free(resolved);
    return out;
}

std::string encode(const std::string& address) {
    gchar* escaped = g_uri_escape_string(address.c_str(), nullptr, FALSE);
    std::string out = escaped ? escaped : "";
    g_free(escaped);
    return out;
}

} // namespace

std::string RouteLinks(const std::string& html, const std::string& route) {
    const std::string base = baseOf(html);
    std::string out;
    out.reserve(html.size());
    size_t at = 0;
    while (at < html.size()) {
        size_t open = html.find('<', at);
        if (open == std::string::npos)
            break;
        bool isLink = (startsWithNoCase(html, open + 1, "a") && open + 2 < html.size() &&
                       isSpace(html[open + 2])) ||
                      (startsWithNoCase(html, open + 1, "area") && open + 5 < html.size() &&
                       isSpace(html[open + 5]));
        size_t close = html.find('>', open);
        if (!isLink || close == std::string::npos) {
            out.append(html, at, open + 1 - at);
            at = open + 1;
            continue;
        }
        out.append(html, at, open - at);
        // Walks the tag's attributes, rewriting href and keeping the rest.
        std::string tag = html.substr(open, close - open);
        std::string rewritten;
        size_t i = 0;
        while (i < tag.size()) {
            bool attributeStart = i > 0 && isSpace(tag[i - 1]);
            if (attributeStart && startsWithNoCase(tag, i, "href")) {
                size_t j = i + 4;
                while (j < tag.size() && isSpace(tag[j]))
                    ++j;
                if (j < tag.size() && tag[j] == '=') {
                    ++j;
                    while (j < tag.size() && isSpace(tag[j]))
                        ++j;
                    size_t valueStart = j;
                    size_t valueEnd = j;
                    if (j < tag.size() && (tag[j] == '"' || tag[j] == '\'')) {
                        char quote = tag[j];
                        valueStart = j + 1;
                        valueEnd = tag.find(quote, valueStart);
                        if (valueEnd == std::string::npos)
                            valueEnd = tag.size();
                        j = valueEnd < tag.size() ? valueEnd + 1 : valueEnd;
                    } else {
                        while (j < tag.size() && !isSpace(tag[j]))
                            ++j;
                        valueEnd = j;
                    }
                    std::string address = decodeEntities(
                        std::string_view(tag).substr(valueStart, valueEnd - valueStart));
                    rewritten += "href=\"" + route + encode(resolve(address, base)) + "\"";
                    i = j;
                    continue;
                }
            }
            rewritten += tag[i++];
        }
        out += rewritten;
        at = close;
    }
    out.append(html, at, std::string::npos);
    return out;
}
