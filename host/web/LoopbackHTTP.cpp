#include "host/web/LoopbackHTTP.h"

#include <glib.h>
#include <strings.h>

std::optional<std::string> HTTPRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && strncasecmp(key.data(), name.data(), name.size()) == 0)
            return value;
    }
    return std::nullopt;
}

std::optional<std::string> HTTPRequest::parameter(std::string_view name) const {
    if (query.empty())
        return std::nullopt;
    GHashTable* params = g_uri_parse_params(query.c_str(), static_cast<gssize>(query.size()), "&",
                                            G_URI_PARAMS_NONE, nullptr);
    if (!params)
        return std::nullopt;
    std::optional<std::string> value;
    std::string key(name);
    if (auto* found = static_cast<const char*>(g_hash_table_lookup(params, key.c_str())))
        value = found;
    g_hash_table_unref(params);
    return value;
}

HTTPReply TextReply(int status, std::string text) {
    return {status, "text/plain; charset=utf-8", std::move(text)};
}

std::string EscapeMarkup(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}
