// The test host's script console: keeps what scripts print, for tests to read.
#pragma once

#include "host/script/IScriptConsole.h"

#include <string>
#include <vector>

class FakeScriptConsole final : public IScriptConsole {
public:
    void println(const std::string& line) override { m_lines.push_back(line); }
    void show() override { ++m_shown; }
    void clear() override { m_lines.clear(); }

    const std::vector<std::string>& lines() const { return m_lines; }
    int shown() const { return m_shown; }

private:
    std::vector<std::string> m_lines;
    int m_shown = 0;
};
