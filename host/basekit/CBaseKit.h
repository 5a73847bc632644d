// The "BaseKit" table: an encoding converter, and the door to the further tables of the BaseKit
// family ("VellViewUserInterface"), which the host keeps in its core registry.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/ICore.h"
#include "frame/host/IEncodings.h"

class CBaseKit final : public IEncodings {
public:
    /// Converts through converter; finds the family's tables in core's registry. Neither is
    /// owned.
    CBaseKit(IEncodings& converter, ICore& core) : m_converter(converter), m_core(core) {}

    int32_t hftVersion() const override { return kBaseKitTable.version; }
    const char* hostEncodingName() override { return m_converter.hostEncodingName(); }
    bool knowsEncoding(const char* name) override { return m_converter.knowsEncoding(name); }
    bool toUnicode(const char* name, const char* bytes, size_t length,
                   std::u16string& out) override {
        return m_converter.toUnicode(name, bytes, length, out);
    }
    bool fromUnicode(const char* name, const char16_t* units, size_t count,
                     std::string& out) override {
        return m_converter.fromUnicode(name, units, count, out);
    }
    bool canEncode(const char* name, const char16_t* units, size_t count) override {
        return m_converter.canEncode(name, units, count);
    }
    const char* bestEncoding(const char16_t* units, size_t count, const char* preferred) override {
        return m_converter.bestEncoding(units, count, preferred);
    }
    HFT getHFT(QsAtom name, uint32_t version) override {
        return m_core.extensionMgrGetHFT(name, version);
    }

private:
    IEncodings& m_converter;
    ICore& m_core;
};
