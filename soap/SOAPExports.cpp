#include "soap/SOAPExports.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "soap/SOAPRequestCore.h"
#include "values/Filters.h"
#include "values/QsCab.h"

#include <cstring>
#include <utility>

namespace {

/// The command of a call: the cabinet's keys and the URL. False without either.
bool commandOf(const char* url, QsCab cabinet, CAgg& command) {
    if (!url || !cabinet)
        return false;
    QsCab2CAgg(command, cabinet);
    // An empty cabinet reads as an empty vector: a call of nothing, which the core then fails.
    if (command.getType() != CAgg::eMap)
        command = CAgg();
    command[kSOAPCmdURL] = CAgg(EStrFromUTF8(url).get());
    CAgg& request = command[kSOAPCmdRequest];
    if (request.has("soapParameterOrder")) {
        command[kSOAPCmdParamOrder] = request["soapParameterOrder"];
        request.remove("soapParameterOrder");
    }
    return true;
}

/// The bytes of a text given with its length, or up to its NUL for a length of -1.
CEStr bytesOf(const char* data, long length) {
    if (!data)
        length = 0;
    else if (length < 0)
        length = static_cast<long>(std::strlen(data));
    CEStr text = CEStr::adopt(EStrNewSize(length, kEStrPDFDoc));
    if (length > 0)
        std::memcpy(text.get()->bytes, data, static_cast<size_t>(length));
    return text;
}

/// A copy of the bytes, NUL-terminated, from the viewer's allocator.
char* hostCopy(const CEStr& text, long* outLength) {
    long length = EStrGetLen(text);
    auto* copy = static_cast<char*>(QsMalloc(static_cast<size_t>(length) + 1));
    if (!copy)
        return nullptr;
    std::memcpy(copy, EStrGetBytes(text), static_cast<size_t>(length));
    copy[length] = '\0';
    if (outLength)
        *outLength = length;
    return copy;
}

} // namespace

int32_t CSOAPRequest(const char* url, QsCab cabinet) {
    bool replied = false;
    HostFrame frame;
    frame.run([&] {
        CAgg command;
        if (!commandOf(url, cabinet, command))
            return;
        SOAPRequestCore(command);
        CAgg& response = command[kSOAPCmdResponse];
        replied = SOAPFailureType(response) == nullptr;
        if (!replied)
            command["error"] = std::move(response);
        // What holds nothing (no reply, no header) is left out of the cabinet.
        for (const char* key : {kSOAPCmdResponse, kSOAPCmdHeader}) {
            if (command[key].getType() == CAgg::eVoid)
                command.remove(key);
        }
        ICabinets* cabinets = HostCabinets();
        if (!cabinets)
            raiseHostError(kHostErrGeneral);
        cabinets->makeEmpty(cabinet);
        cabinets->merge(cabinet, CAgg2QsCab(command));
    });
    return replied && frame.code() == 0 ? 1 : 0;
}

int32_t CSOAPAsyncRequest(const char* url, QsCab cabinet, SOAPAsyncProc proc, void* data) {
    bool started = false;
    HostFrame frame;
    frame.run([&] {
        CAgg command;
        if (!commandOf(url, cabinet, command))
            return;
        auto* request = new CSOAPProcRequestAsync(std::move(command), proc, data);
        started = request->startRequest();
    });
    return started ? 1 : 0;
}

void CSOAPCall() {}

char* CSOAPEncodeString(const char* data, long length, long* outLength) {
    return hostCopy(EncodeString(bytesOf(data, length), kFilterBase64), outLength);
}

char* CSOAPDecodeString(const char* text, long length, long* outLength) {
    return hostCopy(DecodeString(bytesOf(text, length), kFilterBase64), outLength);
}
