// The reference host's user interface on a terminal: alerts and questions are prompts, or are
// answered as the command line said (--yes, --no); labels are their defaults, since a console
// has no plug-in window; notifications are kept and sent when the host says. While a page is
// open (the Tracker in a browser), alerts and questions appear on it instead.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IUserInterface.h"
#include "host/ui/IPageDialogs.h"

#include <iosfwd>
#include <vector>

class CConsoleUserInterface final : public IUserInterface {
public:
    /// How alerts are answered.
    enum class Answers {
        Ask, // a prompt on the terminal
        Yes, // the first button: OK, Yes
        No,  // the second button when there is one: Cancel, No
    };

    CConsoleUserInterface(std::istream& in, std::ostream& out, Answers answers);

    int32_t hftVersion() const override { return kVellViewUserInterfaceTable.version; }
    void registerNotification(int32_t kind, ExtensionID extension, VxNotificationProc proc,
                              void* data) override;
    void unregisterNotification(int32_t kind, VxNotificationProc proc, void* data) override;
    int32_t alert(int32_t kind, const char* textUtf8, const char* button1, const char* button2,
                  const char* button3, bool beep) override;
    std::optional<std::string> response(const char* questionUtf8, const char* titleUtf8,
                                        const char* defaultUtf8, bool password) override;
    bool hasTopLevelWindow() override { return false; }
    std::string labelLookup(const char* name, const char* defaultLabel) override;
    void applyStringFilter(QsTextRec* text, int32_t filter) override;
    /// The line on the terminal.
    void consolePrintln(const char* utf8) override;
    /// With a target, the desktop's default browser opens the URL; the console has no URL
    /// commands of its own, and says so.
    void openURL(const char* url, const char* target) override;

    /// Calls every procedure registered for a kind, in the order of registration.
    void send(int32_t kind);
    /// Forgets every registration: before the code behind them goes away.
    void clearNotifications() { m_registrations.clear(); }
    /// Shows alerts and questions on a page while it has one open; null: on the terminal only.
    void setPageDialogs(IPageDialogs* dialogs) { m_pageDialogs = dialogs; }

private:
    struct Registration {
        int32_t kind;
        VxNotificationProc proc;
        void* data;
    };

    std::istream& m_in;
    std::ostream& m_out;
    Answers m_answers;
    std::vector<Registration> m_registrations;
    IPageDialogs* m_pageDialogs = nullptr;
};
