// "BaseKit": the viewer's encoding converter between named encodings and Unicode.
//
// Encodings are named as the viewer names them ("PDFDocEncoding", "Shift-JIS",
// "roman_encoding", "cyrillic_encoding", ...). Units are UTF-16 in host order, without mark.
// The same object also serves the "VellScriptInterface" table, which answers the best encoding
// for a run of units.
#pragma once

#include "frame/host/ICore.h"
#include "frame/host/IHostTable.h"

#include <cstddef>
#include <string>

class IEncodings : public IHostTable {
public:
    /// The name of the host's default encoding (encoding 0 of an EStr).
    virtual const char* hostEncodingName() = 0;
    /// Whether the converter knows the named encoding.
    virtual bool knowsEncoding(const char* name) = 0;
    /// Bytes of the named encoding to units, replacing out. A byte sequence with no meaning in
    /// the encoding reads as U+FFFD. False when the encoding is unknown.
    virtual bool toUnicode(const char* name, const char* bytes, size_t length,
                           std::u16string& out) = 0;
    /// Units to bytes of the named encoding, replacing out. False when the encoding is unknown or
    /// a unit (a lone surrogate included) has no mapping in it.
    virtual bool fromUnicode(const char* name, const char16_t* units, size_t count,
                             std::string& out) = 0;
    /// Whether every one of the units has a mapping in the named encoding.
    virtual bool canEncode(const char* name, const char16_t* units, size_t count) = 0;
    /// The name of the encoding that suits the units best, preferring `preferred` (may be null)
    /// when it can hold them all; null when none of the converter's encodings can.
    virtual const char* bestEncoding(const char16_t* units, size_t count,
                                     const char* preferred) = 0;

    /// A further table of the BaseKit family at exactly that version ("VellViewUserInterface"),
    /// or null. A converter that serves no family answers null.
    virtual HFT getHFT(QsAtom name, uint32_t version) {
        (void)name;
        (void)version;
        return nullptr;
    }
};
