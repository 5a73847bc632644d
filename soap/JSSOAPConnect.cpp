#include "soap/JSSOAPConnect.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/QsCore.h"
#include "soap/CSOAPServiceProxy.h"
#include "soap/HTTPFunctions.h"
#include "values/CES.h"
#include "values/CESArguments.h"
#include "values/CESStreams.h"
#include "values/QsStm.h"
#include "values/miUrl.h"

#include <cstring>
#include <string>
#include <utility>

namespace {

// A WSDL document larger than this counts as nothing fetched.
constexpr long kMaxDocumentBytes = 64L * 1024 * 1024;
// Values nested deeper than this come back from stripNS as they are.
constexpr int kMaxStripDepth = 256;

// The growing buffer of a fetch: it always keeps a NUL behind the data.
struct FetchBuffer {
    FetchBuffer() = default;
    FetchBuffer(const FetchBuffer&) = delete;
    FetchBuffer& operator=(const FetchBuffer&) = delete;
    ~FetchBuffer() { QsFree(data); }

    char* data = nullptr;
    long size = 0;
    long used = 0;
    bool tooLarge = false;
};

unsigned short fetchConsumer(void*, void* data, long length, void* userData, long) {
    auto& buffer = *static_cast<FetchBuffer*>(userData);
    if (length <= 0 || !data)
        return 1;
    if (length > kMaxDocumentBytes - buffer.used) {
        buffer.tooLarge = true;
        return 0;
    }
    if (buffer.used + length + 1 > buffer.size) {
        // Room for twice the block, and the NUL.
        long size = buffer.size + 2 * length + 1;
        buffer.data = static_cast<char*>(QsSureRealloc(buffer.data, static_cast<size_t>(size)));
        buffer.size = size;
    }
    std::memcpy(buffer.data + buffer.used, data, static_cast<size_t>(length));
    buffer.used += length;
    buffer.data[buffer.used] = '\0';
    return 1;
}

bool isWebURL(const std::string& url) {
    CrackedUrlRec cracked{};
    return miCrackUrl(url.c_str(), &cracked) == kUrlOK &&
           (cracked.scheme == kUrlHttp || cracked.scheme == kUrlHttps);
}

// The key without the namespace; the key itself when it is in another namespace.
CQsText strippedKey(const CQsText& key, const CQsText& nameSpace) {
    const std::u16string& units = key.units();
    size_t colon;
    if (nameSpace.isEmpty()) {
        colon = units.rfind(u':');
        if (colon == std::u16string::npos)
            return key;
    } else {
        const std::u16string& prefix = nameSpace.units();
        colon = prefix.size();
        if (units.size() <= colon || units.compare(0, colon, prefix) != 0 || units[colon] != u':')
            return key;
    }
    CQsText local;
    local.set(units.substr(colon + 1));
    return local;
}

// An object made by script, or a map of a reply ("Aggregate"), that holds no stream.
bool isPlainObject(ESObject object) {
    std::string name = CES::className(object);
    return (name == "Object" || name == "Aggregate") && ESObjectStreamShouldClose(object);
}

CES::Val stripped(const CES::Val& value, const CQsText& nameSpace, int depth) {
    ESObject object = value.object();
    if (!object || depth >= kMaxStripDepth)
        return value;
    CES::Context context(value);
    if (value.isArray()) {
        CES::Val copy = CES::newArray(context);
        long length = value.len();
        for (long i = 0; i < length; ++i)
            copy[i] = stripped(value[i].get(), nameSpace, depth + 1);
        return copy;
    }
    if (!isPlainObject(object))
        return value;
    CES::Val copy = CES::newObject(context, "Object");
    for (auto it = value.begin(); it != value.end(); ++it) {
        auto [key, member] = it.getPair();
        CQsText name = strippedKey(key.text(), nameSpace);
        copy[name.get()] = stripped(member, nameSpace, depth + 1);
    }
    return copy;
}

} // namespace

bool JSSOAPConnect(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        CES::Arguments a(context, args, {{"cURL", true}});
        if (!a.ok())
            return false;
        const CES::Val& url = a["cURL"];
        std::string address = url.text().getString();
        if (url.type() != kESValString || !isWebURL(address))
            raiseHostError(kESErrBadArgument);

        FetchBuffer buffer;
        simpleGet({gEFSClientIDs[0], 0}, address.c_str(), fetchConsumer, &buffer, nullptr);
        if (buffer.used == 0 || buffer.tooLarge) {
            CES::Val none(context);
            none.setNull();
            CES::setResult(result, none);
            return true;
        }
        CES::Val proxy = CES::newObject(CES::Context(context), "SOAPService");
        // The WSDL reader is an optional table of the host: without it the proxy stays empty.
        if (gFormFlowHFT) {
            QsStm stream = QsMemStmRdOpen(buffer.data, static_cast<size_t>(buffer.used));
            CSOAPServiceProxy filler(context, proxy.object());
            gFormFlowHFT->readWsdlFrom(stream, address.c_str(), CSOAPServiceProxy::operationProc,
                                       &filler);
            filler.addPortProperty();
            QsStmClose(stream);
        }
        CES::setResult(result, proxy);
        return true;
    });
}

bool JSSOAPStripNS(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        // Read by position only: a reply object may well have a member of a parameter's name.
        CES::Arguments a = CES::Arguments::byPosition(context, args, 2);
        const CES::Val& value = a["0"];
        const CES::Val& nameSpace = a["1"];
        CQsText ns;
        if (nameSpace.type() != kESValUndefined && nameSpace.type() != kESValNull)
            ns = nameSpace.text();
        CES::Val copy = stripped(value, ns, 0);
        CES::setResult(result, copy);
        return true;
    });
}

void CSOAPConnect() {}
