// The reader of a multipart/related reply: the body is spooled to a temporary file as it is
// read, and each part is handed out as a stream over its byte range of that file.
//
// A part counts only once the boundary line behind it has come: a reply that breaks off, or
// whose closing boundary never comes, gives the parts that were complete. Lines are read at most
// kMaxLineLength bytes at a time; a longer line is taken in pieces.
#pragma once

#include "soap/CPartResolver.h"
#include "soap/CTempFileStm.h"
#include "values/CAgg.h"
#include "values/EStr.h"

#include <memory>
#include <string>
#include <vector>

class CMultipartReader : public CPartResolver {
public:
    CMultipartReader();
    ~CMultipartReader() override;
    CMultipartReader(const CMultipartReader&) = delete;
    CMultipartReader& operator=(const CMultipartReader&) = delete;

    /// Reads the parts of a reply. headers are the reply's headers as records with "key" and
    /// "value"; the boundary and the root part come from the one named "Content-Type". Without
    /// a boundary nothing is read. The parts of an earlier reply are forgotten.
    void process(CAgg& headers, QsStm stream);

    QsStm getPart(const _EStrRec* name) override;
    bool hasPart(const _EStrRec* name) override;
    const std::vector<CEStr>& getPartNames() override;

    /// The record of a part: its headers ("Content-Id", "Content-Type", ...) and "Data", a
    /// stream over its bytes. Null for no such part.
    CAgg* getPartRecord(const _EStrRec* name);
    /// The name of the root part: the "start" parameter, or else the first part's name.
    const CEStr& getRootPartName() const { return m_rootPartID; }
    /// The boundary line's text, "--" included; empty without one.
    const CEStr& getBoundary() const { return m_boundary; }

    /// The longest piece of a line read at a time.
    static constexpr long kMaxLineLength = 8191;

protected:
    /// Takes the boundary and the root part's name from the Content-Type header; false
    /// without a boundary.
    bool processContentType(CAgg& headers);
    /// Reads up to size bytes of stream into buffer, stopping behind a line feed; the number
    /// of bytes read, 0 at the end of the stream.
    long readLine(QsStm stream, char* buffer, long size);

private:
    void reset();
    void addHeader(CAgg& part, CEStr& partName, std::string line);
    void addPart(CAgg& part, const CEStr& partName, int64_t offset, int64_t length);

    CAgg m_parts;
    CEStr m_boundary;
    CEStr m_rootPartID;
    std::vector<CEStr> m_partNames;
    std::shared_ptr<CTempFileStm::CFile> m_spool;
    // What readLine has taken from its stream and not yet handed out.
    std::string m_pending;
    size_t m_pendingOffset = 0;
};
