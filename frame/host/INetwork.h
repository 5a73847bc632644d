// "NetSpan": the viewer's network layer. HTTP requests go out under a client identity, which
// carries a User-Agent, accepted media types, flags, time-outs and two authentication callbacks.
#pragma once

#include "frame/host/IHostTable.h"

#include <cstdint>

/// A client identity; -1 means none.
using NetClientID = int32_t;
constexpr NetClientID kNoNetClient = -1;

/// Asked when a server demands authentication. Sets *user and *password to newly allocated
/// strings (QsMalloc) or leaves them null to give up; attempt counts from 1. Answers non-zero
/// when it set credentials.
using NetAuthProc = int32_t (*)(const char* server, const char* realm, char** user,
                                char** password, long attempt, long flags, void* data);

/// Time-outs of a client, as the plug-in hands them over: a count, a pair, and a value.
struct NetTimeoutRec {
    int32_t count;
    const int32_t* pair; // two values
    int32_t value;
};

class INetwork : public IHostTable {
public:
    /// Brings the network layer up; false when it cannot.
    virtual bool initialize() = 0;
    /// Takes the network layer down; open clients are closed.
    virtual void shutdown() = 0;

    /// Opens a client: User-Agent, null-terminated accepted media types, flags. -1 on failure.
    virtual NetClientID openClient(const char* userAgent, const char* const* acceptTypes,
                                   int32_t flags) = 0;
    virtual void closeClient(NetClientID client) = 0;
    /// Sets authentication mode and callback number `which` (0 or 1) of a client.
    virtual void setAuthentication(NetClientID client, int32_t which, int32_t mode,
                                   NetAuthProc proc, void* data) = 0;
    /// The further client option.
    virtual void setClientOption(NetClientID client, int32_t value) = 0;
    virtual void setTimeouts(NetClientID client, const NetTimeoutRec& timeouts) = 0;
};
