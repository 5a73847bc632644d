// Modal alerts with the viewer's button labels.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <utility>

/// The button sets of an alert.
enum : int32_t {
    kAlertButtonsOK = 0,
    kAlertButtonsOKCancel = 1,
    kAlertButtonsYesNo = 2,
    kAlertButtonsYesNoCancel = 3,
};

/// What an alert answers: the button pressed. 0 for a button set that has no buttons.
enum : int32_t {
    kAlertResultOK = 1,
    kAlertResultCancel = 2,
    kAlertResultNo = 3,
    kAlertResultYes = 4,
};

/// Shows an alert with a UTF-8 text. kind 0 is a quiet alert, any other beeps; icon 0 to 3
/// chooses how the alert looks; buttons is one of the button sets.
int32_t mdAlertText(int32_t kind, int32_t icon, int32_t buttons, const char* text);
/// mdAlertText with a message.
int32_t mdAlert(int32_t kind, int32_t icon, int32_t buttons, uint16_t messageID);
/// mdAlertText with a message whose places ("{URL}") are filled from name and value pairs.
int32_t mdAlertEx(int32_t kind, int32_t icon, int32_t buttons, uint16_t messageID,
                  std::initializer_list<std::pair<const char*, const char*>> fills);
/// mdAlertText with a printf format, formatted into a 4096-byte buffer first.
int32_t mdAlertStr(int32_t kind, int32_t icon, int32_t buttons, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

/// Forgets the button labels read so far; the next alert reads them again.
void mdReleaseAlertLabels();
