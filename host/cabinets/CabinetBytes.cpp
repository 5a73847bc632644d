#include "host/cabinets/CabinetBytes.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

constexpr char kMagic[] = "vellum-cabinet-1";
constexpr size_t kMagicSize = sizeof kMagic; // the closing zero included
// Where the sum and the dictionary of a file start: each is aligned to 8.
constexpr size_t kSumAt = 24;
constexpr size_t kDictAt = 32;

uint64_t fnv1a(const void* data, size_t size) {
    uint64_t hash = 14695981039346656037ull;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; ++i) {
        hash ^= bytes[i];
        hash *= 1099511628211ull;
    }
    return hash;
}

size_t align8(size_t at) {
    return (at + 7) & ~size_t{7};
}

// The width of the framing offsets of a container, as a writer picks it: the smallest that can
// address the whole container, offsets included.
size_t offsetWidthFor(size_t body, size_t count) {
    if (body + count <= 0xFF)
        return 1;
    if (body + 2 * count <= 0xFFFF)
        return 2;
    if (body + 4 * count <= 0xFFFFFFFFull)
        return 4;
    return 8;
}

// The same width as a reader finds it from the container's size.
size_t offsetWidthOf(size_t size) {
    if (size > 0xFFFFFFFFull)
        return 8;
    if (size > 0xFFFF)
        return 4;
    if (size > 0xFF)
        return 2;
    return size > 0 ? 1 : 0;
}

// Whether UTF-8 can carry the units: no zero unit, every surrogate in a pair.
bool fitsUTF8(const std::u16string& units) {
    for (size_t i = 0; i < units.size(); ++i) {
        char16_t unit = units[i];
        if (unit == 0)
            return false;
        if (unit < 0xD800 || unit > 0xDFFF)
            continue;
        if (unit > 0xDBFF || i + 1 == units.size() || units[i + 1] < 0xDC00 ||
            units[i + 1] > 0xDFFF)
            return false;
        ++i;
    }
    return true;
}

class Writer {
public:
    explicit Writer(ICore& core) : m_core(core) {}

    std::string file(const _t_QsCabinet& cab) {
        m_out.assign(kMagic, kMagicSize);
        m_out.resize(kDictAt, '\0'); // the sum is filled in once the dictionary is there
        dict(cab);
        uint64_t sum = fnv1a(m_out.data() + kDictAt, m_out.size() - kDictAt);
        std::memcpy(&m_out[kSumAt], &sum, sizeof sum);
        appendOffset(kMagicSize, offsetWidthFor(m_out.size(), 1));
        return std::move(m_out);
    }

private:
    void pad(size_t start) { m_out.resize(start + align8(m_out.size() - start), '\0'); }

    void appendOffset(size_t value, size_t width) {
        for (size_t i = 0; i < width; ++i)
            m_out.push_back(static_cast<char>(value >> (8 * i)));
    }

