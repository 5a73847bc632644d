#include "frame/mdAlert.h"

#include "frame/ZString.h"
#include "tests/fakehost/FakeHost.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Labels = std::vector<std::string>;

class Alerts : public ::testing::Test {
protected:
    void SetUp() override { ReleaseZStringSuites(); }
    void TearDown() override { ReleaseZStringSuites(); }

    const FakeUserInterface::Alert& last() { return host.ui().alerts().back(); }

    FakeHost host;
};

TEST_F(Alerts, ButtonSetsGiveTheirLabelsAndResults) {
    const struct {
        int32_t buttons;
        int32_t pressed;
        int32_t result;
        Labels labels;
    } cases[] = {
        {kAlertButtonsOK, 1, kAlertResultOK, {"OK", "", ""}},
        {kAlertButtonsOKCancel, 1, kAlertResultOK, {"OK", "Cancel", ""}},
        {kAlertButtonsOKCancel, 2, kAlertResultCancel, {"OK", "Cancel", ""}},
        {kAlertButtonsYesNo, 1, kAlertResultYes, {"Yes", "No", ""}},
        {kAlertButtonsYesNo, 2, kAlertResultNo, {"Yes", "No", ""}},
        {kAlertButtonsYesNoCancel, 1, kAlertResultYes, {"Yes", "No", "Cancel"}},
        {kAlertButtonsYesNoCancel, 2, kAlertResultNo, {"Yes", "No", "Cancel"}},
        {kAlertButtonsYesNoCancel, 3, kAlertResultCancel, {"Yes", "No", "Cancel"}},
        {4, 1, 0, {"", "", ""}},
        {-1, 1, 0, {"", "", ""}},
    };
    for (const auto& c : cases) {
        host.ui().answerNext(c.pressed);
        EXPECT_EQ(mdAlertText(0, 0, c.buttons, "Sure?"), c.result) << c.buttons << " " << c.pressed;
        EXPECT_EQ(last().buttons, c.labels) << c.buttons;
        EXPECT_EQ(last().text, "Sure?");
    }
}

TEST_F(Alerts, IconsMapToAlertKinds) {
    const int32_t kinds[][2] = {{0, 1}, {1, 3}, {2, 2}, {3, 3}, {4, 0}, {-1, 0}};
    for (const auto& [icon, kind] : kinds) {
        mdAlertText(0, icon, kAlertButtonsOK, "x");
        EXPECT_EQ(last().kind, kind) << icon;
    }
    mdAlertText(0, 0, kAlertButtonsOK, "quiet");
    EXPECT_FALSE(last().beep);
    mdAlertText(1, 0, kAlertButtonsOK, "loud");
    EXPECT_TRUE(last().beep);
}

TEST_F(Alerts, LabelsComeFromTheWindowOnceEach) {
    host.ui().setTopLevelWindow(true);
    host.ui().setLabel("vxYesButton", "Ja");
    mdAlertText(0, 0, kAlertButtonsYesNoCancel, "x");
    EXPECT_EQ(last().buttons, (Labels{"Ja", "No", "Cancel"}));
    host.ui().setLabel("vxYesButton", "Jawohl");
    mdAlertText(0, 0, kAlertButtonsYesNo, "x");
    EXPECT_EQ(last().buttons, (Labels{"Ja", "No", ""}));
    EXPECT_EQ(host.ui().labelLookups(), (Labels{"vxYesButton", "vxNoButton", "vxCancelButton"}));
    ReleaseZStringSuites();
    mdAlertText(0, 0, kAlertButtonsYesNo, "x");
    EXPECT_EQ(last().buttons[0], "Jawohl");
}

TEST_F(Alerts, WithoutAWindowTheDefaultsServe) {
    host.ui().setLabel("vxOKButton", "Okay");
    mdAlertText(0, 0, kAlertButtonsOKCancel, "x");
    EXPECT_EQ(last().buttons, (Labels{"OK", "Cancel", ""}));
    EXPECT_TRUE(host.ui().labelLookups().empty());
}

TEST_F(Alerts, MessagesFormatsAndPlaces) {
    mdAlert(0, 0, kAlertButtonsOK, IDS_INBOX_REMOVE_CONF);
    EXPECT_EQ(last().text, "Are you sure you want to remove the subscription?");
    mdAlertEx(0, 0, kAlertButtonsOK, IDS_INBOX_SUBSCRIBE_URL_CONFIRMATION,
              {{"URL", "http://a/{SERVER}"}, {"SERVER", "a"}});
    EXPECT_EQ(last().text, "Tessel Vellum is going to add a subscription to \"http://a/a\" to the "
                           "Tracker. You should only allow this if you consider content from "
                           "\"a\" to be trusted.");
    mdAlertStr(0, 0, kAlertButtonsOK, "%d of %s", 3, "4");
    EXPECT_EQ(last().text, "3 of 4");
    std::string longText(5000, 'x');
    mdAlertStr(0, 0, kAlertButtonsOK, "%s", longText.c_str());
    EXPECT_EQ(last().text.size(), 4095u);
}

TEST(AlertsWithoutHost, NoUserInterfaceShowsNothing) {
    EXPECT_EQ(mdAlertText(0, 0, kAlertButtonsOKCancel, "x"), 0);
}

} // namespace
