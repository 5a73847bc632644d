// Script objects over streams, and streams over script objects.
//
// A stream object made here keeps its stream in the private "QsStm" and reads and writes it as
// hexadecimal text. The streams handed to script objects are counted in one table: several
// objects may hold one stream (a stream that went out as a value and came back), and it is closed
// once, when the last object that owns it goes. A stream that somebody else closed leaves the
// table, and the objects holding it read nothing from then on. A stream that an object took over
// from a CAgg value may still be owned by copies of that value: object and copies share a flag
// (the private "QsStmClosed"), so whoever closes the stream first tells the others, and it is
// closed once; read and write on the object then fail with the dead-object error. A stream that an
// object took over from a CAgg value may still be owned by copies of that value: object and copies
// share a flag
// ("QsStmClosed"), so whoever closes the stream first tells the others, and it is closed once.
#include "values/CESStreams.h"
#include "values/CESArguments.h"
#include "values/CESInternal.h"

#include "frame/HostTables.h"
#include "frame/host/IFileSystem.h"
#include "values/QsStm.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>

using namespace CES;
using CES::detail::engine;

namespace {

// Bytes a read() gives when the script names no count.
constexpr long kDefaultReadBytes = 4096;
// Bytes asked of the stream at a time while a read() fills its count.
constexpr long kReadBlock = 65536;

struct StreamEntry {
    int objects = 0;
    bool owned = false;
    std::shared_ptr<bool> closed; // shared with CAgg copies; null when none own the stream
};

std::map<QsStm, StreamEntry>& streamTable() {
    static std::map<QsStm, StreamEntry> table;
    return table;
}

/// Whether a CAgg copy that shared the object's stream has closed it.
bool closedUnderObject(ESObject object) {
    void* flag = nullptr;
    return gESHFT && gESHFT->getPrivate(object, "QsStmClosed", &flag) && flag &&
           **static_cast<std::shared_ptr<bool>*>(flag);
}

/// The object's stream while it is open; null when it has none or it was closed elsewhere.
QsStm heldStream(ESObject object) {
    void* stream = nullptr;
    if (!gESHFT || !gESHFT->getPrivate(object, "QsStm", &stream) || !stream ||
        closedUnderObject(object))
        return nullptr;
    auto& table = streamTable();
    return table.count(static_cast<QsStm>(stream)) ? static_cast<QsStm>(stream) : nullptr;
}

/// Lets go of the flag the object shares with CAgg copies of its stream.
void dropClosedFlag(ESObject object) {
    void* flag = nullptr;
    if (gESHFT->getPrivate(object, "QsStmClosed", &flag)) {
        gESHFT->removePrivate(object, "QsStmClosed");
        delete static_cast<std::shared_ptr<bool>*>(flag);
    }
}

} // namespace

void CES::detail::releaseObjectStream(ESObject object) {
    bool closedElsewhere = closedUnderObject(object);
    dropClosedFlag(object);
    void* held = nullptr;
    if (!gESHFT->getPrivate(object, "QsStm", &held))
        return;
    gESHFT->removePrivate(object, "QsStm");
    // A stream closed under the object is gone, and its address may already be another
    // stream's: the table is left alone.
    if (closedElsewhere)
        return;
    auto& table = streamTable();
    auto found = table.find(static_cast<QsStm>(held));
    if (found == table.end() || --found->second.objects > 0)
        return;
    StreamEntry entry = std::move(found->second);
    table.erase(found);
    if (!entry.owned)
        return;
    if (entry.closed)
        *entry.closed = true;
    QsStmClose(static_cast<QsStm>(held));
}

