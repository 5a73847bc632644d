// The property names that the converters of a context hold in the engine, so that a name met
// again (the same keys on every struct of a reply) is not made again, with the CAgg keys each one
// reads as. Only the bridge's sources include this header.
//
// A context's names live from its first conversion until it goes. They are bounded: past
// kCapacity names the cache holds no more, and the converters make the names it lacks as they
// would without it. A conversion that found the cache full lets go, when it ends, of the names
// it did not use, so that keys met once cannot keep out for good the ones later calls use.
#pragma once

#include "values/CES.h"
#include "values/EStr.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace CES::detail {

class NameCache {
public:
    /// The most names a context's cache holds.
    static constexpr size_t kCapacity = 1024;

    /// The context's names for one conversion, made on first use. Conversions may nest.
    class Use {
    public:
        explicit Use(ESContext context);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;
        NameCache* operator->() const { return m_cache; }

    private:
        NameCache* m_cache;
    };

    /// The name of a map key as the engine takes names: host bytes for encoding 0, else marked
    /// UCS. Null when the cache is full and lacks it, or once the context is gone.
    ESName forKey(const _EStrRec* key);
    /// The name of an atom's text; null as for forKey.
    ESName forAtom(QsAtom atom);
    /// Whether the context went during the conversion. Handles rooted in it must not be used any
    /// more, for their objects may have gone with it: script run by a getter, a setter or a method
    /// can take its context down.
    bool contextGone() const { return m_dead; }
    /// Throws the internal exception once the context went.
    void checkContext() const {
        if (m_dead)
            throwInternalException();
    }
    /// The names "read" and "write", or null once the context is gone.
    ESName read() const { return m_dead ? nullptr : m_read; }
    ESName write() const { return m_dead ? nullptr : m_write; }

    /// The UCS key of a property from enumerateNamed in UCS form: its held name, or else its text.
    CEStr ucsKey(ESName name, const char* text, long length);
    /// The atom of a property from enumerateNamed in host form.
    QsAtom atomKey(ESName name, const char* text, long length);

private:
    struct Entry {
        ESName name = nullptr;
        CEStr ucs; // null until asked for
        QsAtom atom = kQsNullAtom;
        bool hasAtom = false;
        unsigned long lastUse = 0; // the conversion that used it last
    };
    struct TextHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>()(text);
        }
    };
    using TextIndex = std::unordered_map<std::string, Entry*, TextHash, std::equal_to<>>;

    explicit NameCache(ESContext context);
    ~NameCache();
    static void contextGoes(ESContext context);

    /// forKey of a plain PDFDocEncoding key, by its bytes.
    ESName forPlainText(std::string_view text);
    /// The entry of a text's name, kept in index; null when it is new and there is no room.
    Entry* hold(TextIndex& index, std::string_view text);
    /// The same for a text that index lacks.
    Entry* holdNew(TextIndex& index, std::string_view text);
    static ESName nameOf(Entry* entry);
    Entry* used(Entry* entry) {
        if (entry)
            entry->lastUse = m_conversion;
        return entry;
    }
    /// The entry of an enumerated name, held by the cache from now on; null when it is new and
    /// there is no room. Its text is in the form of index.
    Entry* entryOf(ESName name, TextIndex& index, const char* text, long length);
    /// Lets go of the names the current conversion did not use.
    void releaseUnused();

    ESContext m_context;
    int m_depth = 0;
    bool m_dead = false;            // the context went while a conversion used the cache
    bool m_overflowed = false;      // a name found no room since the outermost conversion began
    unsigned long m_conversion = 0; // counts outermost conversions
    ESName m_read = nullptr;
    ESName m_write = nullptr;
    std::unordered_map<ESName, Entry> m_entries;
    TextIndex m_byHostText;
    TextIndex m_byUCSText;
    // Keys in PDFDocEncoding of characters it shares with ASCII, as their bytes: they are the
    // names of their UCS texts, found without moving each key to UCS first.
    TextIndex m_byPlainText;
    std::unordered_map<QsAtom, Entry*> m_byAtom;
};

} // namespace CES::detail
