// The byte form of a cabinet: one GVariant of type (sta(ayv)).
//
// The text is "vellum-cabinet-1", the number a 64-bit FNV-1a sum over the dictionary's own bytes,
// and the dictionary is the list of (key, value) pairs in insertion order: a{sv} in all but the
// key's type, since a cabinet's keys are bytes that need not be UTF-8 and a GVariant dictionary
// key cannot be a byte array. A value's GVariant type tells its kind: b boolean, i integer,
// d double, u unsigned 32-bit, ay string bytes, aq text (UTF-16 units), a(ayv) a nested cabinet,
// () null, and (say) the kinds named by its text:
// ("atom", the atom's text), ("binary", the bytes), ("pointer", the type; the address is not
// kept).
#pragma once

#include "frame/host/ICore.h"
#include "host/cabinets/QsCabinetRec.h"

#include <memory>
#include <string>

/// The byte form of a cabinet; atoms go as their texts.
std::string CabinetToBytes(const _t_QsCabinet& cab, ICore& core);

/// A cabinet from its byte form, or null when the bytes are truncated, damaged, of another
/// format, or nest deeper than kQsCabMaxDepth.
std::unique_ptr<_t_QsCabinet> CabinetFromBytes(const std::string& bytes, ICore& core);
