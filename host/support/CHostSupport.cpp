#include "host/support/CHostSupport.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

std::optional<int32_t> CHostPreferences::getInt(const char* section, const char* key) {
    std::optional<std::string> text = getString(section, key);
    if (!text || text->empty())
        return std::nullopt;
    errno = 0;
    char* end = nullptr;
    long long value = std::strtoll(text->c_str(), &end, 0);
    if (errno != 0 || *end != 0 || value < INT32_MIN || value > UINT32_MAX)
        return std::nullopt;
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

std::optional<std::string> CHostPreferences::getString(const char* section, const char* key) {
    auto found = m_values.find({section ? section : "", key ? key : ""});
    if (found == m_values.end())
        return std::nullopt;
    return found->second;
}

bool CHostPreferences::set(const std::string& assignment) {
    size_t equals = assignment.find('=');
    size_t dot = assignment.find('.');
    if (equals == std::string::npos || dot == std::string::npos || dot == 0 || dot + 1 >= equals)
        return false;
    m_values[{assignment.substr(0, dot), assignment.substr(dot + 1, equals - dot - 1)}] =
        assignment.substr(equals + 1);
    return true;
}
