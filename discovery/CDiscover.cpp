#include "discovery/CDiscover.h"

#include "discovery/CDNS.h"
#include "discovery/CRendezvous.h"

CDiscover* CreateDiscoveryClient(DSRequestScope scope) {
    switch (scope) {
    case kDSScopeLocal:
        return new CRendezvous;
    case kDSScopeUnicast:
        return new CDNS;
    default:
        return nullptr;
    }
}
