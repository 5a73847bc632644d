#include "soap/SOAPStreamHelpers.h"

#include "frame/HostTables.h"
#include "frame/host/IDigest.h"
#include "values/CES.h"
#include "values/CESArguments.h"
#include "values/CESStreams.h"
#include "values/EStr.h"
#include "values/Filters.h"
#include "values/QsStm.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

using CES::Context;
using CES::Val;

namespace {

/// The block in which a digest reads its source.
constexpr long kDigestBlock = 2048;

/// The object of a stream argument; anything else than an object fails the call.
ESObject streamObject(const Val& value) {
    if (value.type() != kESValObject)
        raiseHostError(kESErrBadArgument);
    return value.object();
}

/// Sets result to the script string of UTF-8 bytes.
bool setText(ESVal result, const Context& context, const std::string& utf8) {
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(EStrFromUTF8(utf8), kEStrUCS));
    CES::setResult(result, Val(EStrGetBytes(ucs), EStrGetLen(ucs), context));
    return true;
}

/// A new stream object over the stream, which it closes, that keeps its source alive.
void setFilteredStream(ESVal result, const Context& context, QsStm stream, const Val& source) {
    Val object(QsStmToESObject(context, stream, true));
    object["srcStm"] = source;
    CES::setResult(result, object);
}

// The bytes of a stream as they stand: the filter of no coding. The source stays open, for its
// object to close.
long readThrough(char* buffer, long count, void* data) {
    return QsStmRead(static_cast<QsStm>(data), buffer, count);
}

FilterEncoding filterNamed(const std::string& name) {
    if (name == "hex")
        return kFilterHex;
    if (name == "base64")
        return kFilterBase64;
    return kFilterNone;
}

std::optional<DigestAlgorithm> digestNamed(const std::string& name) {
    if (name == "SHA1")
        return DigestAlgorithm::SHA1;
    if (name == "MD5")
        return DigestAlgorithm::MD5;
    return std::nullopt;
}

/// The whole source in one buffer, read in blocks; the buffer doubles as it fills.
std::vector<char> readWhole(QsStm stream) {
    std::vector<char> buffer;
    size_t used = 0;
    for (;;) {
        if (buffer.size() < used + kDigestBlock)
            buffer.resize(std::max(buffer.size() * 2, used + kDigestBlock));
        long got = QsStmRead(stream, buffer.data() + used, kDigestBlock);
        if (got <= 0)
            break;
        used += static_cast<size_t>(got);
    }
    buffer.resize(used);
    return buffer;
}

bool codeStream(ESVal result, const Context& context, const Val& source, const std::string& encoder,
                bool encode) {
    ESObject object = streamObject(source);
    bool shouldClose = false;
    QsStm stream = ESObjectToRdQsStm(object, &shouldClose);
    FilterEncoding encoding = filterNamed(encoder);
    QsStm coded = nullptr;
    if (encoding != kFilterNone) {
        coded = encode ? EncodeQsStmRd(stream, encoding, shouldClose)
                       : DecodeQsStmRd(stream, encoding, shouldClose);
    } else if (shouldClose) {
        coded = stream;
    } else {
        coded = QsProcStmRdOpen(readThrough, nullptr, stream);
    }
    setFilteredStream(result, context, coded, source);
    return true;
}

bool digestStream(ESVal result, const Context& context, const Val& source, bool given,
                  const std::string& encoder) {
    std::optional<DigestAlgorithm> algorithm = digestNamed(encoder);
    IDigest* digests = gQsExtraHFT ? gQsExtraHFT->digest() : nullptr;
    if (!algorithm || !digests)
        raiseHostError(kESErrGeneral);
    if (!given)
        return true;
    ESObject object = streamObject(source);
    bool shouldClose = false;
    QsStm stream = ESObjectToRdQsStm(object, &shouldClose);
    std::vector<char> bytes = readWhole(stream);
    if (shouldClose)
        QsStmClose(stream);
    std::string digest = digests->digest(*algorithm, bytes.data(), bytes.size());
    if (digest.empty())
        raiseHostError(kESErrGeneral);
    setFilteredStream(result, context, StreamFromData(digest.data(), digest.size()), source);
    return true;
}

} // namespace

std::string StringFromStream(QsStm stream) {
    return QsStmReadAll(stream);
}

QsStm StreamFromString(const std::string& text) {
    return QsMemStmRdOpen(std::string(text));
}

QsStm StreamFromData(const void* data, size_t length) {
    return QsMemStmRdOpen(static_cast<const char*>(data), length);
}

bool JSSOAPStringFromStream(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        CES::Arguments a(context, args, {{"oStream", true}});
        if (!a.ok())
            return false;
        bool shouldClose = false;
        QsStm stream = ESObjectToRdQsStm(streamObject(a["oStream"]), &shouldClose);
        std::string bytes = StringFromStream(stream);
        if (shouldClose)
            QsStmClose(stream);
        return setText(result, Context(context), bytes);
    });
}

bool JSSOAPStreamFromString(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        CES::Arguments a(context, args, {{"cString", true}});
        if (!a.ok())
            return false;
        Val object(
            QsStmToESObject(context, StreamFromString(a["cString"].text().getString()), true));
        CES::setResult(result, object);
        return true;
    });
}

bool JSSOAPStringEncode(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        CES::Arguments a(context, args, {{"cString", true}, {"cEncoder", false}});
        if (!a.ok())
            return false;
        // "entity" is the one encoder; another name gives no result, and no error either.
        if (a.text("cEncoder", "entity") != "entity")
            return true;
        CQsText units = a["cString"].text();
        CEStr source = CEStr::adopt(EStrNewFromQsText(units.get()));
        CEStr encoded = EntityEncode(source, false);
        CES::setResult(result, Val(EStrGetBytes(encoded), EStrGetLen(encoded), Context(context)));
        return true;
    });
}

bool JSSOAPStreamFilter(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        Context scope(context);
        CES::Arguments a(context, args, {{"oStream", true}, {"cEncoder", false}});
        if (!a.ok())
            return false;
        std::string name = a.methodName();
        std::string coding = a.text("cEncoder");
        if (name == "streamDigest")
            return digestStream(result, scope, a["oStream"], a.has("oStream"), coding);
        if (!a.has("oStream"))
            return true;
        return codeStream(result, scope, a["oStream"], coding, name == "streamEncode");
    });
}
