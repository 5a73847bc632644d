// The byte form of a store.
//
//   <header>\n
//   root <id>\n
//   <count>\n
//   then one line a node: <id> <S|A|D> <0|1 indirect> and its content
//     S: <length>:<bytes>      A: <n> <ref>...      D: <n> (<length>:<key> <ref>)...
// A reference is n (null), b0, b1, i<integer>, f<fixed word>, N<length>:<name>, or r<id>.
// Lengths make the form safe for any bytes; the reader checks every bound and number.
#include "host/document/CHostDocumentModel.h"

#include "frame/HostError.h"

#include <cstring>
#include <string>

namespace {

constexpr int kKindShift = 56;

class Cursor {
public:
    explicit Cursor(const std::string& text, size_t start) : m_text(text), m_pos(start) {}

    bool atEnd() const { return m_pos >= m_text.size(); }
    bool literal(char c) {
        if (atEnd() || m_text[m_pos] != c)
            return false;
        ++m_pos;
        return true;
    }
    char peek() const { return atEnd() ? '\0' : m_text[m_pos]; }
    void skip() { ++m_pos; }

    /// A decimal number in [low, high], an optional "-" first.
    bool number(long long low, long long high, long long* out) {
        bool negative = literal('-');
        size_t start = m_pos;
        long long value = 0;
        while (!atEnd() && m_text[m_pos] >= '0' && m_text[m_pos] <= '9') {
            value = value * 10 + (m_text[m_pos] - '0');
            if (value > high + 1)
                return false;
            ++m_pos;
        }
        if (m_pos == start)
            return false;
        if (negative)
            value = -value;
        if (value < low || value > high)
            return false;
        *out = value;
        return true;
    }

    /// <length>:<bytes>
    bool counted(std::string* out) {
        long long length = 0;
        if (!number(0, static_cast<long long>(m_text.size()), &length) || !literal(':'))
            return false;
        if (static_cast<size_t>(length) > m_text.size() - m_pos)
            return false;
        out->assign(m_text, m_pos, static_cast<size_t>(length));
        m_pos += static_cast<size_t>(length);
        return true;
    }

private:
    const std::string& m_text;
    size_t m_pos;
};

void appendCounted(std::string& out, const std::string& bytes) {
    out += std::to_string(bytes.size());
    out += ':';
    out += bytes;
}

[[noreturn]] void badForm() {
    raiseHostError(kHostErrBadByteForm);
}

} // namespace

void CHostDocumentModel::docSave(LobDoc doc, QsStm out, const LobDocSaveRec& record) {
    Store& store = storeOf(doc);
    std::string bytes = record.header ? record.header : "";
    bytes += "\nroot " + std::to_string(store.rootId) + "\n";
    bytes += std::to_string(store.nodes.size()) + "\n";
    uint32_t serial = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(doc));
    auto appendRef = [&](LobObj ref) {
        bytes += ' ';
        switch (ref.bits >> kKindShift) {
        case 0:
            bytes += 'n';
            return;
        case 1:
            bytes += (ref.bits & 1) ? "b1" : "b0";
            return;
        case 2:
            bytes += 'i' + std::to_string(objGetInteger(ref));
            return;
        case 3:
            bytes += 'f' + std::to_string(objGetFixed(ref));
            return;
        case 4:
            bytes += 'N';
            appendCounted(bytes, objGetName(ref));
            return;
        default:
            // Only objects of this store travel with it; anything else reads back as null.
            if (storeSerial(ref) == serial && store.nodes.count(nodeId(ref)))
                bytes += 'r' + std::to_string(nodeId(ref));
            else
                bytes += 'n';
        }
    };
    for (auto& [id, node] : store.nodes) {
        bytes += std::to_string(id);
        bytes += node.type == LobObjType::String  ? " S "
                 : node.type == LobObjType::Array ? " A "
                                                  : " D ";
        bytes += node.indirect ? '1' : '0';
        bytes += ' ';
        if (node.type == LobObjType::String) {
            appendCounted(bytes, node.bytes);
        } else if (node.type == LobObjType::Array) {
            bytes += std::to_string(node.items.size());
            for (LobObj item : node.items)
                appendRef(item);
        } else {
            bytes += std::to_string(node.entries.size());
            for (auto& [key, value] : node.entries) {
                bytes += ' ';
                appendCounted(bytes, key);
                appendRef(value);
            }
        }
        bytes += '\n';
    }
    if (!out)
        return;
    for (size_t done = 0; done < bytes.size();) {
        long wrote = out->write(bytes.data() + done, static_cast<long>(bytes.size() - done));
        if (wrote <= 0)
            raiseHostError(kHostErrGeneral);
        done += static_cast<size_t>(wrote);
    }
}

