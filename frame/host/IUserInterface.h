// "VellViewUserInterface": alerts, labels, the string filter and viewer notifications.
// Menus, tool bars and commands are added by the subsystems that use them.
#pragma once

#include "frame/QsText.h"
#include "frame/host/ICore.h"
#include "frame/host/IHostTable.h"

#include <cstdint>
#include <optional>
#include <string>

/// Kinds of viewer notification.
enum : int32_t {
    /// The application is about to quit; sent before the plug-ins are unloaded.
    kVxNotifyAppWillQuit = 1,
    /// Every plug-in has been initialised.
    kVxNotifyAppDidInitExtensions = 2,
    /// The application has finished starting.
    kVxNotifyAppDidInit = 3,
};

/// A notification procedure; data is what it was registered with.
using VxNotificationProc = void (*)(void* data);

class IUserInterface : public IHostTable {
public:
    /// Registers a procedure for a notification kind.
    virtual void registerNotification(int32_t kind, ExtensionID extension, VxNotificationProc proc,
                                      void* data) = 0;
    /// Removes a registration made with this same kind, procedure and data.
    virtual void unregisterNotification(int32_t kind, VxNotificationProc proc, void* data) = 0;

    /// A modal alert: kind, text, up to three button labels (null for none) and a beep flag.
    /// Returns the number of the button pressed, from 1.
    virtual int32_t alert(int32_t kind, const char* textUtf8, const char* button1,
                          const char* button2, const char* button3, bool beep) = 0;
    /// A modal question with a text field (app.response): question, title and default answer as
    /// UTF-8, and whether the answer is hidden as a password. The answer, or nothing when the
    /// user cancelled or the host cannot ask.
    virtual std::optional<std::string> response(const char* questionUtf8, const char* titleUtf8,
                                                const char* defaultUtf8, bool password) {
        (void)questionUtf8;
        (void)titleUtf8;
        (void)defaultUtf8;
        (void)password;
        return std::nullopt;
    }
    /// Whether the plug-in has a top-level window to read labels from.
    virtual bool hasTopLevelWindow() = 0;
    /// A label by resource name from the top-level window, or the default.
    virtual std::string labelLookup(const char* name, const char* defaultLabel) = 0;
    /// Applies the viewer's string filter with the given filter value to a text, in place.
    virtual void applyStringFilter(QsTextRec* text, int32_t filter) = 0;

    /// Prints one line, UTF-8 without its line end, to the viewer's console.
    virtual void consolePrintln(const char* utf8) = 0;
    /// Opens a URL: with a null target in the viewer itself, which runs the URL commands of its
    /// own scheme ("vellum:"); with a target in the browser window of that name ("_blank": a new
    /// one).
    virtual void openURL(const char* url, const char* target) = 0;
};
