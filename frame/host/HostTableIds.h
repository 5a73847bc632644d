// The name and version of each host table: what the plug-in asks for and what a host offers.
//
// A table is found by name and version in the core's registry, so both sides must spell them
// the same; this is the one place they are written. The interfaces that serve each table are
// the other headers of frame/host/; a bare table is one the handshake requires but no code of the
// plug-in calls into.
#pragma once

#include <cstdint>

/// A host table's identity in the core's registry.
struct HostTableId {
    const char* name;
    uint32_t version;
};

/// ICore.
inline constexpr HostTableId kCoreTable{"Core", 0x50000};
/// IVellSupport, at the version every host offers.
inline constexpr HostTableId kVellSupportTable{"VellSupport", 0x50000};
/// IVellSupport, at the version a newer host offers as well, which the plug-in asks for first.
inline constexpr HostTableId kNewVellSupportTable{"VellSupport", 0x60000};
/// IVellView.
inline constexpr HostTableId kVellViewTable{"VellView", 0x60000};
/// IQsExtra.
inline constexpr HostTableId kQsExtraTable{"QsExtra", 0x50000};
/// IDocumentModel, as the object layer.
inline constexpr HostTableId kLobTable{"Lob", 0x50000};
/// IDocumentModel, as the document layer.
inline constexpr HostTableId kDkModelTable{"DkModel", 0x50000};
/// INetwork.
inline constexpr HostTableId kNetSpanTable{"NetSpan", 0x70000};
/// IEncodings, and the door to the BaseKit family of tables.
inline constexpr HostTableId kBaseKitTable{"BaseKit", 0x70000};
/// IEncodings again, for the best encoding of a text.
inline constexpr HostTableId kVellScriptInterfaceTable{"VellScriptInterface", 0x70000};
/// IUserInterface, a member of the BaseKit family.
inline constexpr HostTableId kVellViewUserInterfaceTable{"VellViewUserInterface", 0x60000};
/// IWsdlReader; optional.
inline constexpr HostTableId kFormFlowTable{"FormFlow", 2};
/// IScriptEngine.
inline constexpr HostTableId kESHFTTable{"ESHFT", 256};
/// IMulticastDNS; optional, asked for when discovery first needs it.
inline constexpr HostTableId kMulticastDNSTable{"MulticastDNS", 0x10000};
/// IViewLayer; asked for when the Tracker or a view first needs it.
inline constexpr HostTableId kVellViewLayerTable{"VellViewLayer", 0x60000};
/// IWebCapture; optional, asked for when a page is first converted.
inline constexpr HostTableId kWebCaptureTable{"WebCapture", 0x10000};

// Bare tables.
inline constexpr HostTableId kPDFEditWriteTable{"PDFEditWrite", 0x40000};
inline constexpr HostTableId kPDFEditReadTable{"PDFEditRead", 0x40000};
inline constexpr HostTableId kDkSysFontTable{"DkSysFont", 0x40000};
inline constexpr HostTableId kPageDkEContentTable{"PageDkEContent", 0x60000};
inline constexpr HostTableId kDkSWriteTable{"DkSWrite", 0x60000};
inline constexpr HostTableId kDkSReadTable{"DkSRead", 0x60000};
inline constexpr HostTableId kUnixTable{"Unix", 0x80040001};
inline constexpr HostTableId kVellViewPollenTable{"VellViewPollen", 0x50000};
/// Asked for when present; no host here offers them.
inline constexpr HostTableId kLinkWeaverTable{"LinkWeaver", 2};
inline constexpr HostTableId kVellCrawlerTable{"VellCrawler", 0x10000};

/// The bare tables a host offers for the handshake.
inline constexpr HostTableId kBareTables[] = {
    kPDFEditWriteTable, kPDFEditReadTable, kDkSysFontTable, kPageDkEContentTable,
    kDkSWriteTable,     kDkSReadTable,     kUnixTable,      kVellViewPollenTable,
};
