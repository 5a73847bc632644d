#include "host/net/HttpChallenge.h"

#include <strings.h>

namespace {

bool isTokenChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

class Scanner {
public:
    explicit Scanner(std::string_view text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_pos]; }
    void skip() { ++m_pos; }
    void skipSpace() {
        while (!atEnd() && (peek() == ' ' || peek() == '\t'))
            ++m_pos;
    }
    std::string_view token() {
        size_t start = m_pos;
        while (!atEnd() && isTokenChar(peek()))
            ++m_pos;
        return m_text.substr(start, m_pos - start);
    }
    /// A quoted string without its quotes and with escapes undone; an unclosed one ends at the
    /// end of the text.
    std::string quoted() {
        std::string out;
        skip(); // the opening quote
        while (!atEnd() && peek() != '"') {
            if (peek() == '\\' && m_pos + 1 < m_text.size())
                skip();
            out += peek();
            skip();
        }
        if (!atEnd())
            skip();
        return out;
    }
    size_t position() const { return m_pos; }
    void rewind(size_t pos) { m_pos = pos; }

private:
    std::string_view m_text;
    size_t m_pos = 0;
};

} // namespace

std::vector<HttpChallenge> parseHttpChallenges(std::string_view value) {
    std::vector<HttpChallenge> challenges;
    Scanner in(value);
    for (;;) {
        in.skipSpace();
        while (in.peek() == ',') {
            in.skip();
            in.skipSpace();
        }
        std::string_view scheme = in.token();
        if (scheme.empty())
            return challenges;
        challenges.push_back({std::string(scheme), {}});
        // Parameters: name=value pairs separated by commas, up to the next scheme, which is a
        // token not followed by "=".
        for (;;) {
            in.skipSpace();
            while (in.peek() == ',') {
                in.skip();
                in.skipSpace();
            }
            size_t start = in.position();
            std::string_view name = in.token();
            in.skipSpace();
            if (name.empty() || in.peek() != '=') {
                in.rewind(start);
                break;
            }
            in.skip();
            in.skipSpace();
            std::string param = in.peek() == '"' ? in.quoted() : std::string(in.token());
            // A token68 (as in "Negotiate abc==") leaves trailing "=" signs behind.
            while (in.peek() == '=')
                in.skip();
            if (strncasecmp(name.data(), "realm", name.size()) == 0 && name.size() == 5)
                challenges.back().realm = std::move(param);
        }
    }
}
