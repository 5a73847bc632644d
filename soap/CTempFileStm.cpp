#include "soap/CTempFileStm.h"

#include "frame/HostTables.h"
#include "frame/host/IFileSystem.h"
#include "values/QsFileStm.h"
#include "values/QsStm.h"

std::shared_ptr<CTempFileStm::CFile> CTempFileStm::CFile::create() {
    IFileSystem* files = HostFiles();
    if (!files)
        return nullptr;
    std::optional<std::string> path = files->newTempFilePath();
    if (!path)
        return nullptr;
    return std::shared_ptr<CFile>(new CFile(*path));
}

CTempFileStm::CFile::~CFile() {
    if (IFileSystem* files = HostFiles())
        files->remove(m_path);
}

CTempFileStm::CTempFileStm(std::shared_ptr<CFile> file, int64_t offset, int64_t length)
    : m_file(std::move(file)), m_offset(offset), m_length(length) {}

CTempFileStm::~CTempFileStm() {
    QsStmClose(m_stream);
}

long CTempFileStm::read(char* buffer, long count) {
    if (!m_opened) {
        m_opened = true;
        if (m_file)
            m_stream = QsFileRangeStmRdOpen(m_file->path().c_str(), m_offset, m_length);
    }
    return m_stream ? QsStmRead(m_stream, buffer, count) : 0;
}

QsStm CTempFileStm::clone() const {
    return new CTempFileStm(m_file, m_offset, m_length);
}
