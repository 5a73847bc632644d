#include "tests/fakehost/FakeUserInterface.h"

#include <algorithm>

void FakeUserInterface::registerNotification(int32_t kind, ExtensionID extension,
                                             VxNotificationProc proc, void* data) {
    m_registrations.push_back({kind, extension, proc, data});
}

void FakeUserInterface::unregisterNotification(int32_t kind, VxNotificationProc proc, void* data) {
    std::erase_if(m_registrations, [&](const Registration& r) {
        return r.kind == kind && r.proc == proc && r.data == data;
    });
}

int32_t FakeUserInterface::alert(int32_t kind, const char* textUtf8, const char* button1,
                                 const char* button2, const char* button3, bool beep) {
    Alert shown{kind, textUtf8 ? textUtf8 : "", {}, beep};
    for (const char* button : {button1, button2, button3})
        shown.buttons.push_back(button ? button : "");
    m_alerts.push_back(shown);
    if (m_answers.empty())
        return 1;
    int32_t answer = m_answers.front();
    m_answers.pop_front();
    return answer;
}

std::optional<std::string> FakeUserInterface::response(const char* questionUtf8,
                                                       const char* titleUtf8,
                                                       const char* defaultUtf8, bool password) {
    m_questions.push_back({questionUtf8 ? questionUtf8 : "", titleUtf8 ? titleUtf8 : "", password,
                           defaultUtf8 ? defaultUtf8 : ""});
    if (m_responses.empty())
        return std::nullopt;
    std::optional<std::string> answer = std::move(m_responses.front());
    m_responses.pop_front();
    return answer;
}

std::string FakeUserInterface::labelLookup(const char* name, const char* defaultLabel) {
    std::string key = name ? name : "";
    m_labelLookups.push_back(key);
    auto found = m_labels.find(key);
    if (found != m_labels.end())
        return found->second;
    return defaultLabel ? defaultLabel : "";
}

void FakeUserInterface::applyStringFilter(QsTextRec*, int32_t filter) {
    m_filters.push_back(filter);
}

void FakeUserInterface::send(int32_t kind) {
    // A procedure may register or unregister while it runs; the copy keeps the walk sound.
    std::vector<Registration> registered = m_registrations;
    for (const Registration& r : registered) {
        if (r.kind == kind)
            r.proc(r.data);
    }
}
