#include "tests/fakehost/FakeWebCapture.h"

#include "frame/HostTables.h"
#include "frame/host/ICabinets.h"

DkDoc FakeWebCapture::convert(const char* mimeType, QsStm stream, QsCab settings) {
    if (!m_available || !stream) {
        m_lastError = m_available ? "no page" : unavailableReason();
        return nullptr;
    }
    Capture capture;
    capture.mimeType = mimeType ? mimeType : "";
    char buffer[4096];
    for (long got; (got = stream->read(buffer, sizeof buffer)) > 0;)
        capture.page.append(buffer, static_cast<size_t>(got));
    if (ICabinets* cabinets = HostCabinets())
        capture.url = cabinets->getString(settings, "url").value_or("");
    captures.push_back(capture);
    m_lastError.clear();
    // Documents are numbered from 1; the plug-in only hands them back.
    return reinterpret_cast<DkDoc>(static_cast<uintptr_t>(captures.size()));
}
