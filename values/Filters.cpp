// The four coders behind the filter streams.
#include "values/Filters.h"

#include <array>

namespace {

// Digit values of the base64 decoder. Bytes below 30 are skipped, "=" pads, and any other
// character that is not a digit reads as kOther.
constexpr uint8_t kSkip = 0xFF;
constexpr uint8_t kPad = 0x40;
constexpr uint8_t kOther = 0x80;
constexpr uint8_t kNotADigit = kPad | kOther; // set in kSkip, kPad and kOther alike

constexpr std::array<uint8_t, 256> makeBase64Values() {
    std::array<uint8_t, 256> values{};
    for (int c = 0; c < 256; ++c)
        values[c] = c < 30 ? kSkip : kOther;
    for (int i = 0; i < 26; ++i) {
        values['A' + i] = static_cast<uint8_t>(i);
        values['a' + i] = static_cast<uint8_t>(26 + i);
    }
    for (int i = 0; i < 10; ++i)
        values['0' + i] = static_cast<uint8_t>(52 + i);
    values['+'] = 62;
    values['/'] = 63;
    values['='] = kPad;
    return values;
}

constexpr std::array<uint8_t, 256> kBase64Values = makeBase64Values();

// Two digits a byte, in one table of 256 pairs.
constexpr std::array<char, 512> makeHexPairs() {
    std::array<char, 512> pairs{};
    for (int c = 0; c < 256; ++c) {
        pairs[2 * c] = "0123456789ABCDEF"[c >> 4];
        pairs[2 * c + 1] = "0123456789ABCDEF"[c & 0x0F];
    }
    return pairs;
}

constexpr std::array<char, 512> kHexPairs = makeHexPairs();

uint8_t hexValue(char c) {
    if (c >= '0' && c <= '9')
        return static_cast<uint8_t>(c - '0');
    if (c >= 'A' && c <= 'F')
        return static_cast<uint8_t>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f')
        return static_cast<uint8_t>(c - 'a' + 10);
    return 0;
}

// Up to three bytes from a group of count digit values (2 to 4). A pad in the first two places
// gives nothing; a pad in the third or fourth ends the group there. A value of kOther takes part
// in the arithmetic as it is: bad digits give garbage bytes, not a failure.
// Answers the position behind the last byte written.
char* decodeGroup(const uint8_t* v, int count, char* to) {
    if (count < 2 || v[0] == kPad || v[1] == kPad)
        return to;
    *to++ = static_cast<char>((v[0] << 2) | (v[1] >> 4));
    if (count < 3 || v[2] == kPad)
        return to;
    *to++ = static_cast<char>((v[1] << 4) | (v[2] >> 2));
    if (count < 4 || v[3] == kPad)
        return to;
    *to++ = static_cast<char>((v[2] << 6) | v[3]);
    return to;
}

} // namespace

void CFilter::processFragment(std::string& in, std::string& out) {
    out = in;
}

long CFilter::getFragmentSize(long n) {
    return n;
}

bool CFilter::shouldFlush() {
    return !m_carry.empty();
}

void CFilter::bind(QsStm stream, uint16_t closeStream) {
    m_stream = stream;
    m_closeStream = closeStream;
}

const char CBase64Encoder::sm_encodingDigits[65] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

long CBase64Encoder::getFragmentSize(long n) {
    if (n <= 3)
        return n;
    long half = n / 2;
    return half - half % 3;
}

