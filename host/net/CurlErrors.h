// How curl's failures become the network layer's error codes.
#pragma once

#include <curl/curl.h>

/// The layer's code (kNetErr...) for a failed transfer; 0 for CURLE_OK.
long netErrorFromCurl(CURLcode code);
