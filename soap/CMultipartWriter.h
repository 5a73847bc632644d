// The writer of a multipart/related request body, as a pull stream: the parts are read from
// their own streams as the network layer asks for bytes, so an attachment is never held in
// memory.
//
// The body is an empty line, then for each part a boundary line, its headers ("Content-Id",
// "Content-Transfer-Encoding", "Content-Type"), an empty line, its bytes and a closing line end,
// and last the boundary with "--" behind it. Every line ends in CR LF. The parts go out in the
// order of their ids as text, not in the order they were added; "start" in the content type
// names the root part.
#pragma once

#include "soap/CRequestWriter.h"
#include "values/CAgg.h"

#include <string>

class CMultipartWriter final : public CRequestWriter {
public:
    /// A writer with a new boundary, "----=" and a unique id.
    CMultipartWriter();
    ~CMultipartWriter() override;
    CMultipartWriter(const CMultipartWriter&) = delete;
    CMultipartWriter& operator=(const CMultipartWriter&) = delete;

    /// Adds a part under an id taken as it stands. The writer takes the stream over and closes
    /// it with itself. The first part added becomes the default part.
    void addPartWithID(const _EStrRec* contentId, const char* contentType,
                       const char* transferEncoding, QsStm stream);
    /// Adds a part under a new unique id, which it returns.
    CEStr addPart(const char* contentType, const char* transferEncoding, QsStm stream);
    /// Adds an attachment: its id is the name, percent-encoded UTF-8, and "=", then a unique
    /// id, "@" and kDomain. The id is returned, for the body to refer to it as "cid:" and id.
    CEStr addPart(const _EStrRec* name, const char* contentType, const char* transferEncoding,
                  QsStm stream);
    /// Makes a part the root part, and builds the content type that names it.
    void setDefaultPart(const _EStrRec* id);

    /// "multipart/related" with the type, start and boundary parameters; empty until there is a
    /// default part. The type is text/xml, also for SOAP 1.2.
    CEStr getContentType() override;
    /// A stream of the body. Closing it leaves the writer and its parts alone.
    QsStm getStream() override;
    /// The body's next bytes into buffer: up to count, 0 at the end or without any part.
    long readProc(char* buffer, long count);

    /// A new unique id: the host's UUID without its dashes.
    static CEStr makeUniqueID();
    /// The domain of attachment ids.
    static constexpr const char* kDomain = "vellum.invalid";

private:
    enum State : int { kStart, kHeader, kBody, kTrailer, kEnd, kFinished };

    void writeLine(const std::string& line);
    void writeHeader();
    long writeBody(char* buffer, long count);
    void writeTrailer();
    void writeEnd();

    CAgg m_parts;
    CEStr m_defaultPartID;
    CEStr m_contentType;
    CEStr m_boundary;
    CEStr m_endMarker;
    CAgg::CAggMap::iterator m_current;
    std::string m_lineBuffer;
    long m_lineOffset = 0;
    State m_state = kStart;
};
