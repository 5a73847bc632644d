#include "host/net/CBodySpool.h"

#include <vector>

CBodySpool::~CBodySpool() {
    clear();
}

void CBodySpool::clear() {
    if (m_file)
        std::fclose(m_file);
    m_file = nullptr;
    m_memory.clear();
    m_size = 0;
    m_position = 0;
}

bool CBodySpool::append(const char* bytes, size_t count) {
    if (!m_file && m_memory.size() + count <= kMemoryLimit) {
        m_memory.append(bytes, count);
        m_size += count;
        return true;
    }
    if (!m_file) {
        m_file = std::tmpfile();
        if (!m_file)
            return false;
        if (std::fwrite(m_memory.data(), 1, m_memory.size(), m_file) != m_memory.size())
            return false;
        m_memory.clear();
        m_memory.shrink_to_fit();
    }
    if (std::fwrite(bytes, 1, count, m_file) != count)
        return false;
    m_size += count;
    return true;
}

bool CBodySpool::fill(NetPostWriteProc write, void* data) {
    clear();
    std::vector<char> block(16384);
    for (;;) {
        long got = write(block.data(), static_cast<long>(block.size()), data);
        if (got == 0)
            break;
        if (got < 0 || static_cast<size_t>(got) > block.size() ||
            !append(block.data(), static_cast<size_t>(got))) {
            clear();
            return false;
        }
    }
    if (m_file && std::fflush(m_file) != 0) {
        clear();
        return false;
    }
    return seek(0);
}

size_t CBodySpool::read(char* buffer, size_t count) {
    if (m_position >= m_size)
        return 0;
    uint64_t left = m_size - m_position;
    if (count > left)
        count = static_cast<size_t>(left);
    size_t got;
    if (m_file) {
        got = std::fread(buffer, 1, count, m_file);
    } else {
        m_memory.copy(buffer, count, static_cast<size_t>(m_position));
        got = count;
    }
    m_position += got;
    return got;
}

bool CBodySpool::seek(uint64_t offset) {
    if (offset > m_size)
        return false;
    if (m_file && fseeko(m_file, static_cast<off_t>(offset), SEEK_SET) != 0)
        return false;
    m_position = offset;
    return true;
}
