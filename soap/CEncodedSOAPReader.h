// The reader of SOAP section 5 encoding: values take the type of their xsi:type, elements typed
// as arrays and repeated elements become vectors, and multi-references (id, href) are resolved.
#pragma once

#include "soap/CSOAPReader.h"

#include <map>
#include <string_view>

class CEncodedSOAPReader final : public CSOAPReader {
public:
    using CSOAPReader::CSOAPReader;

    void processNode(CAgg& result, CAgg& node) override;
    CAgg& getCurrentNode(CAgg& parent, CAgg& node) override;
    /// Whether an element of that id was read.
    bool canResolvePartName(const _EStrRec* name) override;
    /// A copy of the value of the element of that id.
    CAgg resolvePartName(const _EStrRec* name) override;

    /// Converts a value read as text to the type named (by its local part): "int", "string",
    /// "float", "boolean", "dateTime", "base64", "base64Binary", "hexBinary". Any other type,
    /// "double" and "long" among them, leaves the text a string.
    static void setType(CAgg& value, const _EStrRec* type);
    /// The same with the local part of the type already taken.
    static void setLocalType(CAgg& value, std::string_view localType);

private:
    /// processNode for an element whose entries are known.
    void readElement(CAgg& result, CAgg& node, const CXMLEntries& entries);
    /// getCurrentNode for an element whose entries and attributes are known.
    CAgg& currentNode(CAgg& parent, CAgg& node, const CXMLEntries& entries,
                      const ReplyAttributes& attributes);

    /// The values of elements with an id, by id.
    std::map<CEStr, CAgg, CEStrLessNumbersFirst> m_multiRefs;
};