namespace {

void streamFinalizer(ESObject object) {
    if (!gESHFT)
        return;
    detail::releaseObjectStream(object);
    void* file = nullptr;
    if (gESHFT->getPrivate(object, "QsFile", &file) && file) {
        gESHFT->removePrivate(object, "QsFile");
        auto* path = static_cast<std::string*>(file);
        void* remove = nullptr;
        if (gESHFT->getPrivate(object, "QsFileDELETE", &remove) && remove && HostFiles())
            HostFiles()->remove(*path);
        delete path;
    }
}

// read(nBytes): up to nBytes of the stream as lower-case hexadecimal text.
bool streamRead(ESContext context, ESObject self, ESArgs args, ESVal result) {
    return scriptBoundary([&] {
        IScriptEngine& es = engine();
        Context scope(context);
        Arguments a(context, args, {{"nBytes", false}});
        if (!a.ok())
            return false;
        const Val& count = a["nBytes"];
        long wanted =
            count.type() == kESValUndefined ? kDefaultReadBytes : static_cast<long>(count);
        std::string bytes;
        if (closedUnderObject(self))
            raiseHostError(kESErrDeadObject);
        QsStm stream = heldStream(self);
        std::string block;
        while (stream && static_cast<long>(bytes.size()) < wanted) {
            long missing = wanted - static_cast<long>(bytes.size());
            block.resize(static_cast<size_t>(std::min(kReadBlock, missing)));
            long got = QsStmRead(stream, block.data(), static_cast<long>(block.size()));
            if (got < 0)
                detail::throwPending(scope);
            if (got == 0)
                break;
            bytes.append(block.data(), static_cast<size_t>(got));
        }
        std::string hex = detail::hexFromBytes(bytes.data(), bytes.size());
        return es.setString(result, hex.c_str(), static_cast<long>(hex.size()));
    });
}

// write(cHex): decodes the text and writes the bytes; the number written.
bool streamWrite(ESContext context, ESObject self, ESArgs args, ESVal result) {
    return scriptBoundary([&] {
        IScriptEngine& es = engine();
        Context scope(context);
        Arguments a(context, args, {{"cHex", true}});
        if (!a.ok())
            return false;
        CQsText text = a["cHex"].text();
        std::string ascii;
        for (char16_t unit : text.units())
            ascii += unit < 0x80 ? static_cast<char>(unit) : ' ';
        std::string bytes = detail::bytesFromHex(ascii.data(), ascii.size());
        long written = 0;
        if (closedUnderObject(self))
            raiseHostError(kESErrDeadObject);
        QsStm stream = heldStream(self);
        if (stream && !bytes.empty())
            written = QsStmWrite(stream, bytes.data(), static_cast<long>(bytes.size()));
        if (written < 0)
            detail::throwPending(scope);
        es.setNumber(result, static_cast<double>(written));
        return true;
    });
}

// Streams over script objects: each block goes through the object's read or write method.

struct ScriptStream {
    explicit ScriptStream(ESObject object) : holder(object) {}
    Val holder;
    std::string pending; // bytes decoded but not yet read
    bool ended = false;
    bool failed = false;
};

// Asks the object for more bytes; false when it failed.
bool fetch(ScriptStream& source, long count) {
    try {
        IScriptEngine& es = engine();
        Context context(source.holder);
        Val argument(count, context);
        Val answer(context);
        ESVal args[] = {argument.slot()};
        if (!es.callMethod(source.holder.object(), "read", args, 1, answer.slot()))
            return false;
        ESValType type = answer.type();
        if (type == kESValUndefined || type == kESValNull) {
            source.ended = true;
            return true;
        }
        CQsText text = answer.text();
        std::string ascii;
        for (char16_t unit : text.units())
            ascii += unit < 0x80 ? static_cast<char>(unit) : ' ';
        source.pending = detail::bytesFromHex(ascii.data(), ascii.size());
        source.ended = source.pending.empty();
        return true;
    } catch (...) {
        // The script's error waits in its context; the reader sees a failed read.
        return false;
    }
}

long scriptStreamRead(char* buffer, long count, void* data) {
    auto& source = *static_cast<ScriptStream*>(data);
    if (source.failed)
        return -1;
    if (count <= 0)
        return 0;
    if (source.pending.empty() && !source.ended && !fetch(source, count)) {
        source.failed = true;
        return -1;
    }
    long taken = std::min(count, static_cast<long>(source.pending.size()));
    std::copy_n(source.pending.data(), taken, buffer);
    source.pending.erase(0, static_cast<size_t>(taken));
    return taken;
}

long scriptStreamWrite(const char* buffer, long count, void* data) {
    auto& source = *static_cast<ScriptStream*>(data);
    if (source.failed)
        return -1;
    try {
        IScriptEngine& es = engine();
        Context context(source.holder);
        std::string hex = detail::hexFromBytes(buffer, static_cast<size_t>(count));
        Val argument(hex.c_str(), context);
        Val answer(context);
        ESVal args[] = {argument.slot()};
        if (!es.callMethod(source.holder.object(), "write", args, 1, answer.slot())) {
            source.failed = true;
            return -1;
        }
        if (answer.type() != kESValNumber)
            return count;
        return std::clamp(static_cast<long>(answer), 0L, count);
    } catch (...) {
        source.failed = true;
        return -1;
    }
}

void scriptStreamClose(void* data) {
    delete static_cast<ScriptStream*>(data);
}

} // namespace

