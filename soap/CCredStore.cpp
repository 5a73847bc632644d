#include "soap/CCredStore.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/ISealing.h"
#include "values/MD5.h"
#include "values/QsCab.h"

#include <cstring>
#include <string>

namespace {

constexpr const char* kSection = "Collab";
constexpr const char* kName = "Credentials";

CCredStore::ChangeNotice gChangeNotice = nullptr;
void* gChangeNoticeData = nullptr;

ISealing* hostSealing() {
    return gQsExtraHFT ? gQsExtraHFT->sealing() : nullptr;
}

/// A copy of text from the host's allocator.
char* hostCopy(const std::string& text) {
    auto* copy = static_cast<char*>(QsMalloc(text.size() + 1));
    if (copy)
        std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

} // namespace

CCredStore* CCredStore::sm_instance = nullptr;

CCredStore* CCredStore::instance() {
    if (!sm_instance)
        sm_instance = new CCredStore;
    return sm_instance;
}

CCredStore::CCredStore() {
    m_store.toMap();
    ISealing* sealing = hostSealing();
    if (!sealing || !sealing->available() || !HostCabinets())
        return;
    m_available = 1;
    // The store's failures are silent: a cabinet that cannot be read starts the store empty.
    HostFrame frame;
    frame.run([&] {
        _t_QsCabinet* cab = QsCabAcquireLocalTemp(kSection, kName);
        QsCab2CAgg(m_store, cab);
        QsCabReleaseLocalTemp(cab);
    });
    // Keys and values come back as plain text: the empty key of an absent server or realm as a
    // null name, the sealed strings perhaps as UCS.
    CAgg loaded;
    loaded.toMap();
    if (m_store.getType() == CAgg::eMap) {
        for (auto& [name, value] : m_store.toMap()) {
            if (value.getType() != CAgg::eEStr)
                continue;
            CEStr key = name.isNull() ? CEStr("", kEStrPDFDoc)
                                      : CEStr::adopt(EStrCopySetEncoding(name, kEStrPDFDoc));
            loaded.toMap()[key] =
                CAgg(CEStr::adopt(EStrCopySetEncoding(value.toEStr(), kEStrPDFDoc)).get());
        }
    }
    m_store = std::move(loaded);
}

CCredStore::~CCredStore() {
    save();
}

void CCredStore::save() {
    if (!m_available || !m_changed)
        return;
    HostFrame frame;
    frame.run([&] {
        ICabinets* cabs = HostCabinets();
        _t_QsCabinet* cab = QsCabAcquireLocal(kSection, kName);
        CAgg copy(m_store);
        cabs->makeEmpty(cab);
        cabs->merge(cab, CAgg2QsCab(copy));
        QsCabSaveLocal(cab);
        QsCabReleaseLocal(cab);
    });
    m_changed = false;
}

CEStr CCredStore::makeKey(const char* server, const char* realm) {
    if (!server || !realm)
        return CEStr("", kEStrPDFDoc);
    std::string text = std::string(server) + "@@" + realm;
    return makeMD5String(text.data(), static_cast<long>(text.size()));
}

bool CCredStore::getCredentials(const char* server, const char* realm, char** user,
                                char** password) {
    ISealing* sealing = hostSealing();
    if (!m_available || !sealing || !user || !password)
        return false;
    CEStr key = makeKey(server, realm);
    CAgg::CAggMap& entries = m_store.toMap();
    auto found = entries.find(key);
    if (found == entries.end() || found->second.getType() != CAgg::eEStr)
        return false;
    EStr value = found->second.toEStr();
    std::optional<SealedTexts> texts =
        sealing->unseal(std::string_view(EStrGetBytes(value), EStrGetLen(value)));
    if (!texts)
        return false;
    // The sealed name must be this entry's own: a value copied from another key is refused.
    std::string prefix = std::string(key.c_str()) + ":";
    if (texts->first.size() <= prefix.size() || texts->first.compare(0, prefix.size(), prefix))
        return false;
    *user = hostCopy(texts->first.substr(prefix.size()));
    *password = hostCopy(texts->second);
    if (*user && *password)
        return true;
    QsFree(*user);
    QsFree(*password);
    *user = *password = nullptr;
    return false;
}

void CCredStore::setCredentials(const char* server, const char* realm, const char* user,
                                const char* password) {
    ISealing* sealing = hostSealing();
    if (!m_available || !sealing)
        return;
    CEStr key = makeKey(server, realm);
    std::string first = std::string(key.c_str()) + ":" + (user ? user : "");
    std::optional<std::string> sealed = sealing->seal(first, password ? password : "");
    if (!sealed)
        return;
    m_store.toMap()[key] = CAgg(CEStr(sealed->c_str(), kEStrPDFDoc).get());
    m_changed = true;
    if (gChangeNotice)
        gChangeNotice(gChangeNoticeData);
}

void CCredStore::setChangeNotice(ChangeNotice notice, void* data) {
    gChangeNotice = notice;
    gChangeNoticeData = data;
}

void CCredStore::clearCredentials(const char* server, const char* realm) {
    if (!m_available)
        return;
    CAgg::CAggMap& entries = m_store.toMap();
    if (entries.erase(makeKey(server, realm)) > 0)
        m_changed = true;
}
