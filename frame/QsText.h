// The viewer's Unicode text (QsText) and its owning wrapper CQsText.
#pragma once

#include <cstdint>
#include <string>

/// A text of UTF-16 units, without byte-order mark.
struct QsTextRec {
    std::u16string units;
};
using QsText = QsTextRec*;

/// Owning wrapper over a QsText.
class CQsText {
public:
    CQsText() = default;
    explicit CQsText(const char* utf8) { set(utf8); }
    CQsText(const CQsText&) = default;
    CQsText& operator=(const CQsText&) = default;

    /// Sets the text from UTF-8 bytes (invalid sequences become U+FFFD).
    void set(const char* utf8);
    /// Sets the text from UTF-16 units.
    void set(const std::u16string& units) { m_text.units = units; }
    /// The text as UTF-8.
    std::string getString() const;
    /// The units.
    const std::u16string& units() const { return m_text.units; }
    /// Unit-wise comparison: negative, 0 or positive.
    int compare(const CQsText& other) const { return m_text.units.compare(other.m_text.units); }
    /// Number of units.
    long len() const { return static_cast<long>(m_text.units.size()); }
    /// Replaces every occurrence of one text by another.
    void replace(const CQsText& from, const CQsText& to);
    /// Index of the first occurrence at or after start, -1 if none.
    long find(const CQsText& needle, long start = 0) const;
    bool isEmpty() const { return m_text.units.empty(); }

    QsTextRec* get() { return &m_text; }
    const QsTextRec* get() const { return &m_text; }

private:
    QsTextRec m_text;
};
