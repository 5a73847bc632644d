#include "values/QsStm.h"

#include <algorithm>
#include <cstring>
#include <utility>

long QsStmRead(QsStm stream, char* buffer, long count) {
    if (!stream || !buffer || count <= 0)
        return 0;
    return stream->read(buffer, count);
}

long QsStmWrite(QsStm stream, const char* buffer, long count) {
    if (!stream || !buffer || count <= 0)
        return 0;
    return stream->write(buffer, count);
}

void QsStmClose(QsStm stream) {
    delete stream;
}

namespace {

class CMemReadStm final : public _t_QsStm {
public:
    explicit CMemReadStm(std::string data) : m_data(std::move(data)) {}
    long read(char* buffer, long count) override {
        size_t n = std::min<size_t>(static_cast<size_t>(count), m_data.size() - m_offset);
        std::memcpy(buffer, m_data.data() + m_offset, n);
        m_offset += n;
        return static_cast<long>(n);
    }

private:
    std::string m_data;
    size_t m_offset = 0;
};

class CMemWriteStm final : public _t_QsStm {
public:
    long write(const char* buffer, long count) override {
        m_data.append(buffer, static_cast<size_t>(count));
        return count;
    }
    const std::string& data() const { return m_data; }

private:
    std::string m_data;
};

class CProcStm final : public _t_QsStm {
public:
    CProcStm(QsStmReadProc readProc, QsStmWriteProc writeProc, QsStmCloseProc closeProc, void* data)
        : m_read(readProc), m_write(writeProc), m_close(closeProc), m_data(data) {}
    ~CProcStm() override {
        if (m_close)
            m_close(m_data);
    }
    long read(char* buffer, long count) override {
        return m_read ? m_read(buffer, count, m_data) : -1;
    }
    long write(const char* buffer, long count) override {
        return m_write ? m_write(buffer, count, m_data) : -1;
    }

private:
    QsStmReadProc m_read;
    QsStmWriteProc m_write;
    QsStmCloseProc m_close;
    void* m_data;
};

} // namespace

QsStm QsMemStmRdOpen(const char* data, size_t length) {
    return new CMemReadStm(std::string(data ? data : "", data ? length : 0));
}

QsStm QsMemStmRdOpen(std::string&& data) {
    return new CMemReadStm(std::move(data));
}

QsStm QsMemStmWrOpen() {
    return new CMemWriteStm();
}

const std::string* QsMemStmGetData(QsStm stream) {
    auto* memory = dynamic_cast<CMemWriteStm*>(stream);
    return memory ? &memory->data() : nullptr;
}

QsStm QsProcStmRdOpen(QsStmReadProc readProc, QsStmCloseProc closeProc, void* data) {
    return new CProcStm(readProc, nullptr, closeProc, data);
}

QsStm QsProcStmWrOpen(QsStmWriteProc writeProc, QsStmCloseProc closeProc, void* data) {
    return new CProcStm(nullptr, writeProc, closeProc, data);
}

std::string QsStmReadAll(QsStm stream, long blockSize) {
    std::string all;
    if (!stream || blockSize <= 0)
        return all;
    std::string block(static_cast<size_t>(blockSize), '\0');
    for (;;) {
        long n = stream->read(block.data(), blockSize);
        if (n <= 0)
            break;
        all.append(block.data(), static_cast<size_t>(n));
    }
    return all;
}
