// The encoding converter of the reference host and the test host: glibc's iconv for the named
// encodings, our own table for PDFDocEncoding.
//
// The host's default encoding (encoding 0 of an EStr) is Latin-1, named "latin1_encoding".
// Viewer names and the character sets behind them:
//   latin1_encoding ISO-8859-1        roman_encoding MACINTOSH       Shift-JIS SHIFT_JIS
//   cyrillic_encoding CP1251          easteurope_encoding CP1250     greek_encoding CP1253
//   turkish_encoding CP1254           hebrew_encoding CP1255         arabic_encoding CP1256
//   baltic_encoding CP1257            chinesetrad_encoding BIG5      chinesesimp_encoding GBK
//   korean_encoding CP949             croatian_encoding CP1250       romanian_encoding ISO-8859-16
//   icelandic_encoding MAC-IS         ukrainian_encoding MAC-UK
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IEncodings.h"

#include <iconv.h>

#include <map>
#include <string>

class CIconvEncodings final : public IEncodings {
public:
    CIconvEncodings() = default;
    ~CIconvEncodings() override;
    CIconvEncodings(const CIconvEncodings&) = delete;
    CIconvEncodings& operator=(const CIconvEncodings&) = delete;

    int32_t hftVersion() const override { return kVellScriptInterfaceTable.version; }

    const char* hostEncodingName() override;
    bool knowsEncoding(const char* name) override;
    bool toUnicode(const char* name, const char* bytes, size_t length,
                   std::u16string& out) override;
    bool fromUnicode(const char* name, const char16_t* units, size_t count,
                     std::string& out) override;
    bool canEncode(const char* name, const char16_t* units, size_t count) override;
    const char* bestEncoding(const char16_t* units, size_t count, const char* preferred) override;

private:
    /// The cached handle for one direction of a character set; (iconv_t)-1 when iconv lacks it.
    iconv_t handle(const char* charset, bool decoding);
    bool encodeWithIconv(const char* charset, const char16_t* units, size_t count,
                         std::string& out);

    std::map<std::string, iconv_t> m_decoders;
    std::map<std::string, iconv_t> m_encoders;
    std::string m_scratch;
};
