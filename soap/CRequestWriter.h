// What the body of a request is: its Content-Type and a stream of its bytes. A request without
// attachments is one part (CSinglePartWriter); with attachments it is multipart/related
// (CMultipartWriter), with the SOAP envelope as its root part.
#pragma once

#include "frame/host/QsStmRec.h"
#include "values/EStr.h"

#include <memory>

class CRequestWriter {
public:
    virtual ~CRequestWriter() = default;
    /// The value of the request's Content-Type header.
    virtual CEStr getContentType() = 0;
    /// The body as a read stream, which the network layer reads to its end and closes.
    virtual QsStm getStream() = 0;
};

/// A body of one part: the content type and stream it was given.
class CSinglePartWriter final : public CRequestWriter {
public:
    /// The body's content type and its stream. The stream stays the caller's until the network
    /// layer, having taken it from getStream, closes it.
    void setContent(const char* contentType, QsStm stream);
    CEStr getContentType() override;
    QsStm getStream() override;

private:
    CEStr m_contentType;
    QsStm m_stream = nullptr;
};

/// Makes the writer of a request body: multipart when the flag is set, single otherwise.
std::unique_ptr<CRequestWriter> getRequestWriter(unsigned short multipart);
