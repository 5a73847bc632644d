// The test host's user interface: it records notifications, alerts, label lookups and string
// filters, answers alerts as the test says, and sends notifications when the test asks.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IUserInterface.h"

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class FakeUserInterface final : public IUserInterface {
public:
    /// One alert as the plug-in showed it; an absent button is the empty text.
    struct Alert {
        int32_t kind;
        std::string text;
        std::vector<std::string> buttons;
        bool beep;
    };
    struct Registration {
        int32_t kind;
        ExtensionID extension;
        VxNotificationProc proc;
        void* data;
    };

    int32_t hftVersion() const override { return kVellViewUserInterfaceTable.version; }
    void registerNotification(int32_t kind, ExtensionID extension, VxNotificationProc proc,
                              void* data) override;
    void unregisterNotification(int32_t kind, VxNotificationProc proc, void* data) override;
    int32_t alert(int32_t kind, const char* textUtf8, const char* button1, const char* button2,
                  const char* button3, bool beep) override;
    /// Answers from the queue the test filled; with none left, the user cancels.
    std::optional<std::string> response(const char* questionUtf8, const char* titleUtf8,
                                        const char* defaultUtf8, bool password) override;
    bool hasTopLevelWindow() override { return m_hasWindow; }
    std::string labelLookup(const char* name, const char* defaultLabel) override;
    void applyStringFilter(QsTextRec* text, int32_t filter) override;
    void consolePrintln(const char* utf8) override { m_console.push_back(utf8 ? utf8 : ""); }
    void openURL(const char* url, const char* target) override {
        m_openedURLs.push_back({url ? url : "", target ? target : ""});
    }

    /// Calls every procedure registered for a kind, in the order of registration.
    void send(int32_t kind);
    const std::vector<Registration>& registrations() const { return m_registrations; }
    /// The button the next alert answers (from 1); without one an alert answers 1.
    void answerNext(int32_t button) { m_answers.push_back(button); }
    const std::vector<Alert>& alerts() const { return m_alerts; }
    /// One question asked through response().
    struct Question {
        std::string question;
        std::string title;
        bool password;
        std::string defaultAnswer;
    };
    /// The answer the next question gets; nothing for a cancelled one.
    void respondNext(std::optional<std::string> answer) {
        m_responses.push_back(std::move(answer));
    }
    const std::vector<Question>& questions() const { return m_questions; }
    void setTopLevelWindow(bool present) { m_hasWindow = present; }
    /// A label the top-level window holds under a name.
    void setLabel(const std::string& name, const std::string& label) { m_labels[name] = label; }
    /// Names looked up, in order.
    const std::vector<std::string>& labelLookups() const { return m_labelLookups; }
    /// The lines printed to the console, in order.
    const std::vector<std::string>& consoleLines() const { return m_console; }
    void clearConsole() { m_console.clear(); }
    /// The URLs opened, with their target (empty for the viewer itself), in order.
    const std::vector<std::pair<std::string, std::string>>& openedURLs() const {
        return m_openedURLs;
    }
    /// The filter values the plug-in applied, in order.
    const std::vector<int32_t>& filters() const { return m_filters; }

private:
    std::vector<Registration> m_registrations;
    std::deque<int32_t> m_answers;
    std::vector<Alert> m_alerts;
    std::deque<std::optional<std::string>> m_responses;
    std::vector<Question> m_questions;
    bool m_hasWindow = false;
    std::map<std::string, std::string> m_labels;
    std::vector<std::string> m_labelLookups;
    std::vector<int32_t> m_filters;
    std::vector<std::string> m_console;
    std::vector<std::pair<std::string, std::string>> m_openedURLs;
};
