#include "host/cabinets/CabinetBytes.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace {

// The text of the files this host writes, and of those of earlier runs, whose sum is plain
// FNV-1a; both are read. The two texts have the same length.
constexpr char kMagic[] = "vellum-cabinet-2";
constexpr char kMagicPlainSum[] = "vellum-cabinet-1";
constexpr size_t kMagicSize = sizeof kMagic; // the closing zero included
static_assert(sizeof kMagicPlainSum == kMagicSize);
// Where the sum and the dictionary of a file start: each is aligned to 8.
constexpr size_t kSumAt = 24;
constexpr size_t kDictAt = 32;

constexpr uint64_t kFnvStart = 14695981039346656037ull;

uint64_t fnv1a(const void* data, size_t size) {
    uint64_t hash = kFnvStart;
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; ++i) {
        hash ^= bytes[i];
        hash *= 1099511628211ull;
    }
    return hash;
}

/// The sum of the files this host writes: the FNV-1a sums of four lanes of the bytes (those at
/// positions 0, 4, 8, ...; 1, 5, 9, ...; and so on), then FNV-1a over the four, little-endian.
/// The lanes run side by side, which makes it several times faster than one FNV-1a chain.
class LaneSum {
public:
    void add(const void* data, size_t size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        const auto* end = bytes + size;
        while (bytes < end && m_lane != 0)
            step(*bytes++);
        for (; end - bytes >= 4; bytes += 4) {
            for (int lane = 0; lane < 4; ++lane) {
                m_lanes[lane] ^= bytes[lane];
                m_lanes[lane] *= 1099511628211ull;
            }
        }
        while (bytes < end)
            step(*bytes++);
    }

    uint64_t sum() const {
        unsigned char bytes[32];
        for (int lane = 0; lane < 4; ++lane) {
            for (int i = 0; i < 8; ++i)
                bytes[8 * lane + i] = static_cast<unsigned char>(m_lanes[lane] >> (8 * i));
        }
        return fnv1a(bytes, sizeof bytes);
    }

private:
    void step(unsigned char byte) {
        uint64_t& lane = m_lanes[m_lane];
        lane ^= byte;
        lane *= 1099511628211ull;
        m_lane = (m_lane + 1) % 4;
    }

    uint64_t m_lanes[4] = {kFnvStart, kFnvStart, kFnvStart, kFnvStart};
    int m_lane = 0; // the lane of the next byte
};

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

// Writes the byte form to a sink in blocks, so that a large cabinet is never held whole in
// memory a second time. The positions it works with are those in the file.
class Writer {
public:
    Writer(ICore& core, CabinetByteSink& sink) : m_core(core), m_sink(sink) {
        m_block.reserve(kBlockSize + 4096);
    }

    void file(const _t_QsCabinet& cab) {
        // The sum comes first but is known last: the header goes out with a blank sum, which
        // is patched once the dictionary is out.
        char header[kDictAt] = {};
        std::memcpy(header, kMagic, kMagicSize);
        m_sink.append(header, kDictAt);
        m_flushed = kDictAt;
        dict(cab);
        flush();
        uint64_t sum = m_sum.sum();
        m_sink.patch(kSumAt, reinterpret_cast<const char*>(&sum), sizeof sum);
        size_t size = m_flushed;
        appendOffset(kMagicSize, offsetWidthFor(size, 1));
        m_sink.append(m_block.data(), m_block.size());
    }

private:
    static constexpr size_t kBlockSize = 1 << 20;

    size_t position() const { return m_flushed + m_block.size(); }

    void flush() {
        m_sum.add(m_block.data(), m_block.size());
        m_sink.append(m_block.data(), m_block.size());
        m_flushed += m_block.size();
        m_block.clear();
    }

    void flushIfFull() {
        if (m_block.size() >= kBlockSize)
            flush();
    }

    void append(const char* bytes, size_t size) {
        if (m_block.size() + size > kBlockSize && !m_block.empty())
            flush();
        if (size > kBlockSize) {
            // A large value goes straight through.
            m_sum.add(bytes, size);
            m_sink.append(bytes, size);
            m_flushed += size;
            return;
        }
        m_block.append(bytes, size);
    }

    void pad(size_t start) {
        size_t at = position() - start;
        m_block.append(align8(at) - at, '\0');
    }

    void appendOffset(uint64_t value, size_t width) {
        char bytes[8];
        for (size_t i = 0; i < width; ++i)
            bytes[i] = static_cast<char>(value >> (8 * i));
        m_block.append(bytes, width);
    }