LobDoc CHostDocumentModel::docOpen(const LobDocOpenRec& record) {
    std::string text;
    char block[4096];
    for (long got; record.file && (got = record.file->read(block, sizeof block)) > 0;)
        text.append(block, static_cast<size_t>(got));
    const char* header = record.header ? record.header : "";
    if (text.compare(0, std::strlen(header), header) != 0)
        badForm();
    size_t lineEnd = text.find('\n');
    if (lineEnd == std::string::npos)
        badForm();

    LobDoc doc = newStore();
    uint32_t serial = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(doc));
    Store& store = m_stores[serial];
    store.nodes.clear();
    Cursor in(text, lineEnd + 1);
    auto readRef = [&](LobObj* out) -> bool {
        if (!in.literal(' '))
            return false;
        char kind = in.peek();
        in.skip();
        long long value = 0;
        std::string name;
        switch (kind) {
        case 'n':
            *out = LobObj{};
            return true;
        case 'b':
            if (!in.number(0, 1, &value))
                return false;
            *out = objNewBoolean(doc, value != 0);
            return true;
        case 'i':
        case 'f':
            if (!in.number(INT32_MIN, INT32_MAX, &value))
                return false;
            *out = kind == 'i' ? objNewInteger(doc, static_cast<int32_t>(value))
                               : objNewFixed(doc, static_cast<int32_t>(value));
            return true;
        case 'N':
            if (!in.counted(&name))
                return false;
            *out = objNewName(doc, name.c_str());
            return true;
        case 'r':
            if (!in.number(1, UINT32_MAX, &value))
                return false;
            *out = storedObj(serial, static_cast<uint32_t>(value));
            return true;
        default:
            return false;
        }
    };
    auto parse = [&]() -> bool {
        long long root = 0, count = 0;
        if (!in.literal('r') || !in.literal('o') || !in.literal('o') || !in.literal('t') ||
            !in.literal(' ') || !in.number(1, UINT32_MAX, &root) || !in.literal('\n'))
            return false;
        // Every node takes several bytes, so a count beyond the text's size is a lie.
        if (!in.number(0, static_cast<long long>(text.size()), &count) || !in.literal('\n'))
            return false;
        for (long long i = 0; i < count; ++i) {
            long long id = 0, indirect = 0, items = 0;
            if (!in.number(1, UINT32_MAX - 1, &id) || !in.literal(' '))
                return false;
            Node node;
            char type = in.peek();
            in.skip();
            if (!in.literal(' ') || !in.number(0, 1, &indirect) || !in.literal(' '))
                return false;
            node.indirect = indirect != 0;
            if (type == 'S') {
                node.type = LobObjType::String;
                if (!in.counted(&node.bytes))
                    return false;
            } else if (type == 'A' || type == 'D') {
                node.type = type == 'A' ? LobObjType::Array : LobObjType::Dict;
                if (!in.number(0, static_cast<long long>(text.size()), &items))
                    return false;
                for (long long k = 0; k < items; ++k) {
                    std::string key;
                    LobObj value;
                    if (type == 'D' && (!in.literal(' ') || !in.counted(&key)))
                        return false;
                    if (!readRef(&value))
                        return false;
                    if (type == 'A')
                        node.items.push_back(value);
                    else
                        node.entries[key] = value;
                }
            } else {
                return false;
            }
            if (!in.literal('\n') || !store.nodes.emplace(static_cast<uint32_t>(id), node).second)
                return false;
            store.nextId = std::max(store.nextId, static_cast<uint32_t>(id) + 1);
        }
        auto rootNode = store.nodes.find(static_cast<uint32_t>(root));
        if (rootNode == store.nodes.end() || rootNode->second.type != LobObjType::Dict)
            return false;
        store.rootId = static_cast<uint32_t>(root);
        return in.atEnd();
    };
    if (!parse()) {
        m_stores.erase(serial);
        badForm();
    }
    // References to nodes the form does not hold read as null.
    auto fix = [&](LobObj& ref) {
        if (isStored(ref) && !store.nodes.count(nodeId(ref)))
            ref = LobObj{};
    };
    for (auto& [id, node] : store.nodes) {
        for (auto& item : node.items)
            fix(item);
        for (auto& entry : node.entries)
            fix(entry.second);
    }
    return doc;
}
