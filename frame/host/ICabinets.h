// Cabinets: the viewer's dictionaries of named, typed values, and their storage.
//
// A cabinet maps key texts (plain bytes) to one value each; keys enumerate in the order they were
// first put, and putting an existing key replaces its value in place. A cabinet is a heap object
// behind the opaque handle QsCab; the host makes, owns and destroys it. A cabinet put under a key
// of another belongs to that one from then on, and goes with it.
//
// Storage is by section and name: each is one path component (the plug-in escapes both to plain
// ASCII first), and the host keeps the cabinet's byte form under its user data folder,
// <data folder>/<section>/<name>. A file that cannot be read as a cabinet counts as absent.
#pragma once

#include "frame/QsText.h"
#include "frame/host/ICore.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct _t_QsCabinet;
/// A cabinet, opaque to the plug-in.
using QsCab = _t_QsCabinet*;

/// Kinds of cabinet value, numbered as the enumeration reports them.
enum QsCabValueKind : int32_t {
    kQsCabBool = 0,
    kQsCabInt = 1,
    kQsCabAtom = 2,
    kQsCabDouble = 3,
    kQsCabString = 4, // bytes
    kQsCabText = 5,   // UTF-16 units
    kQsCabBinary = 6,
    kQsCabPointer = 7, // a type name and an address
    kQsCabCabinet = 8,
    kQsCabNull = 9,
    kQsCabUns32 = 10, // read as a 32-bit integer by a getter of its own
};

/// Frees the object behind a typed pointer when its cabinet lets the value go.
using QsCabPointerDestroyProc = void (*)(void* pointer);

/// One key of a cabinet and the kind of its value.
struct QsCabKeyInfo {
    std::string key;
    QsCabValueKind kind;
};

/// A typed pointer as a cabinet gives it back.
struct QsCabPointer {
    std::string type;
    void* pointer;
};

/// The deepest nesting of cabinets the host stores: a cabinet alone is depth 1.
constexpr int kQsCabMaxDepth = 32;

class ICabinets {
public:
    virtual ~ICabinets() = default;

    /// A new, empty cabinet. Never null.
    virtual QsCab newCabinet() = 0;
    /// Destroys a cabinet with everything it holds. Null, a cabinet held by another, and a handle
    /// that is no cabinet are ignored.
    virtual void destroyCabinet(QsCab cab) = 0;
    /// Number of keys; 0 for null.
    virtual int32_t numKeys(QsCab cab) = 0;
    /// Same keys in the same order, each with a value of the same kind and the same contents
    /// (nested cabinets compared the same way, doubles bit for bit, pointers by type and address).
    virtual bool equal(QsCab a, QsCab b) = 0;
    /// The keys in insertion order with each value's kind.
    virtual std::vector<QsCabKeyInfo> keys(QsCab cab) = 0;
    /// The kind of a key's value, or nothing when the key is absent.
    virtual std::optional<QsCabValueKind> kindOf(QsCab cab, const char* key) = 0;
    /// Removes every key.
    virtual void makeEmpty(QsCab cab) = 0;
    /// Moves every entry of src into dst, replacing keys dst has already, and destroys src.
    virtual void merge(QsCab dst, QsCab src) = 0;

    // Put: a null cabinet or key is ignored.
    virtual void putBool(QsCab cab, const char* key, bool value) = 0;
    virtual void putInt(QsCab cab, const char* key, int32_t value) = 0;
    virtual void putAtom(QsCab cab, const char* key, QsAtom value) = 0;
    virtual void putDouble(QsCab cab, const char* key, double value) = 0;
    virtual void putString(QsCab cab, const char* key, const char* bytes, size_t length) = 0;
    virtual void putText(QsCab cab, const char* key, const QsTextRec& text) = 0;
    virtual void putBinary(QsCab cab, const char* key, const void* bytes, size_t length) = 0;
    /// A typed pointer; destroy (may be null) runs when the cabinet lets the value go.
    virtual void putPointer(QsCab cab, const char* key, const char* type, void* pointer,
                            QsCabPointerDestroyProc destroy) = 0;
    /// Puts a cabinet of its own (not held by another, not cab or one that holds cab), which
    /// then belongs to cab; raises a host error for any other.
    virtual void putCabinet(QsCab cab, const char* key, QsCab value) = 0;
    virtual void putNull(QsCab cab, const char* key) = 0;
    virtual void putUns32(QsCab cab, const char* key, uint32_t value) = 0;

    // Get: nothing when the key is absent or holds a value of another kind.
    virtual std::optional<bool> getBool(QsCab cab, const char* key) = 0;
    virtual std::optional<int32_t> getInt(QsCab cab, const char* key) = 0;
    virtual std::optional<QsAtom> getAtom(QsCab cab, const char* key) = 0;
    virtual std::optional<double> getDouble(QsCab cab, const char* key) = 0;
    virtual std::optional<std::string> getString(QsCab cab, const char* key) = 0;
    virtual std::optional<std::u16string> getText(QsCab cab, const char* key) = 0;
    virtual std::optional<std::string> getBinary(QsCab cab, const char* key) = 0;
    virtual std::optional<QsCabPointer> getPointer(QsCab cab, const char* key) = 0;
    /// The nested cabinet, still held by cab; null when there is none.
    virtual QsCab getCabinet(QsCab cab, const char* key) = 0;
    virtual std::optional<uint32_t> getUns32(QsCab cab, const char* key) = 0;

    /// The stored cabinet of a section and name, as a new cabinet; null when there is none or
    /// the file cannot be read as one. A pointer comes back with its type and a null address.
    virtual QsCab loadCabinet(const char* section, const char* name) = 0;
    /// Stores a cabinet under a section and name, replacing what was there in one step: the old
    /// contents or the new ones, never a mix. Raises a host error when it cannot.
    virtual void saveCabinet(QsCab cab, const char* section, const char* name) = 0;
};
