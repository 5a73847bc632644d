// The network layer's questions for credentials, when a server demands authentication.
//
// InteractiveAuthCB answers for script-driven SOAP traffic: from the request's own authenticate
// map, else from the credential store, else by a script dialog that asks the user.
// TrackerAuthCB answers for the Tracker's background updates: from the store, and with the
// dialog only where the user is looking at the subscription in question.
//
// Both have the shape of NetAuthProc: the outputs start null, are set to strings from the host's
// allocator that the network layer frees, and the answer is non-zero when they were set.
#pragma once

#include "frame/host/INetwork.h"
#include "values/CAgg.h"

#include <cstdint>

/// Whether an authenticate map (Username, Password) carries a non-empty user name and password
/// of its own.
bool hasOwnCredentials(const CAgg& authenticate);

/// The callback of network client 0. data is the request's authenticate map, or null.
int32_t InteractiveAuthCB(const char* server, const char* realm, char** user, char** password,
                          long attempt, long flags, void* data);

/// The callback of network client 1.
int32_t TrackerAuthCB(const char* server, const char* realm, char** user, char** password,
                      long attempt, long flags, void* data);

/// Tells TrackerAuthCB whether it may ask the user: the Tracker panel is visible and the
/// subscription at that server and realm is its current one.
using TrackerAuthDialogTest = bool (*)(const char* server, const char* realm);
/// Sets the test that the Tracker panel answers; null, the default, never asks.
void setTrackerAuthDialogTest(TrackerAuthDialogTest test);

/// The dialog's script with server and realm filled in, and the check box for keeping the
/// password enabled or not.
std::string makeAuthDialogScript(const char* server, const char* realm, bool credentialStore);
