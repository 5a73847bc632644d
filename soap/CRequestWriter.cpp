#include "soap/CRequestWriter.h"

#include "soap/CMultipartWriter.h"

void CSinglePartWriter::setContent(const char* contentType, QsStm stream) {
    m_contentType = EStrFromUTF8(contentType ? contentType : "");
    m_stream = stream;
}

CEStr CSinglePartWriter::getContentType() {
    return m_contentType.isNull() ? CEStr("", kEStrPDFDoc) : m_contentType;
}

QsStm CSinglePartWriter::getStream() {
    return m_stream;
}

std::unique_ptr<CRequestWriter> getRequestWriter(unsigned short multipart) {
    if (multipart)
        return std::make_unique<CMultipartWriter>();
    return std::make_unique<CSinglePartWriter>();
}
