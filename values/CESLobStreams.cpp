// Stream objects over the stream form of low-level objects, kept in temporary files.
#include "values/CESInternal.h"
#include "values/CESStreams.h"

#include "frame/HostTables.h"
#include "frame/host/IFileSystem.h"
#include "values/CESConvert.h"
#include "values/CLobObjShadow.h"
#include "values/LobObjStream.h"
#include "values/QsFileStm.h"
#include "values/QsStm.h"

#include <string>

using namespace CES;
using CES::detail::engine;

namespace {

// Bytes read from a stream object at a time.
constexpr long kCopyBlock = 4096;

/// A new temporary file; the host error when the host has none.
std::string newTempFile() {
    IFileSystem* files = HostFiles();
    std::optional<std::string> path = files ? files->newTempFilePath() : std::nullopt;
    if (!path)
        raiseHostError(kHostErrGeneral);
    return *path;
}

/// Removes a temporary file on every way out.
class TempFile {
public:
    explicit TempFile(std::string path) : m_path(std::move(path)) {}
    ~TempFile() {
        if (IFileSystem* files = HostFiles(); files && !m_path.empty())
            files->remove(m_path);
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const std::string& path() const { return m_path; }
    /// Keeps the file: somebody else removes it.
    std::string release() { return std::exchange(m_path, std::string()); }

private:
    std::string m_path;
};

/// Closes a stream on every way out.
class OpenStream {
public:
    explicit OpenStream(QsStm stream) : m_stream(stream) {
        if (!stream)
            raiseHostError(kHostErrGeneral);
    }
    ~OpenStream() { QsStmClose(m_stream); }
    OpenStream(const OpenStream&) = delete;
    OpenStream& operator=(const OpenStream&) = delete;
    QsStm get() const { return m_stream; }

private:
    QsStm m_stream;
};

/// The object that a file holds in stream form, copied into the store that shadows keep
/// objects of no document in.
Val shadowOfStoredObject(ESContext context, const std::string& path) {
    OpenStream in(QsFileStmRdOpen(path.c_str()));
    CLobObjShadow shadow;
    LobDoc temp = shadow.acquireTempLobDoc();
    HostFrame frame;
    int32_t code = frame.run([&] {
        LobObj object = LobObjReadLSO(in.get(), temp);
        if (gLobHFT->objGetType(object) != LobObjType::Null)
            shadow = object;
    });
    shadow.releaseTempLobDoc();
    if (code)
        raiseHostError(code);
    Val result(context);
    CAgg value = shadow.isEmpty() ? CAgg() : CAgg(shadow);
    CAggToESVal(result.slot(), value);
    return result;
}

/// Hands the file to the object: it is removed when the object goes.
void giveFile(ESObject object, TempFile& file) {
    engine().setPrivate(object, "QsFile", new std::string(file.release()));
    engine().setPrivate(object, "QsFileDELETE", reinterpret_cast<void*>(1));
}

// getLobObj(): closes what was written and reads it back as an object.
bool getLobObj(ESContext context, ESObject self, ESArgs, ESVal result) {
    return scriptBoundary([&] {
        IScriptEngine& es = engine();
        detail::releaseObjectStream(self);
        void* file = nullptr;
        if (!es.getPrivate(self, "QsFile", &file) || !file)
            raiseHostError(kESErrDeadObject);
        Val object = shadowOfStoredObject(context, *static_cast<std::string*>(file));
        es.assignVal(result, object.slot());
        return true;
    });
}

} // namespace

ESObject LobObjToStreamESObject(ESContext context, LobObj object) {
    TempFile file(newTempFile());
    {
        OpenStream out(QsFileStmWrOpen(file.path().c_str()));
        LobObjWriteLSO(object, out.get());
    }
    QsStm in = QsFileStmRdOpen(file.path().c_str());
    if (!in)
        raiseHostError(kHostErrGeneral);
    ESObject stream = nullptr;
    try {
        stream = QsStmToESObject(context, in, true);
    } catch (...) {
        QsStmClose(in);
        throw;
    }
    giveFile(stream, file);
    return stream;
}

ESObject WrStreamToLobObjESObjectCreate(ESContext context) {
    TempFile file(newTempFile());
    QsStm out = QsFileStmWrOpen(file.path().c_str());
    if (!out)
        raiseHostError(kHostErrGeneral);
    ESObject stream = nullptr;
    try {
        stream = QsStmToESObject(context, out, true);
    } catch (...) {
        QsStmClose(out);
        throw;
    }
    giveFile(stream, file);
    if (!engine().addMethod(stream, "getLobObj", getLobObj))
        detail::throwPending(Context(context));
    return stream;
}

LobObj StreamESObjectToLobObj(ESObject object, LobDoc doc) {
    Context context(object);
    TempFile file(newTempFile());
    {
        bool shouldClose = false;
        QsStm source = ESObjectToRdQsStm(object, &shouldClose);
        OpenStream out(QsFileStmWrOpen(file.path().c_str()));
        std::string block(kCopyBlock, '\0');
        long got = 0;
        while ((got = QsStmRead(source, block.data(), kCopyBlock)) > 0)
            QsStmWrite(out.get(), block.data(), got);
        if (shouldClose)
            QsStmClose(source);
        if (got < 0)
            detail::throwPending(context);
    }
    OpenStream in(QsFileStmRdOpen(file.path().c_str()));
    return LobObjReadLSO(in.get(), doc);
}
