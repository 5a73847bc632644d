#include "tests/fakehost/FakeEncodings.h"

#include "frame/QsText.h"

#include <cstring>

namespace {

constexpr const char* kLatin1 = "ISO-8859-1";
constexpr const char* kUTF8 = "UTF-8";

bool is(const char* name, const char* encoding) {
    return name && std::strcmp(name, encoding) == 0;
}

} // namespace

bool FakeEncodings::knowsEncoding(const char* name) {
    return is(name, kLatin1) || is(name, kUTF8);
}

bool FakeEncodings::toUnicode(const char* name, const char* bytes, size_t length,
                              std::u16string& out) {
    out.clear();
    if (is(name, kLatin1)) {
        for (size_t i = 0; i < length; ++i)
            out += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]));
        return true;
    }
    if (is(name, kUTF8)) {
        out = CQsText(std::string(bytes, length).c_str()).units();
        return true;
    }
    return false;
}

bool FakeEncodings::fromUnicode(const char* name, const char16_t* units, size_t count,
                                std::string& out) {
    out.clear();
    if (is(name, kLatin1)) {
        for (size_t i = 0; i < count; ++i) {
            if (units[i] > 0xFF)
                return false;
            out += static_cast<char>(units[i]);
        }
        return true;
    }
    if (is(name, kUTF8)) {
        CQsText text;
        text.set(std::u16string(units, count));
        out = text.getString();
        return true;
    }
    return false;
}

bool FakeEncodings::canEncode(const char* name, const char16_t* units, size_t count) {
    std::string ignored;
    return fromUnicode(name, units, count, ignored);
}

const char* FakeEncodings::bestEncoding(const char16_t* units, size_t count,
                                        const char* preferred) {
    if (preferred && knowsEncoding(preferred) && canEncode(preferred, units, count))
        return is(preferred, kLatin1) ? kLatin1 : kUTF8;
    return canEncode(kLatin1, units, count) ? kLatin1 : kUTF8;
}
