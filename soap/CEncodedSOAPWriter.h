// The writer of SOAP section 5 encoding: every value carries its xsi:type, arrays their item
// type and size, and operations their encoding style.
#pragma once

#include "soap/CSOAPWriter.h"

#include <string>
#include <vector>

class CEncodedSOAPWriter final : public CSOAPWriter {
public:
    using CSOAPWriter::CSOAPWriter;

    CAgg writeMessage() override;
    bool writeMessageText(std::string& out) override;
    /// The names of the parameters in the order the operation takes them. Parameters that the
    /// order does not name are then left out.
    void setParameterOrder(std::vector<CAgg>& order) override;
    void writeNode(CAgg& value, CXMLElement& element, long depth, unsigned short isHeader) override;

    /// The type of a value: "xsd:string", "xsd:int", "xsd:boolean", "xsd:float" for a double,
    /// "xsd:dateTime", a map's own soapType, "SOAP-ENC:Array", "SOAP-ENC:base64"; empty for
    /// any other value.
    QName getSOAPType(CAgg& value);
    /// Sets xsi:type, declaring the type's namespace under a fresh prefix when it has one.
    void setTypeInfo(CXMLElement& element, const QName& type);
    /// The array attributes: item type and size, in the form of the message's version.
    void setArrayType(CXMLElement& element, CAgg::CAggVector& items);
    /// The SOAP type that all of an array's items share; empty when they are of several types,
    /// or when there are none.
    QName itemTypeOf(CAgg::CAggVector& items);

    // The attribute names and type texts of the encoding. The attribute names begin with a
    // blank, which they keep in the element record: they sort before the other attributes
    // and are written with two blanks in front.
    static const char* const sm_xsiTypeAttribute;
    static const char* const sm_ArrayTypeAttr;
    static const char* const sm_ItemTypeAttr;
    static const char* const sm_ArraySizeAttr;
    static const char* const sm_nestedArrayIndicies;
    static const char* const sm_xsiNullAttribute;
    static const char* const sm_StringTypeString;
    static const char* const sm_IntegerTypeString;
    static const char* const sm_BoolTypeString;
    static const char* const sm_DoubleTypeString;
    static const char* const sm_DateTypeString;
    static const char* const sm_ArrayTypeString;
    static const char* const sm_Base64TypeString;

private:
    TextContent appendAttributesText(std::string& out, const ElementName& name, CAgg& value,
                                     long depth) override;
    /// The attributes of an array's element; false for an item type the text road leaves to
    /// the tree.
    bool appendArrayAttributes(std::string& out, CAgg::CAggVector& items);
    void writeMap(CAgg& value, CXMLElement& element, long depth, unsigned short isHeader);
    void writeVector(CAgg& value, CXMLElement& element, long depth, unsigned short isHeader);
    void writeChild(const CEStr& key, CAgg& item, CXMLElement& element, long depth,
                    unsigned short isHeader);
    /// setTypeInfo for a value that is not a collection or a stream.
    void setScalarType(CXMLElement& element, CAgg& value);
    /// Declares the namespace of a type under a fresh prefix; the type's text in prefix form.
    CEStr typeText(CXMLElement& element, const QName& type);

    std::vector<CAgg> m_parameterOrder;
};
