// The simple forms of an HTTP request, the mapping of failed replies to messages, and the
// opening of a URL in the host.
#pragma once

#include "frame/host/QsStmRec.h"
#include "soap/CHTTPRequest.h"
#include "values/CAgg.h"

#include <cstdint>
#include <optional>

/// A synchronous GET with the caller's headers (records with "key" and "value", or null); the
/// HTTP status, 0 when none came.
long simpleGet(const HTTPClientIds& ids, const char* url, HTTPConsumerProc consumer, void* userData,
               const CAgg* headers);
/// An asynchronous GET: true when it is under way and the consumer will hear of it; false when
/// it could not start, and then the consumer is never called.
bool simpleAsyncGet(const HTTPClientIds& ids, const char* url, HTTPConsumerProc consumer,
                    void* userData, const CAgg* headers);
/// A synchronous POST of text/xml under the SOAP client; the request takes the stream over.
/// The HTTP status, 0 when none came.
long simplePost(const char* url, QsStm stream, HTTPConsumerProc consumer, void* userData,
                const char* action);
/// The asynchronous form of simplePost; true when under way.
bool simpleAsyncPost(const char* url, QsStm stream, HTTPConsumerProc consumer, void* userData,
                     const char* action);

/// Receives the reply of grrRequest: the body piece by piece, then once with null data and
/// length 0. Answers non-zero to go on.
using GrrProc = unsigned short (*)(const char* data, long length, void* userData, long status);
/// Posts stream to an http or https URL (any case), synchronously or not, the reply going to
/// callback. -1 for any other URL; else what simplePost or simpleAsyncPost answered.
long grrRequest(const char* url, QsStm stream, GrrProc callback, void* userData, bool async,
                const char* action);

/// The message of a failed reply, by HTTP status, or for a status of 0 or below by the network
/// error; nothing when the body is to be read (2xx, and 500 and above, so that a SOAP fault
/// reaches its reader).
std::optional<uint16_t> processHTTPError(long status, long error);
/// The message of a network error code.
uint16_t MapEFSError(long error);

/// Opens a URL in the host: one of the viewer's own scheme ("vellum:") goes to its URL
/// commands, any other to a new browser window.
void ExecuteURL(const char* url);
