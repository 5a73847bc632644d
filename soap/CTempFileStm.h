// A read stream over a byte range of a spooled temporary file: how the parts of a multipart reply
// are handed out without being read into memory.
#pragma once

#include "frame/host/QsStmRec.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

class CTempFileStm final : public _t_QsStm {
public:
    /// A new, empty file in the host's temporary folder, removed when the last holder lets go.
    class CFile {
    public:
        /// Makes the file; null without a file system or a temporary folder.
        static std::shared_ptr<CFile> create();
        ~CFile();
        CFile(const CFile&) = delete;
        CFile& operator=(const CFile&) = delete;

        const std::string& path() const { return m_path; }

    private:
        explicit CFile(std::string path) : m_path(std::move(path)) {}
        std::string m_path;
    };

    /// A stream over length bytes of the file from offset. The file is opened on the first read,
    /// and kept, with its range, for as long as the stream lives.
    CTempFileStm(std::shared_ptr<CFile> file, int64_t offset, int64_t length);
    ~CTempFileStm() override;
    CTempFileStm(const CTempFileStm&) = delete;
    CTempFileStm& operator=(const CTempFileStm&) = delete;

    long read(char* buffer, long count) override;
    /// A new stream over the same range, read from its start.
    QsStm clone() const;

    int64_t offset() const { return m_offset; }
    int64_t length() const { return m_length; }

private:
    std::shared_ptr<CFile> m_file;
    int64_t m_offset;
    int64_t m_length;
    QsStm m_stream = nullptr;
    bool m_opened = false;
};
