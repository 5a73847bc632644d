// The stream form of a low-level object: a temporary store holding a copy of the object under
// the root key "-", saved with the header "%LSO-1.0". A script carries an object as these bytes.
#pragma once

#include "frame/host/QsStmRec.h"
#include "frame/host/ViewerHandles.h"

/// The header the form is written with.
inline constexpr const char* kLSOHeader = "%LSO-1.0";
/// What a form must start with to be read.
inline constexpr const char* kLSOHeaderPrefix = "%LSO-";

/// Writes the stream form of an object (with its descendants) to a stream. Raises the host's
/// error when there is no document model or the object cannot be copied.
void LobObjWriteLSO(LobObj object, QsStm out);
/// Reads a stream form to its end and copies its object into a document; the null object when
/// the form holds none. Bytes that are no such form raise the host's error.
LobObj LobObjReadLSO(QsStm in, LobDoc target);
