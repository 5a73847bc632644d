// Alerts and questions shown on a page that a person has open (the Tracker in a browser), in
// place of the terminal's prompts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class IPageDialogs {
public:
    virtual ~IPageDialogs() = default;
    /// Whether a page is there to show a dialog now.
    virtual bool hasPage() = 0;
    /// Shows an alert and waits for its answer: the number of the button pressed, from 1;
    /// nothing when the page went away before it answered.
    virtual std::optional<int32_t> alert(const std::string& text,
                                         const std::vector<std::string>& buttons, bool beep) = 0;
    /// Shows a question with a text field and waits: outer nothing when the page went away,
    /// inner nothing when the person cancelled.
    virtual std::optional<std::optional<std::string>> response(const std::string& question,
                                                               const std::string& title,
                                                               const std::string& fallback,
                                                               bool password) = 0;
};
