// The authentication challenges of a 401 or 407 reply (WWW-Authenticate, Proxy-Authenticate).
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// One challenge: its scheme as written ("Basic", "Digest") and its realm, empty when absent.
struct HttpChallenge {
    std::string scheme;
    std::string realm;
};

/// The challenges of one header value, in order. Parameters other than realm are skipped; text
/// that does not parse ends the list without harm.
std::vector<HttpChallenge> parseHttpChallenges(std::string_view value);
