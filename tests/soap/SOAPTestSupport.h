// Helpers for the SOAP tests: data files, request values built as the script layer builds them,
// serialising an element tree, and a compact text form of a value to compare against.
#pragma once

#include "values/CAgg.h"
#include "values/CAggWalk.h"
#include "values/QsStm.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string>
#include <utility>

namespace soaptest {

/// The bytes of tests/data/soap/<name>; fails the test when the file is missing.
inline std::string readData(const std::string& name) {
    std::ifstream file(std::string(VELL_TEST_DATA) + "/soap/" + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << "missing test data " << name;
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

/// A map with text keys, as a script object becomes one.
inline CAgg map(std::initializer_list<std::pair<const char*, CAgg>> entries) {
    CAgg value;
    value.toMap();
    for (const auto& [key, item] : entries)
        value[key] = item;
    return value;
}

/// A vector, as a script array becomes one.
inline CAgg vec(std::initializer_list<CAgg> items) {
    CAgg value;
    value.toVector();
    for (const CAgg& item : items)
        value.toVector().push_back(item);
    return value;
}

inline CAgg boolean(bool flag) {
    CAgg value;
    value.toQsBool() = flag ? 1 : 0;
    return value;
}

/// A stream value over a memory stream of the bytes. It does not own the stream yet: copies of
/// an owning stream value close it as soon as the first of them goes, so the value is made the
/// owner once it stands in its place (ownStreams).
inline CAgg stream(const std::string& bytes) {
    return CAgg(QsMemStmRdOpen(bytes.data(), bytes.size()), 0);
}

/// Makes every stream value in the tree the owner of its stream.
inline void ownStreams(CAgg& value) {
    if (value.getType() == CAgg::eQsStm)
        value.toQsStm(1);
    else if (value.getType() == CAgg::eVector)
        for (CAgg& item : value.toVector())
            ownStreams(item);
    else if (CAggIsMap(value))
        CAggForEachEntry(value, [](const CEStr&, CAgg& item) { ownStreams(item); });
}

/// The text of an element tree as CAgg2XML writes it.
inline std::string serialize(CAgg& tree) {
    QsStm xml = CAgg2XML::openStream(tree);
    std::string text = QsStmReadAll(xml);
    QsStmClose(xml);
    return text;
}

/// A parsed document; fails the test when the text does not parse.
inline CAgg parse(const std::string& text) {
    CXML2CAgg parser;
    EXPECT_NE(parser.parse(text.data(), static_cast<int>(text.size()), 1), 0) << text;
    return parser.getRoot();
}

/// A value as compact text: null, "text", 5, 1.5d, true, [..], {"key":..}, stream("bytes"),
/// time(yyyy-mm-dd hh:mm:ss). A stream is read to its end.
inline std::string dump(CAgg& value) {
    auto quoted = [](const std::string& text) { return "\"" + text + "\""; };
    switch (value.getType()) {
    case CAgg::eVoid:
        return "null";
    case CAgg::eEStr:
        return quoted(EStrToUTF8(value.toEStr()));
    case CAgg::eQsInt32:
        return std::to_string(value.toQsInt32());
    case CAgg::eQsBool:
        return value.toQsBool() ? "true" : "false";
    case CAgg::eDouble: {
        char text[64];
        std::snprintf(text, sizeof text, "%gd", value.todouble());
        return text;
    }
    case CAgg::eQsTimeRec: {
        QsTimeRec& t = value.toQsTimeRec();
        char text[64];
        std::snprintf(text, sizeof text, "time(%04d-%02d-%02d %02d:%02d:%02d)", t.year, t.month,
                      t.date, t.hour, t.minute, t.second);
        return text;
    }
    case CAgg::eQsStm:
        return "stream(" + quoted(QsStmReadAll(value.toQsStm())) + ")";
    case CAgg::eVector: {
        std::string text = "[";
        for (CAgg& item : value.toVector())
            text += (text.size() > 1 ? "," : "") + dump(item);
        return text + "]";
    }
    case CAgg::eMap:
    case CAgg::eQsAtomMap: {
        std::string text = "{";
        CAggForEachEntry(value, [&](const CEStr& key, CAgg& item) {
            text += (text.size() > 1 ? "," : "") + quoted(EStrToUTF8(key)) + ":" + dump(item);
        });
        return text + "}";
    }
    default:
        return "<type " + std::to_string(value.getType()) + ">";
    }
}

} // namespace soaptest
