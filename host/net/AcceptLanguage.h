// The user's language as an Accept-Language value, from the locale settings of the environment.
#pragma once

#include <optional>
#include <string>

/// "de_DE.UTF-8@euro" gives "de-DE", "fr" gives "fr"; "C", "POSIX", empty or malformed text
/// gives nothing.
std::optional<std::string> acceptLanguageFromLocale(const char* locale);

/// The first of LC_ALL, LC_MESSAGES and LANG that is set, as above.
std::optional<std::string> acceptLanguageFromEnvironment();
