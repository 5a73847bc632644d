// The network layer's question for credentials, for script-driven SOAP traffic.
#pragma once

#include "frame/host/INetwork.h"

/// Answers a server's demand for authentication; both outputs start null. Non-zero when it set
/// credentials.
int32_t InteractiveAuthCB(const char* server, const char* realm, char** user, char** password,
                          long attempt, long flags, void* data);
