#include "tests/fakehost/FakeFileSystem.h"

#include "host/files/DIPath.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr const char* kDataFolder = "/data/vellum/";
constexpr const char* kTempFolder = "/tmp/";

class CFakeReadStm final : public _t_QsStm {
public:
    CFakeReadStm(std::shared_ptr<std::string> bytes, size_t offset)
        : m_bytes(std::move(bytes)), m_offset(offset) {}
    long read(char* buffer, long count) override {
        if (m_offset >= m_bytes->size())
            return 0;
        size_t n = std::min(static_cast<size_t>(count), m_bytes->size() - m_offset);
        std::memcpy(buffer, m_bytes->data() + m_offset, n);
        m_offset += n;
        return static_cast<long>(n);
    }

private:
    std::shared_ptr<std::string> m_bytes;
    size_t m_offset;
};

class CFakeWriteStm final : public _t_QsStm {
public:
    CFakeWriteStm(std::shared_ptr<std::string> bytes, bool canRead)
        : m_bytes(std::move(bytes)), m_canRead(canRead) {}
    long read(char* buffer, long count) override {
        if (!m_canRead)
            return -1;
        if (m_offset >= m_bytes->size())
            return 0;
        size_t n = std::min(static_cast<size_t>(count), m_bytes->size() - m_offset);
        std::memcpy(buffer, m_bytes->data() + m_offset, n);
        m_offset += n;
        return static_cast<long>(n);
    }
    long write(const char* buffer, long count) override {
        m_bytes->replace(m_offset, static_cast<size_t>(count), buffer, static_cast<size_t>(count));
        m_offset += static_cast<size_t>(count);
        return count;
    }

private:
    std::shared_ptr<std::string> m_bytes;
    bool m_canRead;
    size_t m_offset = 0;
};

} // namespace

FakeFileSystem::FakeFileSystem() {
    m_nodes["/"].folder = true;
    createFolder(kDataFolder);
    createFolder(kTempFolder);
}

FakeFileSystem::Node* FakeFileSystem::find(const std::string& path) {
    auto found = m_nodes.find(DIPathWithoutSlash(path));
    return found == m_nodes.end() ? nullptr : &found->second;
}

const FakeFileSystem::Node* FakeFileSystem::find(const std::string& path) const {
    auto found = m_nodes.find(DIPathWithoutSlash(path));
    return found == m_nodes.end() ? nullptr : &found->second;
}

bool FakeFileSystem::parentIsFolder(const std::string& key) const {
    const Node* parent = find(DIPathParent(key));
    return parent && parent->folder;
}

std::optional<std::string> FakeFileSystem::userDataFolder() {
    if (!m_dataAvailable)
        return std::nullopt;
    return std::string(kDataFolder);
}

std::optional<std::string> FakeFileSystem::tempFolder() {
    return std::string(kTempFolder);
}

std::optional<std::string> FakeFileSystem::pathFromText(const char* form, const char* text,
                                                        const char* base) {
    return DIPathFromText(form, text, base);
}

bool FakeFileSystem::createFolder(const std::string& path) {
    if (path.empty() || path[0] != '/')
        return false;
    std::string key = DIPathWithoutSlash(path);
    if (Node* node = find(key))
        return node->folder;
    if (!createFolder(DIPathParent(key)))
        return false;
    m_nodes[key].folder = true;
    return true;
}

bool FakeFileSystem::isFolder(const std::string& path) {
    const Node* node = find(path);
    return node && node->folder;
}

bool FakeFileSystem::isFile(const std::string& path) {
    const Node* node = find(path);
    return node && !node->folder;
}

QsStm FakeFileSystem::open(const std::string& path, int32_t flags) {
    bool canRead = flags & kQsFileRead;
    bool canWrite = flags & kQsFileWrite;
    if ((!canRead && !canWrite) || path.empty() || path[0] != '/' || path.back() == '/')
        return nullptr;
    Node* node = find(path);
    if (node && node->folder)
        return nullptr;
    if (!canWrite)
        return node ? new CFakeReadStm(node->bytes, 0) : nullptr;
    if (!node) {
        if (!(flags & kQsFileCreate) || !parentIsFolder(path))
            return nullptr;
        node = &m_nodes[path];
        node->bytes = std::make_shared<std::string>();
    }
    node->bytes->clear();
    ++m_writes[path];
    return new CFakeWriteStm(node->bytes, canRead);
}

QsStm FakeFileSystem::openAt(const std::string& path, int64_t offset) {
    const Node* node = find(path);
    if (offset < 0 || !node || node->folder || path.back() == '/')
        return nullptr;
    return new CFakeReadStm(node->bytes, static_cast<size_t>(offset));
}

bool FakeFileSystem::remove(const std::string& path) {
    std::string key = DIPathWithoutSlash(path);
    Node* node = find(key);
    if (!node || key == "/")
        return false;
    if (node->folder) {
        auto next = m_nodes.lower_bound(key + "/");
        if (next != m_nodes.end() && next->first.compare(0, key.size() + 1, key + "/") == 0)
            return false;
    }
    m_nodes.erase(key);
    return true;
}

bool FakeFileSystem::rename(const std::string& from, const std::string& to) {
    std::string source = DIPathWithoutSlash(from);
    std::string target = DIPathWithoutSlash(to);
    Node* node = find(source);
    Node* existing = find(target);
    if (!node || source == "/" || target.empty() || target[0] != '/' || !parentIsFolder(target) ||
        (existing && (existing->folder || node->folder)))
        return false;
    if (source == target)
        return true;
    if (node->folder && target.compare(0, source.size() + 1, source + "/") == 0)
        return false;
    std::vector<std::pair<std::string, Node>> moved;
    for (auto it = m_nodes.begin(); it != m_nodes.end();) {
        if (it->first == source || it->first.compare(0, source.size() + 1, source + "/") == 0) {
            moved.emplace_back(target + it->first.substr(source.size()), it->second);
            it = m_nodes.erase(it);
        } else {
            ++it;
        }
    }
    for (auto& [key, moving] : moved)
        m_nodes[key] = moving;
    return true;
}

std::optional<std::string> FakeFileSystem::newTempFilePath() {
    std::string path;
    do {
        path = std::string(kTempFolder) + "vellum-" + std::to_string(m_nextTemp++);
    } while (find(path));
    m_nodes[path].bytes = std::make_shared<std::string>();
    return path;
}

std::optional<std::string> FakeFileSystem::fileContents(const std::string& path) const {
    const Node* node = find(path);
    if (!node || node->folder)
        return std::nullopt;
    return *node->bytes;
}

void FakeFileSystem::putFile(const std::string& path, const std::string& bytes) {
    createFolder(DIPathParent(path));
    Node& node = m_nodes[DIPathWithoutSlash(path)];
    node.folder = false;
    node.bytes = std::make_shared<std::string>(bytes);
}

int FakeFileSystem::writeCount(const std::string& path) const {
    auto found = m_writes.find(path);
    return found == m_writes.end() ? 0 : found->second;
}
