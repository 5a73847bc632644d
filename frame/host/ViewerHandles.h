// Opaque handles of the viewer's document model.
//
// The plug-in never looks inside these; it passes them to the document model (IDocumentModel)
// for comparison, acquire and release. A null handle is the value-initialised one.
#pragma once

#include <cstdint>

/// A low-level object of a document: a 64-bit opaque value.
struct LobObj {
    uint64_t bits = 0;
    friend bool operator==(const LobObj&, const LobObj&) = default;
};

struct _t_LobDoc;
struct _t_DkDoc;
struct _t_DkPage;
struct _t_VxDoc;
struct _t_VxIcon;
struct _t_DkActionClipboardData;

/// A document's object store.
using LobDoc = _t_LobDoc*;
/// An open document.
using DkDoc = _t_DkDoc*;
/// A page of an open document; counted by acquire and release.
using DkPage = _t_DkPage*;
/// A document as the viewer shows it.
using VxDoc = _t_VxDoc*;
/// An icon; also stands for any void* the viewer hands around.
using VxIcon = _t_VxIcon*;
/// Clipboard data of an action.
using DkActionClipboardData = _t_DkActionClipboardData*;

/// An annotation: a 64-bit opaque value.
struct DkAnnot {
    uint64_t bits = 0;
    friend bool operator==(const DkAnnot&, const DkAnnot&) = default;
};
