// Where a wsdl:import's document lives: its location attribute read against the URL of the
// document that imports it, as a relative reference is read against its base URL.
#pragma once

#include <string>

/// Whether the reference starts with a scheme ("http:"), and so needs no base.
bool isAbsoluteWsdlLocation(const std::string& reference);

/// The URL of reference read against base: absolute references stand as they are, "//host/..."
/// takes the base's scheme, "/path" its scheme and authority, and any other path the base's
/// folder; "." and ".." segments are resolved and the fragment is dropped. Empty when a relative
/// reference has no absolute base.
std::string resolveWsdlLocation(const std::string& base, const std::string& reference);
