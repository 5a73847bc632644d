// The body of a post, pulled from the caller's procedures before the request goes out.
//
// Holding the whole body lets the layer send it with a Content-Length and send it again when a
// server's challenge makes the request go round once more. A small body stays in memory; a
// larger one spills into an unlinked temporary file, so memory stays bounded.
#pragma once

#include "frame/host/INetwork.h"

#include <cstdint>
#include <cstdio>
#include <string>

class CBodySpool {
public:
    /// Bodies up to this size stay in memory.
    static constexpr size_t kMemoryLimit = 256 * 1024;

    CBodySpool() = default;
    ~CBodySpool();
    CBodySpool(const CBodySpool&) = delete;
    CBodySpool& operator=(const CBodySpool&) = delete;

    /// Pulls the body from write until it answers 0. False when write failed or the temporary
    /// file could not be written; what was pulled is then dropped.
    bool fill(NetPostWriteProc write, void* data);
    /// The size of the body.
    uint64_t size() const { return m_size; }
    /// Copies up to count bytes from the read position on; 0 at the end.
    size_t read(char* buffer, size_t count);
    /// Moves the read position; false past the end.
    bool seek(uint64_t offset);

private:
    bool append(const char* bytes, size_t count);
    void clear();

    std::string m_memory;
    FILE* m_file = nullptr;
    uint64_t m_size = 0;
    uint64_t m_position = 0;
};
