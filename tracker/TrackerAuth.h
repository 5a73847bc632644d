// The network layer's question for credentials, for the Tracker's background traffic.
#pragma once

#include "frame/host/INetwork.h"

/// Answers a server's demand for authentication during a feed update; both outputs start null.
/// Non-zero when it set credentials.
int32_t TrackerAuthCB(const char* server, const char* realm, char** user, char** password,
                      long attempt, long flags, void* data);