namespace CES::detail {

std::string hexFromBytes(const char* bytes, size_t count) {
    static const char kDigits[] = "0123456789abcdef";
    std::string hex(count * 2, '\0');
    for (size_t i = 0; i < count; ++i) {
        auto byte = static_cast<unsigned char>(bytes[i]);
        hex[2 * i] = kDigits[byte >> 4];
        hex[2 * i + 1] = kDigits[byte & 0x0F];
    }
    return hex;
}

std::string bytesFromHex(const char* text, size_t length) {
    // The value of each character, or -1 for one that is no hexadecimal digit.
    static const auto kTable = [] {
        std::array<int8_t, 256> table{};
        table.fill(-1);
        for (int i = 0; i < 10; ++i)
            table['0' + i] = static_cast<int8_t>(i);
        for (int i = 0; i < 6; ++i) {
            table['a' + i] = static_cast<int8_t>(10 + i);
            table['A' + i] = static_cast<int8_t>(10 + i);
        }
        return table;
    }();
    std::string bytes;
    bytes.reserve(length / 2);
    int high = -1;
    for (size_t i = 0; i < length; ++i) {
        int digit = kTable[static_cast<unsigned char>(text[i])];
        if (digit < 0)
            continue;
        if (high < 0) {
            high = digit;
        } else {
            bytes += static_cast<char>(high << 4 | digit);
            high = -1;
        }
    }
    return bytes;
}

} // namespace CES::detail

ESObject QsStmToESObject(ESContext context, QsStm stream, bool closeWithObject) {
    return QsStmToESObject(context, stream, closeWithObject, nullptr);
}

ESObject QsStmToESObject(ESContext context, QsStm stream, bool closeWithObject,
                         std::shared_ptr<bool> closedElsewhere) {
    IScriptEngine& es = engine();
    Context scope(context);
    ESObject object = detail::guarded([&] { return es.newObject(context, "Object"); });
    if (!object || !es.addMethod(object, "read", streamRead) ||
        !es.addMethod(object, "write", streamWrite))
        detail::throwPending(scope);
    // Nothing fails from here on: once the object holds the stream, its finaliser closes it.
    es.setFinalizer(object, streamFinalizer);
    if (stream) {
        StreamEntry& entry = streamTable()[stream];
        // An entry whose stream was closed under its objects belongs to a stream that is gone.
        if (entry.closed && *entry.closed)
            entry = StreamEntry{};
        ++entry.objects;
        entry.owned = entry.owned || closeWithObject;
        if (closedElsewhere && !entry.closed)
            entry.closed = closedElsewhere;
        es.setPrivate(object, "QsStm", stream);
        if (closedElsewhere)
            es.setPrivate(object, "QsStmClosed", new std::shared_ptr<bool>(closedElsewhere));
    }
    return object;
}

QsStm ESObjectToRdQsStm(ESObject object, bool* shouldClose) {
    if (shouldClose)
        *shouldClose = false;
    if (!ESObjectStreamShouldClose(object))
        return heldStream(object);
    auto* source = new ScriptStream(object);
    if (shouldClose)
        *shouldClose = true;
    return QsProcStmRdOpen(scriptStreamRead, scriptStreamClose, source);
}

QsStm ESObjectToWrQsStm(ESObject object, bool* shouldClose) {
    if (shouldClose)
        *shouldClose = false;
    if (!ESObjectStreamShouldClose(object))
        return heldStream(object);
    auto* source = new ScriptStream(object);
    if (shouldClose)
        *shouldClose = true;
    return QsProcStmWrOpen(scriptStreamWrite, scriptStreamClose, source);
}

bool ESObjectStreamShouldClose(ESObject object) {
    return !engine().getPrivate(object, "QsStm", nullptr);
}

void ESObjectQsStmGotClosed(ESObject object) {
    void* held = nullptr;
    IScriptEngine& es = engine();
    dropClosedFlag(object);
    if (!es.getPrivate(object, "QsStm", &held))
        return;
    es.removePrivate(object, "QsStm");
    streamTable().erase(static_cast<QsStm>(held));
}
