#include "soap/SOAPRequestCore.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/QsCore.h"
#include "frame/ZString.h"
#include "frame/host/IScriptEngine.h"
#include "soap/CMultipartWriter.h"
#include "soap/CSOAPReader.h"
#include "soap/CSOAPWriter.h"
#include "soap/HTTPFunctions.h"
#include "soap/SOAPAttachments.h"
#include "values/CAggWalk.h"
#include "values/QsStm.h"
#include "xml/CAgg2XML.h"

#include <optional>
#include <string>
#include <vector>

namespace {

/// The content type of the envelope. The charset stands on the envelope's own type; the "type"
/// parameter of a multipart body names bare text/xml.
constexpr const char* kEnvelopeType = "text/xml; charset=UTF-8";

bool flagOf(CAgg& command, const char* key, bool otherwise) {
    if (!command.has(key))
        return otherwise;
    CAgg flag(command[key]);
    return flag.toQsBool() != 0;
}

std::string textOf(CAgg& command, const char* key) {
    return command.has(key) ? EStrToUTF8(CAggValueText(command[key])) : std::string();
}

SOAPVersion versionOf(CAgg& command) {
    if (!command.has(kSOAPCmdVersion))
        return kSOAPVersion11;
    CAgg version(command[kSOAPCmdVersion]);
    return version.toQsInt32() == 1 ? kSOAPVersion12 : kSOAPVersion11;
}

CAgg atomValue(const char* text) {
    CAgg value;
    value.toQsAtom() = QsAtomFromString(text);
    return value;
}

} // namespace

void SOAPSetFailure(CAgg& command, const char* type, CAgg error, const _EStrRec* text) {
    CAgg record;
    record["type"] = atomValue(type);
    record["error"] = std::move(error);
    record["text"] = CAgg(text);
    command[kSOAPCmdResponse] = std::move(record);
}

const char* SOAPFailureType(CAgg& response) {
    // The type is an atom: a reply's own values are never atoms, so a reply that happens to
    // hold "type" is not taken for a failure.
    if (!CAggIsMap(response) || !response.has("type") ||
        response["type"].getType() != CAgg::eQsAtom)
        return nullptr;
    std::string type = QsAtomGetString(response["type"].toQsAtom());
    if (type == kSOAPErrorName)
        return kSOAPErrorName;
    if (type == kNetworkErrorName)
        return kNetworkErrorName;
    return nullptr;
}

CEStr SOAPMessageText(uint16_t messageID) {
    return CEStr::adopt(EStrNewFromID(messageID));
}

long long SOAPReplyLimit() {
    IPreferences* preferences = HostPreferences();
    std::optional<int32_t> megabytes =
        preferences ? preferences->getInt(kSOAPPrefSection, kSOAPPrefMaxReply) : std::nullopt;
    long long limit = megabytes.value_or(kSOAPDefaultMaxReplyMegabytes);
    return limit > 0 ? limit << 20 : 0;
}

long long SOAPTreeBudget(long long replyLimit) {
    return replyLimit > 0 ? replyLimit * kSOAPTreeBudgetFactor : 0;
}

std::unique_ptr<CRequestWriter> SOAPWriteRequest(CAgg& command, SOAPRequestAfterWriting after) {
    CAgg& request = command[kSOAPCmdRequest];
    CAgg header = command.has(kSOAPCmdHeader) ? CAgg(command[kSOAPCmdHeader]) : CAgg();
    bool multipart = SOAPHasAttachments(request);
    std::unique_ptr<CRequestWriter> body = getRequestWriter(multipart);
    auto* parts = multipart ? static_cast<CMultipartWriter*>(body.get()) : nullptr;
    if (parts && !SOAPScanAttachments(request, *parts, command[kSOAPCmdAttachments])) {
        SOAPSetFailure(command, kSOAPErrorName, CAgg(-1L),
                       SOAPMessageText(IDS_SOAP_VALUE_BAD_TYPE));
        return nullptr;
    }

    unsigned short encoded = flagOf(command, kSOAPCmdEncoded, true);
    // Handed over, the request is not copied, and an asynchronous call does not hold it while it
    // waits for the reply.
    std::unique_ptr<CSOAPWriter> writer =
        after == SOAPRequestAfterWriting::handedOver
            ? getSOAPWriter(std::move(header), std::move(request), encoded)
            : getSOAPWriter(header, request, encoded);
    if (command.has(kSOAPCmdParamOrder)) {
        CAgg order(command[kSOAPCmdParamOrder]);
        writer->setParameterOrder(order.toVector());
    }
    if (command.has(kSOAPCmdNameSpace))
        writer->setDefaultNS(CAggValueText(command[kSOAPCmdNameSpace]));
    writer->setVersion(versionOf(command));
    // A plain request is written as text at once; any other goes through the element tree and
    // the serialiser, which writes it as it is read.
    std::string text;
    bool asText = false;
    CAgg message;
    HostFrame frame;
    if (int32_t code = frame.run([&] {
            asText = writer->writeMessageText(text);
            if (!asText)
                message = writer->writeMessage();
        })) {
        // A name that cannot be written is a wrong argument of the call, not a SOAP failure.
        if (code == kESErrBadArgument)
            raiseHostError(kESErrBadArgument);
        SOAPSetFailure(command, kSOAPErrorName, CAgg(static_cast<long>(code)), writer->getError());
        return nullptr;
    }

    QsStm envelope =
        asText ? QsMemStmRdOpen(std::move(text)) : CAgg2XML::openStream(std::move(message));
    if (parts) {
        parts->setDefaultPart(parts->addPart(kEnvelopeType, "binary", envelope));
    } else {
        static_cast<CSinglePartWriter*>(body.get())->setContent(kEnvelopeType, envelope);
    }
    return body;
}

