#include "host/files/DIPath.h"

#include <cstring>
#include <vector>

namespace {

bool isAbsolute(const char* text) {
    return text && text[0] == '/';
}

// Collapses repeated "/", drops "." and resolves ".." lexically; ".." at the root stays there.
std::string normalise(const std::string& path, bool folder) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos)
            end = path.size();
        std::string part = path.substr(start, end - start);
        if (part == "..") {
            if (!parts.empty())
                parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(std::move(part));
        }
        start = end + 1;
    }
    std::string result;
    for (const auto& part : parts)
        result += "/" + part;
    if (result.empty() || folder)
        result += "/";
    return result;
}

bool namesFolder(const std::string& text) {
    if (text.empty())
        return false;
    if (text.back() == '/')
        return true;
    size_t slash = text.rfind('/');
    std::string last = text.substr(slash == std::string::npos ? 0 : slash + 1);
    return last == "." || last == "..";
}

} // namespace

std::optional<std::string> DIPathFromText(const char* form, const char* text, const char* base) {
    if (!form || !text || !*text)
        return std::nullopt;
    std::string whole;
    if (std::strcmp(form, "DIPath") == 0) {
        if (isAbsolute(text)) {
            whole = text;
        } else {
            if (!isAbsolute(base))
                return std::nullopt;
            whole = std::string(base) + "/" + text;
        }
    } else if (std::strcmp(form, "FolderPathName") == 0) {
        if (!isAbsolute(base) || std::strchr(text, '/') || std::strcmp(text, ".") == 0 ||
            std::strcmp(text, "..") == 0)
            return std::nullopt;
        whole = std::string(base) + "/" + text;
    } else {
        return std::nullopt;
    }
    return normalise(whole, namesFolder(text));
}

std::string DIPathWithoutSlash(const std::string& path) {
    if (path.size() > 1 && path.back() == '/')
        return path.substr(0, path.size() - 1);
    return path;
}

std::string DIPathParent(const std::string& path) {
    std::string plain = DIPathWithoutSlash(path);
    size_t slash = plain.rfind('/');
    if (slash == std::string::npos || plain == "/")
        return "/";
    return plain.substr(0, slash + 1);
}