    template <typename T> void appendRaw(const T& value) {
        m_block.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    // a(ayv): the entries, each aligned to 8, then the end of each.
    void dict(const _t_QsCabinet& cab) {
        size_t start = position();
        // The ends of the entries of every open dictionary share one stack.
        size_t base = m_ends.size();
        for (const auto& [key, value] : cab.entries) {
            pad(start);
            entry(key, value);
            m_ends.push_back(position() - start);
        }
        size_t count = m_ends.size() - base;
        size_t width = offsetWidthFor(position() - start, count);
        for (size_t i = base; i < m_ends.size(); ++i) {
            appendOffset(m_ends[i], width);
            flushIfFull();
        }
        m_ends.resize(base);
    }

    // (ayv): the key, the value aligned to 8, then the end of the key.
    void entry(const std::string& key, const QsCabValue& value) {
        size_t start = position();
        append(key.data(), key.size());
        size_t keyEnd = key.size();
        pad(start);
        variant(value);
        appendOffset(keyEnd, offsetWidthFor(position() - start, 1));
        flushIfFull();
    }

    // (say): the name with its zero, the bytes, then the end of the name.
    void named(const char* name, std::string_view bytes) {
        size_t start = position();
        m_block.append(name, std::strlen(name) + 1);
        size_t nameEnd = position() - start;
        append(bytes.data(), bytes.size());
        appendOffset(nameEnd, offsetWidthFor(position() - start, 1));
    }

    // The units as UTF-8 with the closing zero; false, with nothing written, for a text that
    // UTF-8 cannot carry: one with a zero unit or a lone surrogate.
    bool utf8(const std::u16string& units) {
        // At most three bytes a unit: a pair of units makes four.
        if (m_block.size() + 3 * units.size() + 1 > kBlockSize && !m_block.empty())
            flush();
        size_t at = m_block.size();
        m_block.resize(at + 3 * units.size() + 1);
        char* out = m_block.data() + at;
        const char16_t* in = units.data();
        const char16_t* end = in + units.size();
        bool fits = true;
        while (in < end && fits) {
            uint32_t c = *in++;
            if (c < 0x80) {
                fits = c != 0;
                *out++ = static_cast<char>(c);
                continue;
            }
            if (c >= 0xD800 && c <= 0xDFFF) {
                fits = c <= 0xDBFF && in < end && *in >= 0xDC00 && *in <= 0xDFFF;
                if (!fits)
                    break;
                c = 0x10000 + ((c - 0xD800) << 10) + (*in++ - 0xDC00);
            }
            if (c < 0x800) {
                *out++ = static_cast<char>(0xC0 | c >> 6);
            } else if (c < 0x10000) {
                *out++ = static_cast<char>(0xE0 | c >> 12);
                *out++ = static_cast<char>(0x80 | (c >> 6 & 0x3F));
            } else {
                *out++ = static_cast<char>(0xF0 | c >> 18);
                *out++ = static_cast<char>(0x80 | (c >> 12 & 0x3F));
                *out++ = static_cast<char>(0x80 | (c >> 6 & 0x3F));
            }
            *out++ = static_cast<char>(0x80 | (c & 0x3F));
        }
        if (!fits) {
            m_block.resize(at);
            return false;
        }
        *out++ = '\0';
        m_block.resize(static_cast<size_t>(out - m_block.data()));
        return true;
    }

    // v: the value, a zero byte, then its type.
    void variant(const QsCabValue& value) {
        const char* type = "()";
        switch (value.kind) {
        case kQsCabBool:
            m_block.push_back(value.boolean ? 1 : 0);
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
            append(value.bytes.data(), value.bytes.size());
            type = "ay";
            break;
        case kQsCabText:
            if (utf8(value.text)) {
                type = "s";
            } else {
                append(reinterpret_cast<const char*>(value.text.data()),
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
            m_block.push_back('\0'); // the unit value is one zero byte
            break;
        }
        m_block.push_back('\0');
        m_block.append(type);
    }

    ICore& m_core;
    CabinetByteSink& m_sink;
    std::string m_block;
    size_t m_flushed = 0;
    LaneSum m_sum;
    std::vector<size_t> m_ends;
};

/// Collects the bytes in a string.
class StringSink final : public CabinetByteSink {
public:
    void append(const char* bytes, size_t size) override { m_bytes.append(bytes, size); }
    void patch(size_t at, const char* bytes, size_t size) override {
        m_bytes.replace(at, size, bytes, size);
    }
    std::string take() { return std::move(m_bytes); }

private:
    std::string m_bytes;
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
    // Never more units than bytes: the text is written in place and cut to its length.
    out.resize(in.size());
    char16_t* to = out.data();
    const auto* p = reinterpret_cast<const unsigned char*>(in.data());
    const auto* end = p + in.size();
    while (p < end) {
        uint32_t c = *p++;
        if (c < 0x80) {
            if (c == 0)
                return false;
            *to++ = static_cast<char16_t>(c);
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
            *to++ = static_cast<char16_t>(c);
        } else {
            c -= 0x10000;
            *to++ = static_cast<char16_t>(0xD800 + (c >> 10));
            *to++ = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }
    out.resize(static_cast<size_t>(to - out.data()));
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
        cab.append(std::move(name), std::move(value));
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

void CabinetWriteBytes(const _t_QsCabinet& cab, ICore& core, CabinetByteSink& sink) {
    Writer(core, sink).file(cab);
}

std::string CabinetToBytes(const _t_QsCabinet& cab, ICore& core) {
    StringSink sink;
    CabinetWriteBytes(cab, core, sink);
    return sink.take();
}

std::unique_ptr<_t_QsCabinet> CabinetFromBytes(const char* bytes, size_t size, ICore& core) {
    if (!bytes)
        return nullptr;
    // (sta(ayv)): the text, the sum at 24, the dictionary from 32 up to the one offset, which
    // gives the end of the text.
    Span file{bytes, size};
    size_t width = offsetWidthOf(size);
    if (size < kDictAt + width || readOffset(bytes + size - width, width) != kMagicSize)
        return nullptr;
    bool lanes = std::memcmp(bytes, kMagic, kMagicSize) == 0;
    if (!lanes && std::memcmp(bytes, kMagicPlainSum, kMagicSize) != 0)
        return nullptr;
    Span dict = file.sub(kDictAt, size - width);
    uint64_t sum;
    std::memcpy(&sum, bytes + kSumAt, sizeof sum);
    LaneSum laneSum;
    if (lanes)
        laneSum.add(dict.data, dict.size);
    if (sum != (lanes ? laneSum.sum() : fnv1a(dict.data, dict.size)))
        return nullptr;
    auto cab = std::make_unique<_t_QsCabinet>();
    if (!Reader(core).dict(dict, *cab, 1))
        return nullptr;
    return cab;
}
