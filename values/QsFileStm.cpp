#include "values/QsFileStm.h"

#include "frame/HostTables.h"
#include "frame/host/IFileSystem.h"

#include <algorithm>

namespace {

QsStm openFile(const char* path, int32_t flags) {
    IFileSystem* files = HostFiles();
    if (!files || !path || !*path)
        return nullptr;
    return files->open(path, flags);
}

/// Reads a file stream up to the end of a byte range, then ends; owns the file stream.
class CRangeStm final : public _t_QsStm {
public:
    CRangeStm(QsStm file, int64_t length) : m_file(file), m_left(length) {}
    ~CRangeStm() override { delete m_file; }
    CRangeStm(const CRangeStm&) = delete;
    CRangeStm& operator=(const CRangeStm&) = delete;

    long read(char* buffer, long count) override {
        if (m_left <= 0)
            return 0;
        long n = m_file->read(buffer, static_cast<long>(std::min<int64_t>(count, m_left)));
        if (n > 0)
            m_left -= n;
        return n;
    }

private:
    QsStm m_file;
    int64_t m_left;
};

} // namespace

QsStm QsFileStmRdOpen(const char* path) {
    return openFile(path, kQsFileRead);
}

QsStm QsFileStmWrOpen(const char* path) {
    return openFile(path, kQsFileWrite | kQsFileCreate);
}

QsStm QsFileRangeStmRdOpen(const char* path, int64_t offset, int64_t length) {
    IFileSystem* files = HostFiles();
    if (!files || !path || !*path || offset < 0 || length < 0)
        return nullptr;
    QsStm file = files->openAt(path, offset);
    return file ? new CRangeStm(file, length) : nullptr;
}