std::unique_ptr<CHTTPRequest> SOAPNewHTTPRequest(CAgg& command) {
    std::string url = textOf(command, kSOAPCmdURL);
    auto http = std::make_unique<CHTTPRequest>(HTTPClientIds{gEFSClientIDs[0], 0}, url.c_str());
    http->setSOAPAction(textOf(command, kSOAPCmdAction).c_str());
    http->setReplyLimit(SOAPReplyLimit());
    // Credentials of the call's own stand in for the interactive ones; without both a user name
    // and a password the interactive callback answers.
    if (command.has(kSOAPCmdAuthenticate))
        http->setAuthenticate(&command[kSOAPCmdAuthenticate]);
    return http;
}

unsigned short XMLRespHandler(void* request, void* data, long length, void* userData, long) {
    auto* parser = static_cast<CXML2CAgg*>(userData);
    if (request)
        parser->setTreeBudget(SOAPTreeBudget(static_cast<CHTTPRequest*>(request)->replyLimit()));
    if (length > 0 && data)
        return parser->parse(static_cast<const char*>(data), static_cast<int>(length), 0) != 0;
    parser->parse(nullptr, 0, 1);
    return 0;
}

void SOAPReadResponse(CAgg& command, CHTTPRequest& http, CXML2CAgg& parser) {
    // Whatever the outcome, the header sent is no longer what "header" holds.
    command[kSOAPCmdHeader] = CAgg();
    if (http.replyTooLarge() || parser.treeOverBudget()) {
        // A reply past the limit (the preference SOAP.MaxReplyMegabytes), or one whose tree
        // would take more memory than the limit allows for, is taken for an invalid response:
        // the user reads the message table's text for it, with its code.
        SOAPSetFailure(command, kNetworkErrorName, CAgg(static_cast<long>(kNetErrInvalidResponse)),
                       SOAPMessageText(IDS_NETWORK_INVALID));
        return;
    }
    if (std::optional<uint16_t> message = processHTTPError(http.getStatus(), http.getError())) {
        // A status that came is the error; without one, the network's error code.
        long error = http.getStatus() > 0 ? http.getStatus() : http.getError();
        SOAPSetFailure(command, kNetworkErrorName, CAgg(error), SOAPMessageText(*message));
        return;
    }
    if (XML_Error code = parser.getErrorCode(); code != XML_ERROR_NONE) {
        SOAPSetFailure(command, kSOAPErrorName, CAgg(static_cast<long>(code)),
                       parser.getErrorString());
        return;
    }

    std::string style = textOf(command, kSOAPCmdMessageStyle);
    // The reader takes the parsed tree over: nothing reads it from the parser afterwards.
    std::unique_ptr<CSOAPReader> reader =
        getSOAPReader(std::move(parser.getRoot()), flagOf(command, kSOAPCmdEncoded, true));
    reader->setAsXML(style == "XML");
    reader->setXMLMessage(style == "Message");
    CAgg header;
    CAgg body;
    CPartResolver* parts = http.isMultipart() ? http.getPartResolver() : nullptr;
    HostFrame frame;
    // An envelope in no SOAP namespace makes the reader raise: that is a reply not understood.
    if (int32_t raised = frame.run([&] {
            header = reader->readHeader();
            body = reader->readBody(parts);
        })) {
        SOAPSetFailure(command, kSOAPErrorName, CAgg(static_cast<long>(raised)),
                       SOAPMessageText(IDS_SOAP_PARSE_PROBLEM));
        return;
    }
    // A SOAP 1.2 fault has no faultstring that the reader knows: it passes for an empty reply.
    if (reader->hasFault()) {
        SOAPSetFailure(command, kSOAPErrorName, CAgg(reader->getFaultCode().get()),
                       reader->getFaultString());
        CAgg& record = command[kSOAPCmdResponse];
        record["soapActor"] = CAgg(reader->getFaultActor().get());
        record["soapDetail"] = reader->getFaultDetail();
        return;
    }
    if (reader->hasError()) {
        SOAPSetFailure(command, kSOAPErrorName, CAgg(reader->getErrorCode()), reader->getError());
        return;
    }
    command[kSOAPCmdHeader] = std::move(header);
    command[kSOAPCmdResponse] = std::move(body);
}

void SOAPRequestCore(CAgg& command, SOAPRequestAfterWriting request) {
    std::unique_ptr<CRequestWriter> body = SOAPWriteRequest(command, request);
    if (!body)
        return;
    std::unique_ptr<CHTTPRequest> http = SOAPNewHTTPRequest(command);
    CXML2CAgg parser;
    http->doPost(body.get(), XMLRespHandler, &parser);
    // A message sent for its own sake: neither the status nor the body is looked at.
    if (flagOf(command, kSOAPCmdMessage, false))
        return;
    SOAPReadResponse(command, *http, parser);
}
