#include "host/wsdl/WsdlDefinitions.h"

#include <iterator>
#include <sstream>

namespace {

std::string attributeOr(const XmlElement& element, std::string_view name) {
    const std::string* value = element.attribute(name);
    return value ? *value : std::string();
}

// A reference attribute ("tns:Name") as a qualified name; false when it is absent or its prefix
// is undeclared.
bool referenceOf(const XmlElement& element, std::string_view attribute, WsdlQName& out) {
    const std::string* value = element.attribute(attribute);
    return value && !value->empty() && element.resolveQName(*value, out.nameSpace, out.localName);
}

// The SOAP extension element of a WSDL element, of either version.
const XmlElement* soapChild(const XmlElement& element, std::string_view local, int& version) {
    if (const XmlElement* found = element.firstChild(kWsdlSoap11Namespace, local)) {
        version = 11;
        return found;
    }
    if (const XmlElement* found = element.firstChild(kWsdlSoap12Namespace, local)) {
        version = 12;
        return found;
    }
    return nullptr;
}

const XmlElement* soapChild(const XmlElement& element, std::string_view local) {
    int version = 0;
    return soapChild(element, local, version);
}

WsdlMessage readMessage(const XmlElement& element, const std::string& targetNamespace) {
    WsdlMessage message{{targetNamespace, attributeOr(element, "name")}, {}};
    for (const XmlElement* partElement : element.childrenNamed(kWsdlNamespace, "part")) {
        WsdlPart part{attributeOr(*partElement, "name"), {}};
        referenceOf(*partElement, "element", part.element);
        message.parts.push_back(std::move(part));
    }
    return message;
}

WsdlPortType readPortType(const XmlElement& element, const std::string& targetNamespace) {
    WsdlPortType portType{{targetNamespace, attributeOr(element, "name")}, {}};
    for (const XmlElement* opElement : element.childrenNamed(kWsdlNamespace, "operation")) {
        WsdlAbstractOperation operation;
        operation.name = attributeOr(*opElement, "name");
        operation.parameterOrder = attributeOr(*opElement, "parameterOrder");
        if (const XmlElement* input = opElement->firstChild(kWsdlNamespace, "input"))
            referenceOf(*input, "message", operation.input);
        portType.operations.push_back(std::move(operation));
    }
    return portType;
}

WsdlBindingOperation readBindingOperation(const XmlElement& element) {
    WsdlBindingOperation operation;
    operation.name = attributeOr(element, "name");
    operation.use = "literal";
    if (const XmlElement* soapOperation = soapChild(element, "operation")) {
        operation.soapAction = attributeOr(*soapOperation, "soapAction");
        operation.style = attributeOr(*soapOperation, "style");
    }
    const XmlElement* input = element.firstChild(kWsdlNamespace, "input");
    const XmlElement* body = input ? soapChild(*input, "body") : nullptr;
    if (!body)
        return operation;
    if (const std::string* use = body->attribute("use"))
        operation.use = *use;
    operation.bodyNamespace = attributeOr(*body, "namespace");
    if (const std::string* parts = body->attribute("parts")) {
        operation.bodyNamesParts = true;
        std::istringstream names(*parts);
        for (std::string name; names >> name;)
            operation.bodyParts.push_back(name);
    }
    return operation;
}

WsdlBinding readBinding(const XmlElement& element, const std::string& targetNamespace) {
    WsdlBinding binding;
    binding.name = {targetNamespace, attributeOr(element, "name")};
    referenceOf(element, "type", binding.portType);
    int version = 0;
    if (const XmlElement* soapBinding = soapChild(element, "binding", version)) {
        binding.soapVersion = version;
        if (attributeOr(*soapBinding, "style") == "rpc")
            binding.style = "rpc";
    }
    for (const XmlElement* opElement : element.childrenNamed(kWsdlNamespace, "operation"))
        binding.operations.push_back(readBindingOperation(*opElement));
    return binding;
}

WsdlService readService(const XmlElement& element) {
    WsdlService service{attributeOr(element, "name"), {}};
    for (const XmlElement* portElement : element.childrenNamed(kWsdlNamespace, "port")) {
        WsdlPort port;
        port.name = attributeOr(*portElement, "name");
        referenceOf(*portElement, "binding", port.binding);
        if (const XmlElement* address = soapChild(*portElement, "address"))
            port.address = attributeOr(*address, "location");
        service.ports.push_back(std::move(port));
    }
    return service;
}

// Looks a definition up by its qualified name. Documents that put their definitions under one
// namespace and refer to them under another are common enough that a match of the local name
// alone is taken when no exact match exists.
template <class T> const T* findNamed(const std::vector<T>& list, const WsdlQName& name) {
    const T* byLocalName = nullptr;
    for (const T& item : list) {
        if (item.name.localName != name.localName)
            continue;
        if (item.name.nameSpace == name.nameSpace)
            return &item;
        if (!byLocalName)
            byLocalName = &item;
    }
    return byLocalName;
}

const WsdlAbstractOperation* findOperation(const WsdlPortType* portType, const std::string& name) {
    if (!portType)
        return nullptr;
    for (const WsdlAbstractOperation& operation : portType->operations) {
        if (operation.name == name)
            return &operation;
    }
    return nullptr;
}

bool bodyHolds(const WsdlBindingOperation& operation, const std::string& part) {
    if (!operation.bodyNamesParts)
        return true;
    for (const std::string& name : operation.bodyParts) {
        if (name == part)
            return true;
    }
    return false;
}

WsdlOperation describe(const WsdlDefinitions& definitions, const WsdlService& service,
                       const WsdlPort& port, const WsdlBinding& binding,
                       const WsdlBindingOperation& bound) {
    const std::string& url = port.address;
    WsdlOperation operation;
    operation.serviceName = service.name;
    operation.portName = port.name;
    operation.methodName = bound.name;
    operation.rpc = (bound.style.empty() ? binding.style : bound.style) == "rpc";
    operation.encoded = bound.use == "encoded";
    operation.url = url;
    operation.soapAction = bound.soapAction;
    // The target namespace of the document that holds the binding, which may be an imported one.
    operation.methodNamespace = binding.name.nameSpace;
    if (operation.rpc && !bound.bodyNamespace.empty())
        operation.methodNamespace = bound.bodyNamespace;

    const WsdlAbstractOperation* abstract =
        findOperation(findNamed(definitions.portTypes, binding.portType), bound.name);
    if (!abstract)
        return operation;
    operation.parameterOrder = abstract->parameterOrder;
    const WsdlMessage* input = findNamed(definitions.messages, abstract->input);
    if (!input)
        return operation;
    bool namespaceFromElement = !operation.rpc;
    for (const WsdlPart& part : input->parts) {
        if (part.name.empty() || !bodyHolds(bound, part.name))
            continue;
        operation.parameters.push_back(part.name);
        if (namespaceFromElement && !part.element.localName.empty()) {
            operation.methodNamespace = part.element.nameSpace;
            namespaceFromElement = false;
        }
    }
    return operation;
}

} // namespace

