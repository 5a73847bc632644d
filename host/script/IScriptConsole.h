// Where the script console's output goes: the host's terminal, a window, or a test's record.
#pragma once

#include <string>

class IScriptConsole {
public:
    virtual ~IScriptConsole() = default;
    /// One line written by console.println, as UTF-8 without its line end.
    virtual void println(const std::string& line) = 0;
    /// console.show: brings the console into view.
    virtual void show() = 0;
    /// console.clear: empties the console.
    virtual void clear() = 0;
};
