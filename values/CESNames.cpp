#include "values/CESNames.h"

#include "values/CESInternal.h"

#include "frame/QsCore.h"

#include <cstring>
#include <memory>

namespace CES::detail {

namespace {

// The caches of the contexts that have converted something; one goes when its context does.
std::unordered_map<ESContext, NameCache*>& caches() {
    static auto* all = new std::unordered_map<ESContext, NameCache*>();
    return *all;
}

// Host text as the engine reads a name given without a length: up to the first zero byte.
std::string_view hostView(const char* bytes, long length) {
    return {bytes, strnlen(bytes, static_cast<size_t>(length))};
}

// A key's text as the engine reads a name given without a length: marked UCS up to the first
// zero unit, or, without the mark, host text.
std::string_view markedView(const char* bytes, long length) {
    if (length < 2 || static_cast<unsigned char>(bytes[0]) != 0xFE ||
        static_cast<unsigned char>(bytes[1]) != 0xFF)
        return hostView(bytes, length);
    long end = 2;
    while (end + 1 < length && (bytes[end] != 0 || bytes[end + 1] != 0))
        end += 2;
    return {bytes, static_cast<size_t>(end)};
}

} // namespace

NameCache::Use::Use(ESContext context) {
    auto& all = caches();
    auto found = all.find(context);
    if (found == all.end())
        found = all.emplace(context, new NameCache(context)).first;
    m_cache = found->second;
    if (m_cache->m_depth++ == 0)
        ++m_cache->m_conversion;
}

NameCache::Use::~Use() {
    if (--m_cache->m_depth > 0)
        return;
    if (m_cache->m_dead) {
        delete m_cache;
    } else if (m_cache->m_overflowed) {
        m_cache->m_overflowed = false;
        m_cache->releaseUnused();
    }
}

NameCache::NameCache(ESContext context) : m_context(context) {
    IScriptEngine& es = engine();
    es.registerContextTerm(contextGoes);
    m_read = es.holdName(context, "read", -1);
    m_write = es.holdName(context, "write", -1);
}

NameCache::~NameCache() = default;

void NameCache::contextGoes(ESContext context) {
    auto& all = caches();
    auto found = all.find(context);
    if (found == all.end())
        return;
    NameCache* cache = found->second;
    all.erase(found);
    // The engine drops the context's names itself.
    if (cache->m_depth == 0) {
        delete cache;
        return;
    }
    // A conversion still runs on it: the cache answers nothing from now on, and goes when the
    // conversion ends.
    cache->m_dead = true;
    cache->m_entries.clear();
    cache->m_byHostText.clear();
    cache->m_byUCSText.clear();
    cache->m_byPlainText.clear();
    cache->m_byAtom.clear();
}

void NameCache::releaseUnused() {
    auto unused = [this](const Entry* entry) { return entry->lastUse != m_conversion; };
    std::erase_if(m_byHostText, [&](const auto& item) { return unused(item.second); });
    std::erase_if(m_byUCSText, [&](const auto& item) { return unused(item.second); });
    std::erase_if(m_byPlainText, [&](const auto& item) { return unused(item.second); });
    std::erase_if(m_byAtom, [&](const auto& item) { return unused(item.second); });
    IScriptEngine& es = engine();
    std::erase_if(m_entries, [&](const auto& item) {
        if (!unused(&item.second))
            return false;
        es.releaseName(item.first);
        return true;
    });
}

NameCache::Entry* NameCache::hold(TextIndex& index, std::string_view text) {
    auto found = index.find(text);
    if (found != index.end())
        return used(found->second);
    return holdNew(index, text);
}

NameCache::Entry* NameCache::holdNew(TextIndex& index, std::string_view text) {
    if (m_entries.size() >= kCapacity) {
        m_overflowed = true;
        return nullptr;
    }
    ESName name = engine().holdName(m_context, text.data(), static_cast<long>(text.size()));
    if (!name)
        return nullptr;
    // Texts of one name ("1" and marked "1") share its entry, whose name the cache holds once.
    auto [item, added] = m_entries.try_emplace(name);
    if (added)
        item->second.name = name;
    else
        engine().releaseName(name);
    index.emplace(text, &item->second);
    return used(&item->second);
}

ESName NameCache::nameOf(Entry* entry) {
    return entry ? entry->name : nullptr;
}

ESName NameCache::forKey(const _EStrRec* key) {
    if (m_dead)
        return nullptr;
    if (!key)
        return nameOf(hold(m_byHostText, ""));
    const char* bytes = EStrGetBytes(key);
    long length = EStrGetLen(key);
    switch (EStrGetEncoding(key)) {
    case kEStrHost:
        return nameOf(hold(m_byHostText, hostView(bytes, length)));
    case kEStrUCS:
        return nameOf(hold(m_byUCSText, markedView(bytes, length)));
    case kEStrPDFDoc:
        if (isPlainText(bytes, length))
            return forPlainText(std::string_view(bytes, static_cast<size_t>(length)));
        [[fallthrough]];
    default: {
        CEStr ucs(key);
        EStrSetEncoding(ucs, kEStrUCS);
        return nameOf(hold(m_byUCSText, markedView(ucs.c_str(), EStrGetLen(ucs))));
    }
    }
}

ESName NameCache::forPlainText(std::string_view text) {
    auto found = m_byPlainText.find(text);
    if (found != m_byPlainText.end())
        return used(found->second)->name;
    // The name of the text's UCS form, which the other index has under its marked units.
    std::string marked = "\xFE\xFF";
    for (char c : text) {
        marked += '\0';
        marked += c;
    }
    Entry* entry = hold(m_byUCSText, marked);
    if (entry)
        m_byPlainText.emplace(text, entry);
    return nameOf(entry);
}

ESName NameCache::forAtom(QsAtom atom) {
    if (m_dead)
        return nullptr;
    auto found = m_byAtom.find(atom);
    if (found != m_byAtom.end())
        return used(found->second)->name;
    const char* text = QsAtomGetString(atom);
    Entry* entry = hold(m_byHostText, text ? text : "");
    if (entry)
        m_byAtom.emplace(atom, entry);
    return nameOf(entry);
}

NameCache::Entry* NameCache::entryOf(ESName name, TextIndex& index, const char* text, long length) {
    if (m_dead)
        return nullptr;
    if (name) {
        auto found = m_entries.find(name);
        if (found != m_entries.end())
            return used(&found->second);
    }
    // A name the context holds for nobody comes with its text, and no entry can have it.
    if (!name)
        return holdNew(index, std::string_view(text, static_cast<size_t>(length)));
    // One that it holds for someone else: held by the cache too, from its text.
    std::string own;
    if (!engine().readName(name, &index == &m_byUCSText, own))
        return nullptr;
    return hold(index, own);
}

CEStr NameCache::ucsKey(ESName name, const char* text, long length) {
    Entry* entry = entryOf(name, m_byUCSText, text, length);
    if (entry && !entry->ucs.isNull())
        return entry->ucs;
    std::string marked;
    if (!text) {
        engine().readName(entry ? entry->name : name, true, marked);
        text = marked.data();
        length = static_cast<long>(marked.size());
    }
    CEStr key = ucsString(text, length);
    if (entry)
        entry->ucs = key;
    return key;
}

QsAtom NameCache::atomKey(ESName name, const char* text, long length) {
    Entry* entry = entryOf(name, m_byHostText, text, length);
    if (entry && entry->hasAtom)
        return entry->atom;
    std::string host;
    if (!text) {
        engine().readName(entry ? entry->name : name, false, host);
        text = host.data();
        length = static_cast<long>(host.size());
    }
    // The atom of the text up to a zero byte, as atoms are made from host text.
    QsAtom atom = QsAtomFromString(std::string(hostView(text, length)).c_str());
    if (entry) {
        entry->atom = atom;
        entry->hasAtom = true;
    }
    return atom;
}

} // namespace CES::detail
