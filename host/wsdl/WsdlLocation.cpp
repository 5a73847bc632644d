#include "host/wsdl/WsdlLocation.h"

#include <cctype>
#include <vector>

namespace {

// The length of the scheme and its colon, 0 when the text starts with none.
size_t schemeLength(const std::string& text) {
    if (text.empty() || !std::isalpha(static_cast<unsigned char>(text[0])))
        return 0;
    for (size_t i = 1; i < text.size(); ++i) {
        char c = text[i];
        if (c == ':')
            return i + 1;
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-' && c != '.')
            return 0;
    }
    return 0;
}

std::string withoutFragment(const std::string& text) {
    return text.substr(0, text.find('#'));
}

// "a/./b/../c" as "a/c"; a ".." above the root stays at the root.
std::string withoutDotSegments(const std::string& path) {
    std::vector<std::string> kept;
    size_t start = 0;
    bool absolute = !path.empty() && path[0] == '/';
    if (absolute)
        start = 1;
    bool endsInFolder = false;
    while (start <= path.size()) {
        size_t slash = path.find('/', start);
        std::string segment =
            path.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        bool last = slash == std::string::npos;
        endsInFolder = last && (segment == "." || segment == "..");
        if (segment == "..") {
            if (!kept.empty())
                kept.pop_back();
        } else if (segment != ".") {
            kept.push_back(segment);
        }
        if (last)
            break;
        start = slash + 1;
    }
    std::string out = absolute ? "/" : "";
    for (size_t i = 0; i < kept.size(); ++i)
        out += (i ? "/" : "") + kept[i];
    if (endsInFolder && !kept.empty())
        out += "/";
    return out;
}

} // namespace

bool isAbsoluteWsdlLocation(const std::string& reference) {
    return schemeLength(reference) > 0;
}

std::string resolveWsdlLocation(const std::string& base, const std::string& reference) {
    std::string ref = withoutFragment(reference);
    if (isAbsoluteWsdlLocation(ref))
        return ref;
    std::string from = withoutFragment(base);
    size_t scheme = schemeLength(from);
    if (scheme == 0)
        return "";
    if (ref.compare(0, 2, "//") == 0)
        return from.substr(0, scheme) + ref;
    // Scheme and authority, then path and query.
    size_t pathStart = from.size();
    if (from.compare(scheme, 2, "//") == 0) {
        size_t end = from.find_first_of("/?", scheme + 2);
        pathStart = end == std::string::npos ? from.size() : end;
    } else {
        pathStart = scheme;
    }
    std::string origin = from.substr(0, pathStart);
    std::string rest = from.substr(pathStart);
    std::string path = rest.substr(0, rest.find('?'));
    if (ref.empty())
        return from;
    if (ref[0] == '?')
        return origin + path + ref;
    std::string query;
    size_t question = ref.find('?');
    if (question != std::string::npos) {
        query = ref.substr(question);
        ref.resize(question);
    }
    std::string merged;
    if (!ref.empty() && ref[0] == '/')
        merged = ref;
    else if (path.empty())
        merged = "/" + ref;
    else
        merged = path.substr(0, path.rfind('/') + 1) + ref;
    return origin + withoutDotSegments(merged) + query;
}
