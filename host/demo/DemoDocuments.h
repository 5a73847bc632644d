// The documents the demo serves, the files beside this header (the WSDL documents and the
// feeds), built into vellum-host so that the demo needs no file at run time. In a document,
// "{base}" stands for the server's own address.
#pragma once

#include <string_view>

/// The embedded document of that file name, byte for byte; empty when there is none.
std::string_view demoDocument(std::string_view name);
