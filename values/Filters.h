// Base64 and hexadecimal coding: filters that code a byte stream fragment by fragment, the
// streams that run another stream through one, and one-shot string forms.
#pragma once

#include "frame/host/QsStmRec.h"
#include "values/EStr.h"

#include <cstdint>
#include <string>

/// The coding a filter does: base64 for every value but kFilterHex.
enum FilterEncoding : int32_t {
    kFilterBase64 = 0,
    kFilterHex = 1,
    /// Names no coding, for callers that choose whether to filter at all; a filter function
    /// given it codes base64.
    kFilterNone = 2,
};

/// A coder between two byte streams. The base class passes bytes through unchanged.
class CFilter {
public:
    CFilter() = default;
    CFilter(const CFilter&) = delete;
    CFilter& operator=(const CFilter&) = delete;
    virtual ~CFilter() = default;

    /// Codes one fragment of input into out, which is emptied first. The bytes of in may be
    /// changed. An empty in asks for what is held over: the flush.
    virtual void processFragment(std::string& in, std::string& out);
    /// How many input bytes to take so that their coding fits an output room of n bytes.
    virtual long getFragmentSize(long n);
    /// True while bytes are held over for a flush.
    virtual bool shouldFlush();

    /// Binds the filter to the stream it codes; with closeStream set, closing the filter's
    /// stream closes that stream too.
    void bind(QsStm stream, uint16_t closeStream);
    /// The stream being coded; null for string use.
    QsStm stream() const { return m_stream; }
    /// Whether the bound stream is closed with the filter.
    bool closesStream() const { return m_closeStream != 0; }

protected:
    QsStm m_stream = nullptr;
    std::string m_carry;
    uint16_t m_closeStream = 1;
};

/// Bytes to base64 digits (RFC 2045 alphabet), without line breaks; padding only on the flush.
class CBase64Encoder : public CFilter {
public:
    void processFragment(std::string& in, std::string& out) override;
    long getFragmentSize(long n) override;

    /// The 64 digits in order, zero-ended.
    static const char sm_encodingDigits[65];
};

/// Base64 digits to bytes; bytes below 30 are skipped, so line ends fall away.
class CBase64Decoder : public CFilter {
public:
    void processFragment(std::string& in, std::string& out) override;
};

/// Bytes to two upper-case hexadecimal digits each, high nibble first.
class CHexEncoder : public CFilter {
public:
    void processFragment(std::string& in, std::string& out) override;
    long getFragmentSize(long n) override;

    /// "0123456789ABCDEF", zero-ended.
    static const char sm_encodingDigits[17];
};

/// Hexadecimal digits to bytes; any other character counts as 0, a lone last digit pairs with 0.
class CHexDecoder : public CFilter {
public:
    void processFragment(std::string& in, std::string& out) override;
};

/// The bytes of text coded, as a new string of encoding 1.
CEStr EncodeString(const CEStr& text, FilterEncoding encoding);
/// The bytes of text decoded, as a new string of encoding 1.
CEStr DecodeString(const CEStr& text, FilterEncoding encoding);

/// A read stream that gives the bytes of stream coded; null for a null stream. With closeStream
/// set, closing it closes stream.
QsStm EncodeQsStmRd(QsStm stream, FilterEncoding encoding, unsigned short closeStream);
/// A write stream that codes what is written to it into stream; closing it writes what the
/// filter holds over.
QsStm EncodeQsStmWr(QsStm stream, FilterEncoding encoding, unsigned short closeStream);
/// A read stream that gives the bytes of stream decoded.
QsStm DecodeQsStmRd(QsStm stream, FilterEncoding encoding, unsigned short closeStream);
/// A write stream that decodes what is written to it into stream.
QsStm DecodeQsStmWr(QsStm stream, FilterEncoding encoding, unsigned short closeStream);
