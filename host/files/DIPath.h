// The "DIPath" form of paths, shared by the host's file systems.
#pragma once

#include <optional>
#include <string>

/// Resolves a text of a named form against a base folder, by the rules of
/// IFileSystem::pathFromText.
std::optional<std::string> DIPathFromText(const char* form, const char* text, const char* base);

/// A path without the "/" that ends a folder's path ("/" itself stays).
std::string DIPathWithoutSlash(const std::string& path);

/// The folder that holds a path, ending in "/"; "/" for "/" itself.
std::string DIPathParent(const std::string& path);
