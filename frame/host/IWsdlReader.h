// "FormFlow": the viewer's WSDL reader, an optional table (version 2).
//
// The reader takes a WSDL 1.1 document from a stream (with the documents it imports), picks one
// SOAP binding of it, and calls back once per operation of that binding with a record that says how
// to call the operation. Nothing of the record outlives the call: texts and the parameter cabinet
// belong to the reader.
#pragma once

#include "frame/QsText.h"
#include "frame/host/HostTableIds.h"
#include "frame/host/ICabinets.h"
#include "frame/host/IHostTable.h"
#include "frame/host/QsStmRec.h"

#include <cstdint>

/// Styles of an operation, as the record reports them.
enum WsdlStyle : int32_t {
    kWsdlStyleDocument = 1,   // document style, literal or encoded
    kWsdlStyleRPCEncoded = 2, // rpc style, encoded use
    kWsdlStyleRPCLiteral = 3, // rpc style, literal use
};

/// One operation of the selected binding.
struct WsdlOperationRec {
    /// The operation's name.
    QsTextRec methodName;
    /// The namespace of the call: the body's namespace for rpc, the namespace of the input's
    /// element for document style, else the document's target namespace.
    QsTextRec methodNamespace;
    /// The input's part names in order, as text values under the keys "0", "1", ...
    QsCab parameters;
    /// A WsdlStyle.
    int32_t style;
    /// The endpoint: the address of the port.
    QsTextRec url;
    /// The binding's SOAP action for the operation; empty when it names none.
    QsTextRec soapAction;
    /// The operation's parameterOrder: part names separated by blanks; empty when absent.
    QsTextRec parameterOrder;
    /// The service, and the port of it, whose binding was selected: the same in every record of
    /// one reading.
    QsTextRec serviceName;
    QsTextRec portName;
};

/// Called once per operation; context is what the caller handed to readWsdl.
using WsdlOperationProc = void (*)(const WsdlOperationRec& operation, void* context);

class IWsdlReader : public IHostTable {
public:
    int32_t hftVersion() const override { return kFormFlowTable.version; }

    /// Reads a WSDL document from stream to its end (the stream stays open) and calls proc for
    /// each operation of the binding it selects. Answers how many operations it delivered: none
    /// for a document that is not XML, not WSDL, or offers no SOAP binding.
    virtual int32_t readWsdl(QsStm stream, WsdlOperationProc proc, void* context) = 0;
    /// readWsdl for a document fetched from url, so that the documents it imports can be found
    /// where relative locations point. A reader that reads no imports ignores the URL.
    virtual int32_t readWsdlFrom(QsStm stream, const char* url, WsdlOperationProc proc,
                                 void* context) {
        (void)url;
        return readWsdl(stream, proc, context);
    }
};
