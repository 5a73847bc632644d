// The byte form of a cabinet: one GVariant of type (sta(ayv)), in normal form.
//
// The text is "vellum-cabinet-2", the number a 64-bit sum over the dictionary's own bytes (FNV-1a
// of four interleaved FNV-1a lanes), and the dictionary is the list of (key, value) pairs in
// insertion order: a{sv} in all but the key's type, since a cabinet's keys are bytes that need not
// be UTF-8 and a GVariant dictionary key cannot be a byte array. A value's GVariant type tells its
// kind: b boolean, i integer, d double, u unsigned 32-bit, ay string bytes, s text as UTF-8, aq
// text as UTF-16 units (for a text that UTF-8 cannot carry: one with a zero unit or a lone
// surrogate), a(ayv) a nested cabinet, () null, and (say) the kinds named by its text: ("atom", the
// atom's text),
// ("binary", the bytes), ("pointer", the type; the address is not kept).
//
// Files of earlier runs, "vellum-cabinet-1" with a plain FNV-1a sum and text as units only, are
// read as well. Both directions work on the serialised bytes directly rather than through a tree of
// GVariant objects, which costs an allocation and a lock per value; the bytes are the ones GLib
// itself makes and reads for the same values, so files of either remain readable by the other.
#pragma once

#include "frame/host/ICore.h"
#include "host/cabinets/QsCabinetRec.h"

#include <cstddef>
#include <memory>
#include <string>

/// Where the byte form of a cabinet goes, in order, as it is made.
class CabinetByteSink {
public:
    virtual ~CabinetByteSink() = default;
    /// The next bytes.
    virtual void append(const char* bytes, size_t size) = 0;
    /// Replaces bytes already given, at a position from the start.
    virtual void patch(size_t at, const char* bytes, size_t size) = 0;
};

/// Gives the byte form of a cabinet to a sink in blocks of about a megabyte; atoms go as their
/// texts. A sink's exception stops the writing and passes through.
void CabinetWriteBytes(const _t_QsCabinet& cab, ICore& core, CabinetByteSink& sink);
/// The byte form of a cabinet, whole.
std::string CabinetToBytes(const _t_QsCabinet& cab, ICore& core);

/// A cabinet from its byte form, or null when the bytes are truncated, damaged, of another
/// format, or nest deeper than kQsCabMaxDepth.
std::unique_ptr<_t_QsCabinet> CabinetFromBytes(const char* bytes, size_t size, ICore& core);
inline std::unique_ptr<_t_QsCabinet> CabinetFromBytes(const std::string& bytes, ICore& core) {
    return CabinetFromBytes(bytes.data(), bytes.size(), core);
}
