// Qualified names as the SOAP writers and readers split them.
#pragma once

#include <string>
#include <utility>

/// Splits a qualified name at its last ":" into namespace and local name; without ":" the
/// namespace is empty.
std::pair<std::string, std::string> SOAPSplitQName(const std::string& name);
