// The console's alerts and questions go to a page while one is open, and come back to the
// terminal when none is, or when the page goes before it answers.
#include "host/ui/CConsoleUserInterface.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

// A page that answers as told, and keeps what it was shown.
class ScriptedPage final : public IPageDialogs {
public:
    bool open = true;
    std::optional<int32_t> button;
    std::optional<std::optional<std::string>> text;
    std::vector<std::string> shown;

    bool hasPage() override { return open; }
    std::optional<int32_t> alert(const std::string& message,
                                 const std::vector<std::string>& buttons, bool) override {
        std::string line = message;
        for (const std::string& b : buttons)
            line += " [" + b + "]";
        shown.push_back(line);
        return button;
    }
    std::optional<std::optional<std::string>> response(const std::string& question,
                                                       const std::string& title,
                                                       const std::string& fallback,
                                                       bool password) override {
        shown.push_back(title + ": " + question + " (" + fallback + (password ? ", hidden)" : ")"));
        return text;
    }
};

TEST(PageDialogs, AlertsGoToAnOpenPageAndBackToTheTerminalWithoutOne) {
    const struct {
        bool open;
        std::optional<int32_t> pageAnswer;
        const char* typed;
        int32_t pressed;
        std::vector<std::string> shownOnPage;
        bool askedOnTerminal;
    } cases[] = {
        {true, 2, "", 2, {"Remove it? [Remove] [Cancel]"}, false},
        {true, std::nullopt, "1\n", 1, {"Remove it? [Remove] [Cancel]"}, true},
        {false, 2, "1\n", 1, {}, true},
    };
    for (const auto& c : cases) {
        ScriptedPage page;
        page.open = c.open;
        page.button = c.pageAnswer;
        std::istringstream in(c.typed);
        std::ostringstream out;
        CConsoleUserInterface ui(in, out, CConsoleUserInterface::Answers::Ask);
        ui.setPageDialogs(&page);
        EXPECT_EQ(ui.alert(1, "Remove it?", "Remove", "Cancel", nullptr, false), c.pressed);
        EXPECT_EQ(page.shown, c.shownOnPage);
        EXPECT_EQ(out.str().find("Remove it?") != std::string::npos, c.askedOnTerminal);
    }
    // An alert without buttons has an OK on the page.
    ScriptedPage page;
    page.button = 1;
    std::istringstream in;
    std::ostringstream out;
    CConsoleUserInterface ui(in, out, CConsoleUserInterface::Answers::Ask);
    ui.setPageDialogs(&page);
    EXPECT_EQ(ui.alert(1, "Done.", nullptr, nullptr, nullptr, false), 1);
    EXPECT_EQ(page.shown, std::vector<std::string>{"Done. [OK]"});
}

TEST(PageDialogs, QuestionsGoToAnOpenPageAndCancelThere) {
    const struct {
        std::optional<std::optional<std::string>> pageAnswer;
        const char* typed;
        std::optional<std::string> answer;
        bool askedOnTerminal;
    } cases[] = {
        {std::optional<std::string>("http://127.0.0.1/feed.xml"), "", "http://127.0.0.1/feed.xml",
         false},
        {std::optional<std::string>(), "typed\n", std::nullopt, false}, // cancelled on the page
        {std::nullopt, "typed\n", "typed", true},                       // the page went away
    };
    for (const auto& c : cases) {
        ScriptedPage page;
        page.text = c.pageAnswer;
        std::istringstream in(c.typed);
        std::ostringstream out;
        CConsoleUserInterface ui(in, out, CConsoleUserInterface::Answers::Ask);
        ui.setPageDialogs(&page);
        EXPECT_EQ(ui.response("Enter the URL.", "Add Subscription", "http://x", false), c.answer);
        EXPECT_EQ(page.shown,
                  std::vector<std::string>{"Add Subscription: Enter the URL. (http://x)"});
        EXPECT_EQ(out.str().find("Enter the URL.") != std::string::npos, c.askedOnTerminal);
    }
}

} // namespace