void CBase64Encoder::processFragment(std::string& in, std::string& out) {
    out.clear();
    bool flush = in.empty();
    if (flush) {
        in.swap(m_carry);
    } else if (!m_carry.empty()) {
        in.insert(0, m_carry);
        m_carry.clear();
    }
    size_t whole = in.size() - in.size() % 3;
    size_t tail = flush ? in.size() - whole : 0;
    out.resize(whole / 3 * 4 + (tail ? 4 : 0));

    const auto* from = reinterpret_cast<const uint8_t*>(in.data());
    const auto* end = from + whole;
    char* to = out.data();
    for (; from < end; from += 3, to += 4) {
        uint32_t group =
            static_cast<uint32_t>(from[0]) << 16 | static_cast<uint32_t>(from[1]) << 8 | from[2];
        to[0] = sm_encodingDigits[group >> 18];
        to[1] = sm_encodingDigits[(group >> 12) & 0x3F];
        to[2] = sm_encodingDigits[(group >> 6) & 0x3F];
        to[3] = sm_encodingDigits[group & 0x3F];
    }
    if (tail) {
        uint32_t group = static_cast<uint32_t>(from[0]) << 16 |
                         (tail > 1 ? static_cast<uint32_t>(from[1]) << 8 : 0);
        to[0] = sm_encodingDigits[group >> 18];
        to[1] = sm_encodingDigits[(group >> 12) & 0x3F];
        to[2] = tail > 1 ? sm_encodingDigits[(group >> 6) & 0x3F] : '=';
        to[3] = '=';
    }
    // Between fragments a short last group waits in the carry, so padding is only written on
    // the flush.
    if (!flush)
        m_carry.assign(in, whole, std::string::npos);
}

void CBase64Decoder::processFragment(std::string& in, std::string& out) {
    bool flush = in.empty();
    out.resize((m_carry.size() + in.size()) / 4 * 3 + 3);
    char* to = out.data();

    uint8_t group[4];
    char digits[4];
    int count = 0;
    for (char c : m_carry) {
        digits[count] = c;
        group[count++] = kBase64Values[static_cast<uint8_t>(c)];
    }
    m_carry.clear();

    const auto* from = reinterpret_cast<const uint8_t*>(in.data());
    const auto* end = from + in.size();
    while (from < end) {
        if (count == 0) {
            // Whole groups of four plain digits, the common case, in one step each.
            for (; end - from >= 4; from += 4) {
                uint8_t a = kBase64Values[from[0]], b = kBase64Values[from[1]],
                        c = kBase64Values[from[2]], d = kBase64Values[from[3]];
                if ((a | b | c | d) & kNotADigit)
                    break;
                uint32_t bits = static_cast<uint32_t>(a) << 18 | static_cast<uint32_t>(b) << 12 |
                                static_cast<uint32_t>(c) << 6 | d;
                to[0] = static_cast<char>(bits >> 16);
                to[1] = static_cast<char>(bits >> 8);
                to[2] = static_cast<char>(bits);
                to += 3;
            }
            if (from == end)
                break;
        }
        uint8_t value = kBase64Values[*from];
        char digit = static_cast<char>(*from++);
        if (value == kSkip)
            continue;
        digits[count] = digit;
        group[count++] = value;
        if (count == 4) {
            to = decodeGroup(group, 4, to);
            count = 0;
        }
    }
    // A group cut by the end of the fragment waits for the next one; the flush decodes it as far
    // as it goes.
    if (flush)
        to = decodeGroup(group, count, to);
    else
        m_carry.assign(digits, static_cast<size_t>(count));
    out.resize(static_cast<size_t>(to - out.data()));
}

const char CHexEncoder::sm_encodingDigits[17] = "0123456789ABCDEF";

long CHexEncoder::getFragmentSize(long n) {
    return n <= 1 ? n : n / 2;
}

void CHexEncoder::processFragment(std::string& in, std::string& out) {
    out.resize(in.size() * 2);
    char* to = out.data();
    for (unsigned char c : in) {
        to[0] = kHexPairs[2 * c];
        to[1] = kHexPairs[2 * c + 1];
        to += 2;
    }
}

void CHexDecoder::processFragment(std::string& in, std::string& out) {
    out.clear();
    bool flush = in.empty();
    if (!m_carry.empty()) {
        in.insert(0, m_carry);
        m_carry.clear();
    }
    size_t pairs = in.size() / 2;
    out.resize(pairs);
    for (size_t i = 0; i < pairs; ++i)
        out[i] = static_cast<char>(hexValue(in[2 * i]) << 4 | hexValue(in[2 * i + 1]));
    if (in.size() % 2 == 1) {
        if (flush)
            out += static_cast<char>(hexValue(in.back()) << 4);
        else
            m_carry.assign(1, in.back());
    }
}
