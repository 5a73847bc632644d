// A converter for tests that need a viewer encoding of their choice: "ISO-8859-1" (the default)
// or "UTF-8", between which and Unicode it converts.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IEncodings.h"

#include <string>

class FakeEncodings final : public IEncodings {
public:
    int32_t hftVersion() const override { return kBaseKitTable.version; }
    const char* hostEncodingName() override { return m_hostEncoding.c_str(); }
    bool knowsEncoding(const char* name) override;
    bool toUnicode(const char* name, const char* bytes, size_t length,
                   std::u16string& out) override;
    bool fromUnicode(const char* name, const char16_t* units, size_t count,
                     std::string& out) override;
    bool canEncode(const char* name, const char16_t* units, size_t count) override;
    const char* bestEncoding(const char16_t* units, size_t count, const char* preferred) override;

    /// The viewer's encoding: "ISO-8859-1" or "UTF-8".
    void setHostEncoding(const std::string& name) { m_hostEncoding = name; }

private:
    std::string m_hostEncoding = "ISO-8859-1";
};
