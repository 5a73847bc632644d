#include "frame/mdAlert.h"

#include "frame/HostTables.h"
#include "frame/ZString.h"

#include <cstdarg>
#include <cstdio>
#include <optional>
#include <string>

namespace {

enum Label { kOKLabel, kCancelLabel, kYesLabel, kNoLabel, kLabelCount };

struct LabelSource {
    const char* name;
    const char* fallback;
};

constexpr LabelSource kLabelSources[kLabelCount] = {
    {"vxOKButton", "OK"},
    {"vxCancelButton", "Cancel"},
    {"vxYesButton", "Yes"},
    {"vxNoButton", "No"},
};

// Each label is read once, from the plug-in's top-level window, or is the default without one.
std::optional<std::string> gLabels[kLabelCount];

const char* label(Label which) {
    std::optional<std::string>& cell = gLabels[which];
    if (!cell) {
        const LabelSource& source = kLabelSources[which];
        IUserInterface* ui = gVellViewUserInterfaceHFT;
        if (ui && ui->hasTopLevelWindow())
            cell = ui->labelLookup(source.name, source.fallback);
        else
            cell = source.fallback;
    }
    return cell->c_str();
}

// The kind of platform alert that shows an icon number. Icons 1 and 3 both show as kind 3.
int32_t alertKindForIcon(int32_t icon) {
    switch (icon) {
    case 0:
        return 1;
    case 1:
        return 3;
    case 2:
        return 2;
    case 3:
        return 3;
    default:
        return 0;
    }
}

std::string messageUTF8(uint16_t messageID) {
    CQsText text;
    miGetZStringEx(messageID, text.get());
    return text.getString();
}

} // namespace

int32_t mdAlertText(int32_t kind, int32_t icon, int32_t buttons, const char* text) {
    IUserInterface* ui = gVellViewUserInterfaceHFT;
    if (!ui)
        return 0;
    // The labels of each button set, and what pressing each button answers.
    const char* labels[3] = {nullptr, nullptr, nullptr};
    int32_t results[3] = {0, 0, 0};
    switch (buttons) {
    case kAlertButtonsOK:
        labels[0] = label(kOKLabel);
        results[0] = results[1] = results[2] = kAlertResultOK;
        break;
    case kAlertButtonsOKCancel:
        labels[0] = label(kOKLabel);
        labels[1] = label(kCancelLabel);
        results[0] = kAlertResultOK;
        results[1] = results[2] = kAlertResultCancel;
        break;
    case kAlertButtonsYesNo:
        labels[0] = label(kYesLabel);
        labels[1] = label(kNoLabel);
        results[0] = kAlertResultYes;
        results[1] = results[2] = kAlertResultNo;
        break;
    case kAlertButtonsYesNoCancel:
        labels[0] = label(kYesLabel);
        labels[1] = label(kNoLabel);
        labels[2] = label(kCancelLabel);
        results[0] = kAlertResultYes;
        results[1] = kAlertResultNo;
        results[2] = kAlertResultCancel;
        break;
    default:
        break;
    }
    int32_t pressed = ui->alert(alertKindForIcon(icon), text ? text : "", labels[0], labels[1],
                                labels[2], kind != 0);
    if (pressed < 1 || pressed > 3)
        pressed = 1;
    return results[pressed - 1];
}

int32_t mdAlert(int32_t kind, int32_t icon, int32_t buttons, uint16_t messageID) {
    return mdAlertText(kind, icon, buttons, messageUTF8(messageID).c_str());
}

int32_t mdAlertEx(int32_t kind, int32_t icon, int32_t buttons, uint16_t messageID,
                  std::initializer_list<std::pair<const char*, const char*>> fills) {
    std::string text = messageUTF8(messageID);
    for (const auto& [name, value] : fills) {
        if (!name)
            continue;
        std::string place = std::string("{") + name + "}";
        std::string replacement = value ? value : "";
        for (size_t at = text.find(place); at != std::string::npos;
             at = text.find(place, at + replacement.size()))
            text.replace(at, place.size(), replacement);
    }
    return mdAlertText(kind, icon, buttons, text.c_str());
}

int32_t mdAlertStr(int32_t kind, int32_t icon, int32_t buttons, const char* format, ...) {
    char buffer[4096];
    buffer[0] = 0;
    if (format) {
        va_list args;
        va_start(args, format);
        std::vsnprintf(buffer, sizeof buffer, format, args);
        va_end(args);
    }
    return mdAlertText(kind, icon, buttons, buffer);
}

void mdReleaseAlertLabels() {
    for (auto& cell : gLabels)
        cell.reset();
}
