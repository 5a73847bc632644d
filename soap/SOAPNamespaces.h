// The namespace URIs that SOAP messages are written and read in.
#pragma once

/// XML Schema of 2001 and its instance namespace.
inline constexpr const char* kXMLSchemaNS = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kXMLSchemaInstanceNS = "http://www.w3.org/2001/XMLSchema-instance";
/// The instance namespace of the 1999 draft, which older services still type their values in.
inline constexpr const char* kXMLSchemaInstance1999NS = "http://www.w3.org/1999/XMLSchema-instance";

/// SOAP 1.1 envelope and encoding.
inline constexpr const char* kSOAP11EnvelopeNS = "http://schemas.xmlsoap.org/soap/envelope/";
inline constexpr const char* kSOAP11EncodingNS = "http://schemas.xmlsoap.org/soap/encoding/";
/// SOAP 1.2 envelope and encoding.
inline constexpr const char* kSOAP12EnvelopeNS = "http://www.w3.org/2003/05/soap-envelope";
inline constexpr const char* kSOAP12EncodingNS = "http://www.w3.org/2003/05/soap-encoding";

/// The binary-inclusion feature, in which an attachment is referred to by an Inclusion element.
inline constexpr const char* kSOAPBinaryInclusionNS =
    "http://www.w3.org/2003/06/soap/features/binary-inclusion";
