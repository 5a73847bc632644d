// The test host's script engine, as far as registration goes: it records the initialisers and
// text providers that the plug-in registers, in order, and lets a test call a provider.
#pragma once

#include "frame/host/IScriptEngine.h"

#include <map>
#include <string>
#include <vector>

class FakeScriptRegistrar final : public IScriptEngine {
public:
    int32_t hftVersion() const override { return 256; }
    void registerContextInit(ESContextInitProc proc) override;
    void registerClassInit(ESClassInitProc proc, const char* className) override;
    void registerStringProvider(const char* name, ESStringProviderProc proc) override;

    /// Registrations in order: "context", "class App", "provider SOAPString".
    const std::vector<std::string>& registrations() const { return m_registrations; }
    /// The provider registered under a name, or null.
    ESStringProviderProc provider(const std::string& name) const;

private:
    std::vector<std::string> m_registrations;
    std::vector<ESContextInitProc> m_contextInits;
    std::vector<std::pair<ESClassInitProc, std::string>> m_classInits;
    std::map<std::string, ESStringProviderProc> m_providers;
};
