// The test host's web capture: keeps each page it is given and answers a new document handle.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IWebCapture.h"

#include <string>
#include <vector>

class FakeWebCapture final : public IWebCapture {
public:
    int32_t hftVersion() const override { return static_cast<int32_t>(kWebCaptureTable.version); }
    bool available() override { return m_available; }
    std::string unavailableReason() override {
        return m_available ? std::string() : "web capture is switched off in this test";
    }
    DkDoc convert(const char* mimeType, QsStm stream, QsCab settings) override;
    std::string lastError() override { return m_lastError; }
    void openDocument(DkDoc document) override { opened.push_back(document); }

    void setAvailable(bool available) { m_available = available; }

    /// One conversion as it was asked for.
    struct Capture {
        std::string mimeType;
        std::string page;
        std::string url;
    };
    std::vector<Capture> captures;
    std::vector<DkDoc> opened;

private:
    bool m_available = true;
    std::string m_lastError;
};
