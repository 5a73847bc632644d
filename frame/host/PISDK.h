// The loader entry and the handshake: the types that a host and the plug-in exchange before any
// table is in place.
//
// The host finds PluginMain by name, calls it, then the set-up procedure it hands back, then the
// handshake procedure that set-up stores, and finally the four life-cycle callbacks that the
// handshake stores, in the order of PIHandshakeData.
#pragma once

#include "frame/host/ICore.h"

#include <cstdint>

/// The only handshake version either side speaks.
constexpr uint32_t kHandshakeVersion = 0x20000;

/// What the host hands to the set-up procedure, and what it gets back.
struct PISDKData {
    uint32_t version;      // of this record: kHandshakeVersion
    ExtensionID extension; // in: the identity the host assigned to the plug-in
    ICore* coreHFT;        // in: the host's core table
    QsCallback handshake;  // out: a PIHandshakeProc
};

/// What the handshake procedure fills in.
struct PIHandshakeData {
    QsAtom extensionName;
    QsCallback exportHFTs;               // PILifeCycleProc
    QsCallback importReplaceAndRegister; // PILifeCycleProc
    QsCallback init;                     // PILifeCycleProc
    QsCallback unload;                   // PILifeCycleProc
};

/// The set-up procedure: 1 on success, 0 when the plug-in cannot run on this host.
using PISetupSDKProc = int32_t (*)(uint32_t handshakeVersion, PISDKData* sdkData);
/// The handshake procedure: 1 on success, 0 for a handshake version it does not speak.
using PIHandshakeProc = int32_t (*)(uint32_t handshakeVersion, PIHandshakeData* handshakeData);
/// One of the four life-cycle callbacks.
using PILifeCycleProc = bool (*)();

/// The loader entry, exported from the plug-in under the name "PluginMain".
using PluginMainProc = int32_t (*)(uint32_t appHandshakeVersion, uint32_t* handshakeVersion,
                                   PISetupSDKProc* setupProc, uint32_t handle);
/// The name under which a host finds the loader entry.
constexpr const char* kPluginMainName = "PluginMain";
