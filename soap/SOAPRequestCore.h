// The main road of a SOAP call: a command value in, the reply or a failure record out.
//
// Script (SOAP.request, SOAP.response), the exported table and the asynchronous requests all
// describe a call as one command, a CAgg map with the keys below, so that the core knows nothing
// of where a call came from. The core writes the request (attachments turn it into a multipart
// body), posts it, feeds the reply to the parser, and reads the parsed reply with the reader of
// the call's style. The reply's value ends in "response" and its SOAP header in "header".
//
// A call that fails leaves a failure record in "response" instead: "type" the atom SOAPError or
// NetworkError, "error" (the fault code as text for a fault, else a number), "text" the message,
// and for a fault "soapActor" and "soapDetail".
#pragma once

#include "frame/host/QsStmRec.h"
#include "soap/CHTTPRequest.h"
#include "soap/CRequestWriter.h"
#include "values/CAgg.h"
#include "values/EStr.h"
#include "xml/CXML2CAgg.h"

#include <cstdint>
#include <memory>

// Keys of the command.

/// The endpoint (string).
inline constexpr const char* kSOAPCmdURL = "URL";
/// The SOAPAction, without quotes (string).
inline constexpr const char* kSOAPCmdAction = "soapAction";
/// The request value.
inline constexpr const char* kSOAPCmdRequest = "request";
/// The order of the operation's parameters, for the encoded writer (vector).
inline constexpr const char* kSOAPCmdParamOrder = "paramOrder";
/// Encoded or literal writer and reader (boolean; true when absent).
inline constexpr const char* kSOAPCmdEncoded = "encoded";
/// The default namespace of the literal writer (string).
inline constexpr const char* kSOAPCmdNameSpace = "nameSpace";
/// The SOAP header to send; on the way back, the reply's header.
inline constexpr const char* kSOAPCmdHeader = "header";
/// 0 for SOAP 1.1, 1 for SOAP 1.2 (integer).
inline constexpr const char* kSOAPCmdVersion = "version";
/// Credentials of the call: "Username", "Password" (map).
inline constexpr const char* kSOAPCmdAuthenticate = "authenticate";
/// How the reply is delivered: "XML", "Message", or absent for plain values.
inline constexpr const char* kSOAPCmdMessageStyle = "messageStyle";
/// The attachments sent: each part's id to the name it was sent under (map; filled by the core).
inline constexpr const char* kSOAPCmdAttachments = "attachments";
/// Set for a call whose reply is not looked at (boolean).
inline constexpr const char* kSOAPCmdMessage = "Message";
/// The reply's value, or the failure record.
inline constexpr const char* kSOAPCmdResponse = "response";

// The failure record.

/// Exception names, which are also the "type" of a failure record.
inline constexpr const char* kSOAPErrorName = "SOAPError";
inline constexpr const char* kNetworkErrorName = "NetworkError";

/// Replaces the command's response by a failure record of that type, error and message.
void SOAPSetFailure(CAgg& command, const char* type, CAgg error, const _EStrRec* text);
/// The type of a failure record ("SOAPError" or "NetworkError"); null for any other value,
/// replies included.
const char* SOAPFailureType(CAgg& response);
/// The text of a message of the message table.
CEStr SOAPMessageText(uint16_t messageID);

/// The preference that bounds the size of a reply, in MiB ("SOAP", "MaxReplyMegabytes"); 0 or
/// less lifts the bound. A reply past it ends the call in a NetworkError with the error -9. The
/// default keeps the parsed tree of a reply of the smallest elements within a desktop's memory.
inline constexpr const char* kSOAPPrefSection = "SOAP";
inline constexpr const char* kSOAPPrefMaxReply = "MaxReplyMegabytes";
inline constexpr int32_t kSOAPDefaultMaxReplyMegabytes = 128;
/// The bound in bytes, read from the preference at each call; 0 for none.
long long SOAPReplyLimit();
/// The parsed tree of a reply may hold at most this many times the reply's bound in memory, by
/// the parser's estimate of it (CXML2CAgg::setTreeBudget). A reply of the smallest elements
/// costs about a hundred times its size as a tree, so that a reply well within the bound could
/// still take all of a machine's memory; past its budget the reading stops, and the call ends
/// in the NetworkError of a reply past the bound. At the default bound of 128 MiB a tree may
/// take 2 GiB; an encoded reply of structs takes about 30 times its size.
inline constexpr long long kSOAPTreeBudgetFactor = 16;
/// The budget of a reply's tree under a reply bound; 0, no budget, when there is no bound.
long long SOAPTreeBudget(long long replyLimit);

// The road, whole and in its two halves.

/// What becomes of the command's "request" once the message is written.
enum class SOAPRequestAfterWriting {
    kept,      ///< it stays, for a caller that hands the whole command back
    handedOver ///< the writer takes it over, rather than copying a large request
};

/// Runs the call synchronously: returns once the reply has been read, or at once for a failure
/// before the post. With "Message" set the reply is not looked at: "response" stays as it was
/// unless writing the request failed.
void SOAPRequestCore(CAgg& command,
                     SOAPRequestAfterWriting request = SOAPRequestAfterWriting::kept);

/// The first half of a call: writes the request of the command into a body ready to post
/// (multipart when the request holds attachments, which the core takes out of the request and
/// lists under "attachments"). Null, with the writer's failure in "response", when the request
/// cannot be written.
std::unique_ptr<CRequestWriter>
SOAPWriteRequest(CAgg& command, SOAPRequestAfterWriting request = SOAPRequestAfterWriting::kept);
/// A request for the command's URL, under the script client, with the command's action and
/// credentials. The command must outlive it.
std::unique_ptr<CHTTPRequest> SOAPNewHTTPRequest(CAgg& command);
/// The consumer of a reply: each block goes to the parser in userData (a CXML2CAgg), and the
/// final call ends the document. The parser's tree gets the budget of the reply bound of the
/// request (a CHTTPRequest). Answers whether the parser took the block.
unsigned short XMLRespHandler(void* request, void* data, long length, void* userData, long status);
/// The second half: once the reply has been read into the parser, maps a failed status, a reply
/// past its bound or a tree past its budget, a parse failure or a fault into the failure record, or
/// reads the reply into "response" and "header".
void SOAPReadResponse(CAgg& command, CHTTPRequest& http, CXML2CAgg& parser);
