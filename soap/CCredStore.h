// The credential store: user names and passwords kept from one run to the next.
//
// The store is one cabinet, "Collab" / "Credentials". Each entry is keyed by the MD5 of the
// server, "@@" and the realm (32 hexadecimal digits), and holds one string: the host's sealing
// of the key, ":" and the user name, together with the password. No password ever stands in the
// cabinet in clear. Without sealing (no service, or a key that cannot be read) the store is not
// available, and reads and writes nothing.
#pragma once

#include "values/CAgg.h"
#include "values/EStr.h"

#include <cstdint>

class CCredStore {
public:
    /// The one store of the process; made by instance(), deleted by the SOAP module's term.
    static CCredStore* sm_instance;
    /// The store, made on first use.
    static CCredStore* instance();

    /// Reads the cabinet when sealing is available.
    CCredStore();
    /// Writes the cabinet back when something changed.
    virtual ~CCredStore();
    CCredStore(const CCredStore&) = delete;
    CCredStore& operator=(const CCredStore&) = delete;

    /// Whether the store can keep anything.
    bool isAvailable() const { return m_available != 0; }
    /// The stored user name and password of a server and realm, each newly allocated (QsMalloc)
    /// for the caller to free: true; false when nothing is stored or it cannot be unsealed.
    bool getCredentials(const char* server, const char* realm, char** user, char** password);
    /// Seals and keeps a user name and password for a server and realm.
    void setCredentials(const char* server, const char* realm, const char* user,
                        const char* password);
    /// Forgets what is kept for a server and realm.
    void clearCredentials(const char* server, const char* realm);
    /// Writes the cabinet now when something changed.
    void save();

    /// The key of a server and realm; empty when either is absent.
    static CEStr makeKey(const char* server, const char* realm);

    /// Told after a user name and password were stored, so that what a server refused can be
    /// asked again.
    using ChangeNotice = void (*)(void* data);
    /// Sets the one listener to stored credentials; null for none.
    static void setChangeNotice(ChangeNotice notice, void* data);

private:
    CAgg m_store;
    uint16_t m_available = 0;
    bool m_changed = false;
};
