// The attachment scan: the parts of a request that go out beside the SOAP envelope.
//
// Anywhere in a request, a map with "soapAttachment" true is an attachment: its "soapValue" must
// be a stream, which becomes a part of the multipart body under the map's key as its name. The
// map keeps only a reference to the part ("soapHREF" = "cid:" and the part's id), and so is
// written as an element with an "href".
#pragma once

#include "soap/CMultipartWriter.h"
#include "values/CAgg.h"

/// Whether any map in the value, at any depth, has "soapAttachment" true.
bool SOAPHasAttachments(CAgg& value);

/// Moves each attachment of the request into the writer, in the order of the walk (maps by
/// their order, vectors by index), and lists it in attachments: the part's id to its name.
/// False when an attachment's "soapValue" is not a stream; the parts moved so far stay.
bool SOAPScanAttachments(CAgg& request, CMultipartWriter& writer, CAgg& attachments);
