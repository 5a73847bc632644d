// The test host's BaseKit: a converter between Unicode and two encodings, "ISO-8859-1" and
// "UTF-8", with a host encoding the test chooses; and the BaseKit family's further tables, which
// it finds in the core's registry.
#pragma once

#include "frame/host/IEncodings.h"

#include <string>

class CHostCore;

class FakeBaseKit final : public IEncodings {
public:
    explicit FakeBaseKit(CHostCore& core) : m_core(core) {}

    int32_t hftVersion() const override { return 0x70000; }
    const char* hostEncodingName() override { return m_hostEncoding.c_str(); }
    bool knowsEncoding(const char* name) override;
    bool toUnicode(const char* name, const char* bytes, size_t length,
                   std::u16string& out) override;
    bool fromUnicode(const char* name, const char16_t* units, size_t count,
                     std::string& out) override;
    bool canEncode(const char* name, const char16_t* units, size_t count) override;
    const char* bestEncoding(const char16_t* units, size_t count, const char* preferred) override;
    HFT getHFT(QsAtom name, uint32_t version) override;

    /// The host's encoding: "ISO-8859-1" (the default) or "UTF-8".
    void setHostEncoding(const std::string& name) { m_hostEncoding = name; }

private:
    CHostCore& m_core;
    std::string m_hostEncoding = "ISO-8859-1";
};
