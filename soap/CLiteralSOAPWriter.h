// The writer of document style: elements named by the keys of the request, with their values
// as text and no type attributes. A map can add attributes of its own (soapAttributes), give its
// content ready-made (soapValue), or refer to an attachment (soapHREF).
#pragma once

#include "soap/CSOAPWriter.h"

#include <string>

class CLiteralSOAPWriter final : public CSOAPWriter {
public:
    using CSOAPWriter::CSOAPWriter;

    CAgg writeMessage() override;
    bool writeMessageText(std::string& out) override;
    /// The namespace that each operation declares as the default; none when empty.
    void setDefaultNS(const _EStrRec* nameSpace) override;
    void writeNode(CAgg& value, CXMLElement& element, long depth, unsigned short isHeader) override;

private:
    TextContent appendAttributesText(std::string& out, const ElementName& name, CAgg& value,
                                     long depth) override;
    void writeMap(CAgg& value, CXMLElement& element, long depth, unsigned short isHeader);
    /// Writes the content given by soapValue; false when the map has none.
    bool writeRawValue(const ReservedEntries& reserved, CXMLElement& element, long depth,
                       unsigned short isHeader);
    void writeChild(const CEStr& key, CAgg& item, CXMLElement& element, long depth,
                    unsigned short isHeader);

    CEStr m_defaultNS;
};
