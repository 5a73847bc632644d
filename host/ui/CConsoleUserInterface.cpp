#include "host/ui/CConsoleUserInterface.h"

#include <gio/gio.h>
#include <termios.h>
#include <unistd.h>

#include <iostream>
#include <istream>
#include <ostream>
#include <string>

CConsoleUserInterface::CConsoleUserInterface(std::istream& in, std::ostream& out, Answers answers)
    : m_in(in), m_out(out), m_answers(answers) {}

void CConsoleUserInterface::registerNotification(int32_t kind, ExtensionID, VxNotificationProc proc,
                                                 void* data) {
    if (proc)
        m_registrations.push_back({kind, proc, data});
}

void CConsoleUserInterface::unregisterNotification(int32_t kind, VxNotificationProc proc,
                                                   void* data) {
    std::erase_if(m_registrations, [&](const Registration& r) {
        return r.kind == kind && r.proc == proc && r.data == data;
    });
}

int32_t CConsoleUserInterface::alert(int32_t, const char* textUtf8, const char* button1,
                                     const char* button2, const char* button3, bool beep) {
    std::vector<std::string> buttons;
    for (const char* button : {button1, button2, button3}) {
        if (button)
            buttons.push_back(button);
    }
    if (m_pageDialogs && m_pageDialogs->hasPage()) {
        std::vector<std::string> shown = buttons.empty() ? std::vector<std::string>{"OK"} : buttons;
        if (std::optional<int32_t> pressed =
                m_pageDialogs->alert(textUtf8 ? textUtf8 : "", shown, beep))
            return *pressed;
    }
    m_out << (beep ? "\a" : "") << "\n" << (textUtf8 ? textUtf8 : "") << "\n";
    if (buttons.empty())
        return 1;
    const int32_t count = static_cast<int32_t>(buttons.size());
    if (m_answers != Answers::Ask) {
        int32_t chosen = m_answers == Answers::No && count > 1 ? 2 : 1;
        m_out << "  -> " << buttons[static_cast<size_t>(chosen - 1)] << "\n";
        return chosen;
    }
    for (;;) {
        for (int32_t i = 0; i < count; ++i)
            m_out << "  [" << i + 1 << "] " << buttons[static_cast<size_t>(i)];
        m_out << "\n? " << std::flush;
        std::string line;
        if (!std::getline(m_in, line)) {
            // Nobody is there to answer: the second button (Cancel, No) is the careful one.
            int32_t chosen = count > 1 ? 2 : 1;
            m_out << "\n  -> " << buttons[static_cast<size_t>(chosen - 1)] << "\n";
            return chosen;
        }
        if (line.size() == 1 && line[0] >= '1' && line[0] < '1' + count)
            return line[0] - '0';
    }
}

namespace {

/// Keeps what is typed on the terminal from showing while it lives: for passwords. Does nothing
/// when standard input is no terminal.
class HiddenTyping {
public:
    HiddenTyping() {
        m_active = isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &m_saved) == 0;
        if (!m_active)
            return;
        termios quiet = m_saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~HiddenTyping() {
        if (m_active)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_saved);
    }
    HiddenTyping(const HiddenTyping&) = delete;
    HiddenTyping& operator=(const HiddenTyping&) = delete;
    bool active() const { return m_active; }

private:
    termios m_saved{};
    bool m_active = false;
};

} // namespace

std::optional<std::string> CConsoleUserInterface::response(const char* questionUtf8,
                                                           const char* titleUtf8,
                                                           const char* defaultUtf8, bool password) {
    std::string fallback = defaultUtf8 ? defaultUtf8 : "";
    if (m_pageDialogs && m_pageDialogs->hasPage()) {
        if (auto answer = m_pageDialogs->response(questionUtf8 ? questionUtf8 : "",
                                                  titleUtf8 ? titleUtf8 : "", fallback, password))
            return *answer;
    }
    m_out << "\n";
    if (titleUtf8 && *titleUtf8)
        m_out << titleUtf8 << ": ";
    m_out << (questionUtf8 ? questionUtf8 : "") << "\n";
    if (m_answers == Answers::Yes) {
        m_out << "  -> " << fallback << "\n";
        return fallback;
    }
    if (m_answers == Answers::No) {
        m_out << "  -> (cancelled)\n";
        return std::nullopt;
    }
    // The default, which an empty line takes, in brackets; a password's only as stars.
    if (!fallback.empty())
        m_out << "[" << (password ? std::string(fallback.size(), '*') : fallback) << "] ";
    m_out << std::flush;
    std::string line;
    bool read = false;
    if (password && &m_in == &std::cin) {
        HiddenTyping hidden;
        read = static_cast<bool>(std::getline(m_in, line));
        if (hidden.active())
            m_out << "\n";
    } else {
        read = static_cast<bool>(std::getline(m_in, line));
    }
    if (!read)
        return std::nullopt;
    return line.empty() ? fallback : line;
}

std::string CConsoleUserInterface::labelLookup(const char*, const char* defaultLabel) {
    return defaultLabel ? defaultLabel : "";
}

// A console host has no string filters: every filter value leaves the text as it is.
void CConsoleUserInterface::applyStringFilter(QsTextRec*, int32_t) {}

void CConsoleUserInterface::send(int32_t kind) {
    // A procedure may register or unregister while it runs; the copy keeps the walk sound.
    std::vector<Registration> registered = m_registrations;
    for (const Registration& r : registered) {
        if (r.kind == kind)
            r.proc(r.data);
    }
}

void CConsoleUserInterface::consolePrintln(const char* utf8) {
    m_out << (utf8 ? utf8 : "") << "\n";
}

void CConsoleUserInterface::openURL(const char* url, const char* target) {
    if (!url)
        return;
    if (!target) {
        m_out << "This host runs no URL commands: " << url << "\n";
        return;
    }
    GError* error = nullptr;
    if (!g_app_info_launch_default_for_uri(url, nullptr, &error)) {
        m_out << "Cannot open " << url << ": " << (error ? error->message : "no browser") << "\n";
        g_clear_error(&error);
    }
}
