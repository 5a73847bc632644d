// Cabinets: the host's dictionaries of typed values (frame/host/ICabinets.h) as the plug-in uses
// them. CAgg values turn into cabinets and back, key names are escaped to plain ASCII, and local
// cabinets are kept in files of the user's data folder, shared and counted while in use.
#pragma once

#include "frame/host/ICabinets.h"
#include "values/CAgg.h"
#include "values/EStr.h"

// Conversions. The cabinets come from and go back to HostCabinets(); without it a conversion
// to a cabinet raises a host error.

/// A new cabinet holding the value, which is first converted to a vector or a map. The value and
/// its entries are converted in place on the way.
_t_QsCabinet* CAgg2QsCab(CAgg& value);
/// Puts a value under a key text of a cabinet at a nesting level (a cabinet of its own is 1), as
/// CAgg2QsCab puts each entry, but leaving the value and its entries of the types they have:
/// only a value of a type that a cabinet does not hold is converted, on a copy. So a large tree
/// is stored without copying it.
void QsCabPutCAgg(_t_QsCabinet* cab, int level, const CEStr& key, CAgg& value);
/// Replaces the value by the cabinet's contents, with text keys; a cabinet whose keys run "0",
/// "1", ... in order comes back as a vector, and an absent or empty one as an empty vector.
void QsCab2CAgg(CAgg& value, _t_QsCabinet* cab);
/// The same with atom keys, at every level.
void QsCabToCAggWithAtomMap(CAgg& value, _t_QsCabinet* cab);

// Key names.

/// A key text as a cabinet key: letters and digits of ASCII as they are, every other UTF-16 unit
/// as "_%04x"; the empty name as "_sSs_".
CEStr QsCabEncodeName(const CEStr& name);
/// A cabinet key back to the key text. "_sSs_" leaves out as it was, so out must be empty.
void QsCabDecodeName(const CEStr& name, CEStr& out);

// Cabinets of the host, under the names the logic uses.

/// A new, empty cabinet; raises a host error without cabinets.
_t_QsCabinet* QsCabNew();
/// Destroys a cabinet; null is fine.
void QsCabDestroy(_t_QsCabinet* cab);

// Local cabinets: section and name are plain byte strings, such as "Collab" and "RSS".

/// The shared cabinet of a section and name, read from its file or new; never null. Each call
/// adds a reference that the caller gives back with QsCabReleaseLocal or QsCabDiscardLocal.
_t_QsCabinet* QsCabAcquireLocal(const char* section, const char* name);
/// Drops one reference; the last one saves the cabinet to its file and destroys it.
void QsCabReleaseLocal(_t_QsCabinet* cab);
/// Drops the hold that a first acquire keeps until the next idle moment, at once.
void QsCabCancelIdleReleaseLocal(_t_QsCabinet* cab);
/// Writes the cabinet to its file now, keeping it.
void QsCabSaveLocal(_t_QsCabinet* cab);
/// Drops one reference; the last one destroys the cabinet without saving it.
void QsCabDiscardLocal(_t_QsCabinet* cab);
/// A private cabinet read from the file of a section and name, or a new empty one; not shared
/// and not counted.
_t_QsCabinet* QsCabAcquireLocalTemp(const char* section, const char* name);
/// Destroys a cabinet of QsCabAcquireLocalTemp.
void QsCabReleaseLocalTemp(_t_QsCabinet* cab);
/// Releases every local cabinet still held, saving each at its last reference, and ends the
/// store; called as the plug-in goes down. A later acquire starts a new store.
void QsCabLocalTerm();
