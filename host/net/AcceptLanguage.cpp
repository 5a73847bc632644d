#include "host/net/AcceptLanguage.h"

#include <cstdlib>
#include <string_view>

namespace {

bool allLetters(std::string_view text) {
    for (char c : text) {
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')))
            return false;
    }
    return true;
}

char lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
char upper(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

} // namespace

std::optional<std::string> acceptLanguageFromLocale(const char* locale) {
    if (!locale)
        return std::nullopt;
    std::string_view text(locale);
    text = text.substr(0, text.find_first_of(".@"));
    std::string_view language = text.substr(0, text.find('_'));
    if (language.size() < 2 || language.size() > 3 || !allLetters(language))
        return std::nullopt;
    std::string result;
    for (char c : language)
        result += lower(c);
    if (language.size() == text.size())
        return result;
    std::string_view region = text.substr(language.size() + 1);
    if (region.size() != 2 || !allLetters(region))
        return std::nullopt;
    result += '-';
    for (char c : region)
        result += upper(c);
    return result;
}

std::optional<std::string> acceptLanguageFromEnvironment() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value)
            return acceptLanguageFromLocale(value);
    }
    return std::nullopt;
}
