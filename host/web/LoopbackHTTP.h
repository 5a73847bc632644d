// A request and its reply as the host's loopback servers see them: plain values, so that the
// services behind a server are functions that tests can call without a socket.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A request as the server read it.
struct HTTPRequest {
    std::string method;
    /// The path, without the query.
    std::string path;
    /// The query, without its "?"; empty when there is none.
    std::string query;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// The client's address ("127.0.0.1").
    std::string remoteAddress;
    /// A header's value (names compare without case), or nothing.
    std::optional<std::string> header(std::string_view name) const;
    /// A query parameter's value, decoded, or nothing.
    std::optional<std::string> parameter(std::string_view name) const;
};

/// What a service answers.
struct HTTPReply {
    int status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::string body;
    /// Headers beyond the content's type and length.
    std::vector<std::pair<std::string, std::string>> headers = {};
};

/// A plain-text reply.
HTTPReply TextReply(int status, std::string text);

/// Text made safe inside markup, in element content and in double-quoted attributes alike:
/// "&", "<", ">" and '"' become entities.
std::string EscapeMarkup(std::string_view text);
