// The proxies that SOAP.connect makes of a WSDL document. The host's WSDL reader calls back once
// per operation; each operation becomes a script function, written by filling a template with
// its names and run through the script engine, and the function is set on the proxy (an object
// of the class "SOAPService") under the operation's name. All the SOAP work of a call then
// happens in SOAP.request. The templates name no SOAP version, so a proxy speaks SOAP 1.1 also
// to a service whose WSDL binding is SOAP 1.2.
#pragma once

#include "frame/host/IScriptEngine.h"
#include "frame/host/IWsdlReader.h"
#include "values/EStr.h"

#include <cstdint>
#include <vector>

class CSOAPServiceProxy {
public:
    /// The method of an rpc/encoded operation; its tabs stand for line breaks.
    static const char* const sm_RPCTemplate;
    /// The method of any other operation: one argument, sent literally.
    static const char* const sm_DocumentTemplate;
    /// One member of the request object of the rpc template.
    static const char* const sm_ParameterTemplate;

    /// An operation as the WSDL reader describes it.
    struct Operation {
        CEStr methodName;
        CEStr methodNS;
        /// Parameter names in order.
        std::vector<CEStr> parameters;
        /// 2 for rpc/encoded (kWsdlStyleRPCEncoded); any other value is document/literal.
        int32_t style = 0;
        CEStr url;
        CEStr soapAction;
        /// Parameter names separated by blanks.
        CEStr parameterOrder;
    };

    /// The proxy to fill, in its context.
    CSOAPServiceProxy(ESContext context, ESObject proxy) : m_context(context), m_proxy(proxy) {}

    /// The script text of an operation's method: the template of its style, filled.
    static CEStr methodText(const Operation& operation);
    /// Runs the method text in an App/Exec event and sets the function it leaves in
    /// event.result on the proxy. False when the engine raised: the operation is then left out.
    bool addOperation(const Operation& operation);

    /// The WSDL reader's per-operation callback; context is a CSOAPServiceProxy.
    static void operationProc(const WsdlOperationRec& record, void* context);

    /// Tells on the proxy which port of which service its methods call, as the non-enumerable
    /// property wsdlPort ({service, port}), so that enumerating the proxy still gives only its
    /// methods. Nothing when the reader named no port, or a method is named wsdlPort.
    void addPortProperty();

private:
    ESContext m_context;
    ESObject m_proxy;
    QsTextRec m_serviceName;
    QsTextRec m_portName;
};
