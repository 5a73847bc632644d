// The host's "FormFlow" table: a WSDL 1.1 reader over Expat. The reference host and the test host
// both serve it.
//
// Services often split their description over several documents: the definitions hold
// wsdl:import elements whose location names another document (relative to the importing one),
// whose definitions count as if they stood in the first. The reader fetches them through the
// network layer, synchronously, at most kMaxImportDepth imports deep and kMaxImportedDocuments
// in all, each once and at most kMaxImportBytes long; one that cannot be fetched or read is
// left out.
#pragma once

#include "frame/host/ICabinets.h"
#include "frame/host/INetwork.h"
#include "frame/host/IWsdlReader.h"

#include <cstddef>

class CWsdlReader final : public IWsdlReader {
public:
    static constexpr int kMaxImportDepth = 4;
    static constexpr int kMaxImportedDocuments = 16;
    static constexpr size_t kMaxImportBytes = 4 * 1024 * 1024;

    /// The parameter cabinets of the records are made in cabinets; imports are fetched through
    /// network, and without one are not read.
    explicit CWsdlReader(ICabinets& cabinets, INetwork* network = nullptr)
        : m_cabinets(cabinets), m_network(network) {}

    int32_t readWsdl(QsStm stream, WsdlOperationProc proc, void* context) override;
    int32_t readWsdlFrom(QsStm stream, const char* url, WsdlOperationProc proc,
                         void* context) override;

private:
    ICabinets& m_cabinets;
    INetwork* m_network;
};