    template <typename T> void appendRaw(const T& value) {
        m_out.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    // a(ayv): the entries, each aligned to 8, then the end of each.
    void dict(const _t_QsCabinet& cab) {
        size_t start = m_out.size();
        std::vector<size_t> ends;
        ends.reserve(cab.entries.size());
        for (const auto& [key, value] : cab.entries) {
            pad(start);
            entry(key, value);
            ends.push_back(m_out.size() - start);
        }
        size_t width = offsetWidthFor(m_out.size() - start, ends.size());
        for (size_t end : ends)
            appendOffset(end, width);
    }

    // (ayv): the key, the value aligned to 8, then the end of the key.
    void entry(const std::string& key, const QsCabValue& value) {
        size_t start = m_out.size();
        m_out += key;
        size_t keyEnd = key.size();
        pad(start);
        variant(value);
        appendOffset(keyEnd, offsetWidthFor(m_out.size() - start, 1));
    }

    // (say): the name with its zero, the bytes, then the end of the name.
    void named(const char* name, std::string_view bytes) {
        size_t start = m_out.size();
        m_out.append(name, std::strlen(name) + 1);
        size_t nameEnd = m_out.size() - start;
        m_out += bytes;
        appendOffset(nameEnd, offsetWidthFor(m_out.size() - start, 1));
    }

    void utf8(const std::u16string& units) {
        for (size_t i = 0; i < units.size(); ++i) {
            uint32_t c = units[i];
            if (c < 0x80) {
                m_out.push_back(static_cast<char>(c));
                continue;
            }
            if (c >= 0xD800 && c <= 0xDBFF) // a pair, as fitsUTF8 made sure
                c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
            if (c < 0x800) {
                m_out.push_back(static_cast<char>(0xC0 | c >> 6));
            } else if (c < 0x10000) {
                m_out.push_back(static_cast<char>(0xE0 | c >> 12));
                m_out.push_back(static_cast<char>(0x80 | (c >> 6 & 0x3F)));
            } else {
                m_out.push_back(static_cast<char>(0xF0 | c >> 18));
                m_out.push_back(static_cast<char>(0x80 | (c >> 12 & 0x3F)));
                m_out.push_back(static_cast<char>(0x80 | (c >> 6 & 0x3F)));
            }
            m_out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }

    // v: the value, a zero byte, then its type.
    void variant(const QsCabValue& value) {
        const char* type = "()";
        switch (value.kind) {
        case kQsCabBool:
            m_out.push_back(value.boolean ? 1 : 0);
            type = "b";
            break;
        case kQsCabInt:
            appendRaw(value.integer);
            type = "i";
            break;
        case kQsCabAtom: {
            const char* text = m_core.atomGetString(value.atom);
            named("atom", text ? text : "");
            type = "(say)";
            break;
        }
        case kQsCabDouble:
            appendRaw(value.real);
            type = "d";
            break;
        case kQsCabString:
            m_out += value.bytes;
            type = "ay";
            break;
        case kQsCabText:
            if (fitsUTF8(value.text)) {
                utf8(value.text);
                m_out.push_back('\0');
                type = "s";
            } else {
                m_out.append(reinterpret_cast<const char*>(value.text.data()),
                             value.text.size() * sizeof(char16_t));
                type = "aq";
            }
            break;
        case kQsCabBinary:
            named("binary", value.bytes);
            type = "(say)";
            break;
        case kQsCabPointer:
            // An address means nothing to another run: only the pointer's type is kept.
            named("pointer", value.bytes);
            type = "(say)";
            break;
        case kQsCabCabinet:
            dict(*value.cabinet);
            type = "a(ayv)";
            break;
        case kQsCabUns32:
            appendRaw(value.uns32);
            type = "u";
            break;
        case kQsCabNull:
            m_out.push_back('\0'); // the unit value is one zero byte
            break;
        }
        m_out.push_back('\0');
        m_out += type;
    }

    ICore& m_core;
    std::string m_out;
};

/// A run of serialised bytes; every read is checked against its end.
struct Span {
    const char* data;
    size_t size;

    Span sub(size_t from, size_t to) const { return {data + from, to - from}; }
    std::string_view view() const { return {data, size}; }
};

uint64_t readOffset(const char* at, size_t width) {
    uint64_t value = 0;
    for (size_t i = 0; i < width; ++i)
        value |= uint64_t{static_cast<unsigned char>(at[i])} << (8 * i);
    return value;
}

// A tuple of two members of which only the first is framed: the first member's end is the
// tuple's last offset, and the second starts at that end aligned as given.
bool splitPair(Span tuple, size_t secondAlignment, Span& first, Span& second) {
    size_t width = offsetWidthOf(tuple.size);
    if (tuple.size < width)
        return false;
    size_t bodyEnd = tuple.size - width;
    uint64_t firstEnd = readOffset(tuple.data + bodyEnd, width);
    if (firstEnd > bodyEnd)
        return false;
    size_t secondStart = secondAlignment == 8 ? align8(firstEnd) : firstEnd;
    if (secondStart > bodyEnd)
        return false;
    first = tuple.sub(0, firstEnd);
    second = tuple.sub(secondStart, bodyEnd);
    return true;
}

// UTF-8 of a GVariant string to UTF-16 units; false for anything that is not well-formed UTF-8
// of Unicode scalar values.
bool decodeUTF8(std::string_view in, std::u16string& out) {
    out.reserve(in.size());
    const auto* p = reinterpret_cast<const unsigned char*>(in.data());
    const auto* end = p + in.size();
    while (p < end) {
        uint32_t c = *p++;
        if (c < 0x80) {
            if (c == 0)
                return false;
            out.push_back(static_cast<char16_t>(c));
            continue;
        }
        int more;
        uint32_t least;
        if (c >= 0xC2 && c <= 0xDF) {
            more = 1, least = 0x80, c &= 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            more = 2, least = 0x800, c &= 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            more = 3, least = 0x10000, c &= 0x07;
        } else {
            return false;
        }
        if (end - p < more)
            return false;
        for (int i = 0; i < more; ++i) {
            if ((p[i] & 0xC0) != 0x80)
                return false;
            c = c << 6 | (p[i] & 0x3F);
        }
        p += more;
        if (c < least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
            return false;
        if (c < 0x10000) {
            out.push_back(static_cast<char16_t>(c));
        } else {
            c -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        }
    }
    return true;
}

class Reader {
public:
    explicit Reader(ICore& core) : m_core(core) {}

    // a(ayv) into cab; depth is cab's own level, the top being 1.
    bool dict(Span array, _t_QsCabinet& cab, int depth) {
        if (array.size == 0)
            return true;
        size_t width = offsetWidthOf(array.size);
        if (array.size < width)
            return false;
        uint64_t bodyEnd = readOffset(array.data + array.size - width, width);
        if (bodyEnd > array.size || (array.size - bodyEnd) % width != 0)
            return false;
        size_t count = (array.size - bodyEnd) / width;
        cab.entries.reserve(count);
        size_t previousEnd = 0;
        for (size_t i = 0; i < count; ++i) {
            uint64_t end = readOffset(array.data + bodyEnd + i * width, width);
            size_t start = align8(previousEnd);
            if (start > end || end > bodyEnd)
                return false;
            if (!entry(array.sub(start, end), cab, depth))
                return false;
            previousEnd = end;
        }
        return true;
    }

private:
    bool entry(Span tuple, _t_QsCabinet& cab, int depth) {
        Span key, boxed;
        if (!splitPair(tuple, 8, key, boxed))
            return false;
        std::string name(key.view());
        // A key holds no zero byte and appears once: our own files never break either rule.
        if (name.find('\0') != std::string::npos || cab.find(name))
            return false;
        QsCabValue value;
        if (!variant(boxed, value, depth))
            return false;
        cab.put(std::move(name), std::move(value));
        return true;
    }

    bool variant(Span boxed, QsCabValue& value, int depth) {
        size_t zero = boxed.view().rfind('\0');
        if (zero == std::string_view::npos)
            return false;
        std::string_view type = boxed.view().substr(zero + 1);
        Span data = boxed.sub(0, zero);
        if (type == "b") {
            if (data.size != 1 || static_cast<unsigned char>(data.data[0]) > 1)
                return false;
            value.kind = kQsCabBool;
            value.boolean = data.data[0] != 0;
        } else if (type == "i") {
            if (data.size != sizeof value.integer)
                return false;
            value.kind = kQsCabInt;
            std::memcpy(&value.integer, data.data, data.size);
        } else if (type == "d") {
            if (data.size != sizeof value.real)
                return false;
            value.kind = kQsCabDouble;
            std::memcpy(&value.real, data.data, data.size);
        } else if (type == "u") {
            if (data.size != sizeof value.uns32)
                return false;
            value.kind = kQsCabUns32;
            std::memcpy(&value.uns32, data.data, data.size);
        } else if (type == "ay") {
            value.kind = kQsCabString;
            value.bytes.assign(data.data, data.size);
        } else if (type == "s") {
            if (data.size == 0 || data.data[data.size - 1] != '\0')
                return false;
            value.kind = kQsCabText;
            return decodeUTF8(data.sub(0, data.size - 1).view(), value.text);
        } else if (type == "aq") {
            if (data.size % sizeof(char16_t) != 0)
                return false;
            value.kind = kQsCabText;
            value.text.resize(data.size / sizeof(char16_t));
            std::memcpy(value.text.data(), data.data, data.size);
        } else if (type == "()") {
            if (data.size != 1 || data.data[0] != '\0')
                return false;
            value.kind = kQsCabNull;
        } else if (type == "(say)") {
            return named(data, value);
        } else if (type == "a(ayv)") {
            if (depth >= kQsCabMaxDepth)
                return false;
            value.kind = kQsCabCabinet;
            value.cabinet = std::make_unique<_t_QsCabinet>();
            return dict(data, *value.cabinet, depth + 1);
        } else {
            return false;
        }
        return true;
    }

    bool named(Span tuple, QsCabValue& value) {
        Span name, bytes;
        if (!splitPair(tuple, 1, name, bytes))
            return false;
        std::string_view kind = name.view();
        if (kind.empty() || kind.back() != '\0')
            return false;
        kind.remove_suffix(1);
        if (kind == "atom") {
            value.kind = kQsCabAtom;
            value.atom = m_core.atomFromString(std::string(bytes.view()).c_str());
            return true;
        }
        if (kind == "binary")
            value.kind = kQsCabBinary;
        else if (kind == "pointer")
            value.kind = kQsCabPointer;
        else
            return false;
        value.bytes.assign(bytes.data, bytes.size);
        return true;
    }

    ICore& m_core;
};

} // namespace

std::string CabinetToBytes(const _t_QsCabinet& cab, ICore& core) {
    return Writer(core).file(cab);
}

std::unique_ptr<_t_QsCabinet> CabinetFromBytes(const char* bytes, size_t size, ICore& core) {
    if (!bytes)
        return nullptr;
    // (sta(ayv)): the text, the sum at 24, the dictionary from 32 up to the one offset, which
    // gives the end of the text.
    Span file{bytes, size};
    size_t width = offsetWidthOf(size);
    if (size < kDictAt + width || readOffset(bytes + size - width, width) != kMagicSize ||
        std::memcmp(bytes, kMagic, kMagicSize) != 0)
        return nullptr;
    Span dict = file.sub(kDictAt, size - width);
    uint64_t sum;
    std::memcpy(&sum, bytes + kSumAt, sizeof sum);
    if (sum != fnv1a(dict.data, dict.size))
        return nullptr;
    auto cab = std::make_unique<_t_QsCabinet>();
    if (!Reader(core).dict(dict, *cab, 1))
        return nullptr;
    return cab;
}
