// The host's web capture: a page of HTML printed to a PDF document by headless Chromium
// (`chromium --headless --print-to-pdf`), then shown to the person. Where Chromium is missing,
// the service says it is unavailable, and why.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IWebCapture.h"

#include <chrono>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CChromiumCapture final : public IWebCapture {
public:
    /// How a finished document is shown: with the desktop's viewer, or only by its path.
    enum class Opening { Desktop, PathOnly };

    /// cabinets reads the settings of convert; out receives the messages for the person.
    CChromiumCapture(ICabinets& cabinets, std::ostream& out, Opening opening);
    ~CChromiumCapture() override;
    CChromiumCapture(const CChromiumCapture&) = delete;
    CChromiumCapture& operator=(const CChromiumCapture&) = delete;

    int32_t hftVersion() const override { return kWebCaptureTable.version; }
    bool available() override;
    std::string unavailableReason() override;
    DkDoc convert(const char* mimeType, QsStm stream, QsCab settings) override;
    std::string lastError() override { return m_lastError; }
    void openDocument(DkDoc document) override;

    /// The program to run: $VELL_CHROMIUM when it is set (to nothing: no program), else chromium
    /// or chromium-browser on PATH. Nothing when none is found.
    static std::optional<std::string> findChromium();
    /// The PDF file of a document that convert made; empty for anything else.
    std::string pathOf(DkDoc document) const;
    /// How long one printing may take before it is stopped.
    void setTimeLimit(std::chrono::seconds limit) { m_timeLimit = limit; }

private:
    struct Document;

    bool print(const std::string& chromium, const std::string& page, const std::string& pdf,
               const std::string& profile);

    ICabinets& m_cabinets;
    std::ostream& m_out;
    Opening m_opening;
    std::string m_folder;
    std::vector<std::unique_ptr<Document>> m_documents;
    std::string m_lastError;
    std::chrono::seconds m_timeLimit{60};
};