bool readWsdlDefinitions(const XmlElement& root, WsdlDefinitions& out) {
    if (!root.is(kWsdlNamespace, "definitions"))
        return false;
    out.targetNamespace = attributeOr(root, "targetNamespace");
    for (const auto& child : root.children) {
        if (child->nameSpace != kWsdlNamespace)
            continue;
        if (child->localName == "message")
            out.messages.push_back(readMessage(*child, out.targetNamespace));
        else if (child->localName == "portType")
            out.portTypes.push_back(readPortType(*child, out.targetNamespace));
        else if (child->localName == "binding")
            out.bindings.push_back(readBinding(*child, out.targetNamespace));
        else if (child->localName == "service")
            out.services.push_back(readService(*child));
    }
    return true;
}

void appendWsdlDefinitions(WsdlDefinitions& to, WsdlDefinitions&& imported) {
    auto append = [](auto& list, auto& more) {
        list.insert(list.end(), std::make_move_iterator(more.begin()),
                    std::make_move_iterator(more.end()));
    };
    append(to.messages, imported.messages);
    append(to.portTypes, imported.portTypes);
    append(to.bindings, imported.bindings);
    append(to.services, imported.services);
}

std::vector<WsdlOperation> selectWsdlOperations(const WsdlDefinitions& definitions) {
    // The binding used is the first SOAP binding (1.1 or 1.2) met when walking the services and
    // their ports in document order; the other ports and services are not offered.
    for (const WsdlService& service : definitions.services) {
        for (const WsdlPort& port : service.ports) {
            const WsdlBinding* binding = findNamed(definitions.bindings, port.binding);
            if (!binding || binding->soapVersion == 0 || port.address.empty())
                continue;
            std::vector<WsdlOperation> operations;
            for (const WsdlBindingOperation& bound : binding->operations)
                operations.push_back(describe(definitions, service, port, *binding, bound));
            return operations;
        }
    }
    return {};
}
