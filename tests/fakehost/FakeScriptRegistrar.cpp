#include "tests/fakehost/FakeScriptRegistrar.h"

void FakeScriptRegistrar::registerContextInit(ESContextInitProc proc) {
    m_registrations.push_back("context");
    m_contextInits.push_back(proc);
}

void FakeScriptRegistrar::registerClassInit(ESClassInitProc proc, const char* className) {
    std::string name = className ? className : "";
    m_registrations.push_back("class " + name);
    m_classInits.emplace_back(proc, name);
}

void FakeScriptRegistrar::registerStringProvider(const char* name, ESStringProviderProc proc) {
    std::string key = name ? name : "";
    m_registrations.push_back("provider " + key);
    m_providers[key] = proc;
}

ESStringProviderProc FakeScriptRegistrar::provider(const std::string& name) const {
    auto found = m_providers.find(name);
    return found == m_providers.end() ? nullptr : found->second;
}
