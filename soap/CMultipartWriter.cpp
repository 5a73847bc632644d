#include "soap/CMultipartWriter.h"

#include "frame/HostTables.h"
#include "values/CAggWalk.h"
#include "values/QsStm.h"
#include "values/miUrl.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

long readBody(char* buffer, long count, void* data) {
    return static_cast<CMultipartWriter*>(data)->readProc(buffer, count);
}

void keepWriter(void*) {}

std::string textOf(CAgg& record, const char* key) {
    return record.has(key) ? EStrToUTF8(CAggValueText(record[key])) : std::string();
}

} // namespace

CMultipartWriter::CMultipartWriter()
    : m_boundary(EStrFromUTF8("----=" + EStrToUTF8(makeUniqueID()))),
      m_endMarker(EStrFromUTF8("--" + EStrToUTF8(m_boundary) + "--")) {
    m_parts.toMap();
}

CMultipartWriter::~CMultipartWriter() = default;

CEStr CMultipartWriter::makeUniqueID() {
    std::string uuid = gQsExtraHFT ? gQsExtraHFT->newUUID() : std::string();
    uuid.erase(std::remove(uuid.begin(), uuid.end(), '-'), uuid.end());
    return EStrFromUTF8(uuid);
}

void CMultipartWriter::addPartWithID(const _EStrRec* contentId, const char* contentType,
                                     const char* transferEncoding, QsStm stream) {
    CAgg record;
    record["Data"] = CAgg(stream, 1);
    record["Content-Type"] = CAgg(EStrFromUTF8(contentType ? contentType : "").get());
    record["Content-Transfer-Encoding"] =
        CAgg(EStrFromUTF8(transferEncoding ? transferEncoding : "").get());
    record["Content-Id"] = CAgg(contentId);
    m_parts[contentId] = std::move(record);
    if (m_parts.toMap().size() == 1)
        setDefaultPart(contentId);
}

CEStr CMultipartWriter::addPart(const char* contentType, const char* transferEncoding,
                                QsStm stream) {
    CEStr id = makeUniqueID();
    addPartWithID(id, contentType, transferEncoding, stream);
    return id;
}

CEStr CMultipartWriter::addPart(const _EStrRec* name, const char* contentType,
                                const char* transferEncoding, QsStm stream) {
    std::string id;
    std::string utf8 = EStrToUTF8(name);
    if (!utf8.empty())
        id = PercentEncodeURLCopy(utf8) + "=";
    id += EStrToUTF8(makeUniqueID()) + "@" + kDomain;
    CEStr contentId = EStrFromUTF8(id);
    addPartWithID(contentId, contentType, transferEncoding, stream);
    return contentId;
}

void CMultipartWriter::setDefaultPart(const _EStrRec* id) {
    m_defaultPartID = id;
    std::string contentType = "multipart/related; ";
    contentType += "type=\"text/xml\"; "; // text/xml for SOAP 1.2 too
    contentType += "start=\"<" + EStrToUTF8(id) + ">\"; ";
    contentType += "boundary=\"" + EStrToUTF8(m_boundary) + "\"";
    m_contentType = EStrFromUTF8(contentType);
}

CEStr CMultipartWriter::getContentType() {
    return m_contentType.isNull() ? CEStr("", kEStrPDFDoc) : m_contentType;
}

QsStm CMultipartWriter::getStream() {
    return QsProcStmRdOpen(readBody, keepWriter, this);
}

long CMultipartWriter::readProc(char* buffer, long count) {
    CAgg::CAggMap& parts = m_parts.toMap();
    if (parts.empty() || count <= 0)
        return 0;
    for (;;) {
        if (m_lineOffset < static_cast<long>(m_lineBuffer.size())) {
            long n = std::min(count, static_cast<long>(m_lineBuffer.size()) - m_lineOffset);
            std::memcpy(buffer, m_lineBuffer.data() + m_lineOffset, static_cast<size_t>(n));
            m_lineOffset += n;
            return n;
        }
        m_lineBuffer.clear();
        m_lineOffset = 0;
        switch (m_state) {
        case kStart:
            m_current = parts.begin();
            writeLine(""); // the body begins with an empty line
            m_state = kHeader;
            break;
        case kHeader:
            writeHeader();
            m_state = kBody;
            break;
        case kBody: {
            long n = writeBody(buffer, count);
            if (n > 0)
                return n;
            m_state = kTrailer;
            break;
        }
        case kTrailer:
            writeTrailer();
            ++m_current;
            m_state = m_current == parts.end() ? kEnd : kHeader;
            break;
        case kEnd:
            writeEnd();
            m_state = kFinished;
            break;
        case kFinished:
            return 0;
        }
    }
}

void CMultipartWriter::writeLine(const std::string& line) {
    m_lineBuffer += line;
    m_lineBuffer += "\r\n";
}

void CMultipartWriter::writeHeader() {
    CAgg& record = m_current->second;
    writeLine("--" + EStrToUTF8(m_boundary));
    writeLine("Content-Id: <" + textOf(record, "Content-Id") + ">");
    writeLine("Content-Transfer-Encoding: " + textOf(record, "Content-Transfer-Encoding"));
    writeLine("Content-Type: " + textOf(record, "Content-Type"));
    writeLine("");
}

long CMultipartWriter::writeBody(char* buffer, long count) {
    CAgg& record = m_current->second;
    if (!record.has("Data"))
        return 0;
    long n = QsStmRead(record["Data"].toQsStm(), buffer, count);
    return n > 0 ? n : 0;
}

void CMultipartWriter::writeTrailer() {
    writeLine("");
}

void CMultipartWriter::writeEnd() {
    writeLine(EStrToUTF8(m_endMarker));
}
