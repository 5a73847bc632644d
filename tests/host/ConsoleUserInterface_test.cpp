#include "host/ui/CConsoleUserInterface.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using Answers = CConsoleUserInterface::Answers;

TEST(ConsoleUserInterface, AlertsAreAnsweredByPromptOrByTheCommandLine) {
    const struct {
        Answers answers;
        std::string typed;
        int buttons;
        int32_t pressed;
    } cases[] = {
        {Answers::Ask, "2\n", 2, 2},
        {Answers::Ask, "3\n", 3, 3},
        {Answers::Ask, "x\n9\n\n1\n", 2, 1}, // asked again until the answer is a button
        {Answers::Ask, "", 2, 2},            // nobody answers: the careful second button
        {Answers::Ask, "", 1, 1},
        {Answers::Ask, "", 0, 1},
        {Answers::Yes, "", 3, 1},
        {Answers::No, "", 3, 2},
        {Answers::No, "", 1, 1},
    };
    const char* labels[] = {"Yes", "No", "Cancel"};
    for (const auto& c : cases) {
        std::istringstream in(c.typed);
        std::ostringstream out;
        CConsoleUserInterface ui(in, out, c.answers);
        EXPECT_EQ(ui.alert(1, "Remove it?", c.buttons > 0 ? labels[0] : nullptr,
                           c.buttons > 1 ? labels[1] : nullptr, c.buttons > 2 ? labels[2] : nullptr,
                           false),
                  c.pressed)
            << c.typed << " " << c.buttons;
        EXPECT_NE(out.str().find("Remove it?"), std::string::npos);
    }
}

TEST(ConsoleUserInterface, QuestionsTakeTheTypedAnswerOrTheDefault) {
    const struct {
        Answers answers;
        std::string typed;
        std::optional<std::string> answer;
    } cases[] = {
        {Answers::Ask, "Ada\n", "Ada"},   {Answers::Ask, "\n", "guest"},
        {Answers::Ask, "", std::nullopt}, {Answers::Yes, "", "guest"},
        {Answers::No, "", std::nullopt},
    };
    for (const auto& c : cases) {
        std::istringstream in(c.typed);
        std::ostringstream out;
        CConsoleUserInterface ui(in, out, c.answers);
        EXPECT_EQ(ui.response("Name?", "Sign in", "guest", false), c.answer) << c.typed;
    }
    // A password's default is not shown; without a default there are no brackets.
    std::istringstream in("\n\n");
    std::ostringstream out;
    CConsoleUserInterface ui(in, out, Answers::Ask);
    EXPECT_EQ(ui.response("Password:", "Sign in", "hunter2", true), "hunter2");
    EXPECT_EQ(out.str().find("hunter2"), std::string::npos);
    EXPECT_NE(out.str().find("[*******]"), std::string::npos);
    EXPECT_EQ(ui.response("Name?", "Sign in", "", false), "");
    EXPECT_EQ(out.str().find("[]"), std::string::npos);
}

TEST(ConsoleUserInterface, NotificationsGoToTheirKindInOrderUntilCleared) {
    std::istringstream in;
    std::ostringstream out;
    CConsoleUserInterface ui(in, out, Answers::Ask);
    std::vector<int> calls;
    auto record = [](void* data) { static_cast<std::vector<int>*>(data)->push_back(1); };
    auto recordTwo = [](void* data) { static_cast<std::vector<int>*>(data)->push_back(2); };
    ui.registerNotification(kVxNotifyAppWillQuit, nullptr, record, &calls);
    ui.registerNotification(kVxNotifyAppDidInit, nullptr, recordTwo, &calls);
    ui.registerNotification(kVxNotifyAppWillQuit, nullptr, recordTwo, &calls);
    ui.send(kVxNotifyAppWillQuit);
    EXPECT_EQ(calls, (std::vector<int>{1, 2}));
    ui.unregisterNotification(kVxNotifyAppWillQuit, record, &calls);
    ui.send(kVxNotifyAppWillQuit);
    EXPECT_EQ(calls, (std::vector<int>{1, 2, 2}));
    ui.clearNotifications();
    ui.send(kVxNotifyAppDidInit);
    EXPECT_EQ(calls.size(), 3u);
    EXPECT_EQ(ui.labelLookup("vxOKButton", "OK"), "OK");
}

TEST(ConsoleUserInterface, ConsoleLinesAndTheViewersOwnURLsGoToTheTerminal) {
    std::istringstream in;
    std::ostringstream out;
    CConsoleUserInterface ui(in, out, Answers::Ask);
    ui.consolePrintln("GET http://127.0.0.1/");
    ui.consolePrintln("");
    ui.consolePrintln(nullptr);
    ui.openURL("vellum:Inbox?show=1", nullptr);
    EXPECT_EQ(out.str(), "GET http://127.0.0.1/\n\n\nThis host runs no URL commands: "
                         "vellum:Inbox?show=1\n");
}

} // namespace
