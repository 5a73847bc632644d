// The host's "FormFlow" table: a WSDL 1.1 reader over Expat. The reference host and the test host
// both serve it; it reads nothing but the stream it is given.
#pragma once

#include "frame/host/ICabinets.h"
#include "frame/host/IWsdlReader.h"

class CWsdlReader final : public IWsdlReader {
public:
    /// The parameter cabinets of the records are made in cabinets.
    explicit CWsdlReader(ICabinets& cabinets) : m_cabinets(cabinets) {}

    int32_t readWsdl(QsStm stream, WsdlOperationProc proc, void* context) override;

private:
    ICabinets& m_cabinets;
};
