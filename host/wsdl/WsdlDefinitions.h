// The parts of a WSDL 1.1 document that say how to call its operations over SOAP, read from an
// element tree: messages, port types, bindings with their SOAP 1.1 or 1.2 extensions, and
// services; and the operations of the binding that a caller uses.
#pragma once

#include "host/wsdl/CXmlTree.h"

#include <string>
#include <vector>

inline constexpr const char* kWsdlNamespace = "http://schemas.xmlsoap.org/wsdl/";
inline constexpr const char* kWsdlSoap11Namespace = "http://schemas.xmlsoap.org/wsdl/soap/";
inline constexpr const char* kWsdlSoap12Namespace = "http://schemas.xmlsoap.org/wsdl/soap12/";

/// A name in a namespace, as a reference in an attribute value resolves.
struct WsdlQName {
    std::string nameSpace;
    std::string localName;
};

struct WsdlPart {
    std::string name;
    /// The element the part stands for (document style); empty local name when it has a type.
    WsdlQName element;
};

struct WsdlMessage {
    WsdlQName name;
    std::vector<WsdlPart> parts;
};

struct WsdlAbstractOperation {
    std::string name;
    std::string parameterOrder;
    /// The input message; empty local name for an operation without input.
    WsdlQName input;
};

struct WsdlPortType {
    WsdlQName name;
    std::vector<WsdlAbstractOperation> operations;
};

struct WsdlBindingOperation {
    std::string name;
    std::string soapAction;
    /// "rpc", "document", or empty to take the binding's.
    std::string style;
    /// The input body's use: "encoded" or "literal" (the default).
    std::string use;
    /// The input body's namespace attribute.
    std::string bodyNamespace;
    /// The parts the body holds, when the body names them.
    std::vector<std::string> bodyParts;
    bool bodyNamesParts = false;
};

struct WsdlBinding {
    WsdlQName name;
    WsdlQName portType;
    /// 11 or 12 for a SOAP binding of that version, 0 for any other binding.
    int soapVersion = 0;
    /// The binding's default style: "document" unless it says "rpc".
    std::string style = "document";
    std::vector<WsdlBindingOperation> operations;
};

struct WsdlPort {
    std::string name;
    WsdlQName binding;
    /// The SOAP address's location; empty when the port has none.
    std::string address;
};

struct WsdlService {
    std::string name;
    std::vector<WsdlPort> ports;
};

struct WsdlDefinitions {
    std::string targetNamespace;
    std::vector<WsdlMessage> messages;
    std::vector<WsdlPortType> portTypes;
    std::vector<WsdlBinding> bindings;
    std::vector<WsdlService> services;
};

/// Reads the definitions under a root element; false when the root is no wsdl:definitions.
/// Parts that cannot be read (a reference with an undeclared prefix) are left out.
bool readWsdlDefinitions(const XmlElement& root, WsdlDefinitions& out);

/// How to call one operation, as the reader delivers it.
struct WsdlOperation {
    std::string methodName;
    std::string methodNamespace;
    std::vector<std::string> parameters;
    /// rpc or document.
    bool rpc = false;
    /// encoded or literal use.
    bool encoded = false;
    std::string url;
    std::string soapAction;
    std::string parameterOrder;
    /// The service and the port whose binding was selected.
    std::string serviceName;
    std::string portName;
};

/// Adds the definitions of an imported document after those already read.
void appendWsdlDefinitions(WsdlDefinitions& to, WsdlDefinitions&& imported);

/// The operations of the selected binding, in the binding's order: empty when no service port
/// has a SOAP binding.
std::vector<WsdlOperation> selectWsdlOperations(const WsdlDefinitions& definitions);
