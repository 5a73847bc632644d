// "WebCapture": the viewer's service that turns a web page into a document, and opens it.
#pragma once

#include "frame/host/ICabinets.h"
#include "frame/host/IHostTable.h"
#include "frame/host/QsStmRec.h"
#include "frame/host/ViewerHandles.h"

#include <string>

class IWebCapture : public IHostTable {
public:
    /// Whether the service can convert now (a host without its converter answers false, and
    /// unavailableReason says why).
    virtual bool available() = 0;
    /// Why the service cannot convert, UTF-8; empty when it can.
    virtual std::string unavailableReason() = 0;
    /// Converts the page read from stream (of a MIME type, "text/html") into a new document.
    /// settings holds "url": the page's own address, as 8-bit text, against which relative links
    /// resolve. The caller keeps and closes the stream and the cabinet. Null on failure, with the
    /// reason in lastError.
    virtual DkDoc convert(const char* mimeType, QsStm stream, QsCab settings) = 0;
    /// Why the last convert failed, UTF-8.
    virtual std::string lastError() = 0;
    /// Opens a document that convert made, for the user to see; it then belongs to the viewer.
    virtual void openDocument(DkDoc document) = 0;
};
