#include "host/net/CurlErrors.h"

#include "frame/host/INetwork.h"

long netErrorFromCurl(CURLcode code) {
    switch (code) {
    case CURLE_OK:
        return 0;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CLIENTCERT:
        return kNetErrSSL;
    // URLs are checked when a request is opened, so an unsupported protocol here is a server
    // that answered with something other than HTTP.
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_HTTP3:
    case CURLE_TOO_MANY_REDIRECTS:
        return kNetErrInvalidResponse;
    case CURLE_COULDNT_CONNECT:
    case CURLE_SEND_ERROR:
        return kNetErrNoConnection;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_PROXY:
        return kNetErrProxy;
    case CURLE_COULDNT_RESOLVE_HOST:
        return kNetErrNotFound;
    case CURLE_OPERATION_TIMEDOUT:
        return kNetErrTimeout;
    case CURLE_LOGIN_DENIED:
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_AUTH_ERROR:
        return kNetErrUnauthorized;
    case CURLE_ABORTED_BY_CALLBACK:
    case CURLE_READ_ERROR:
    case CURLE_WRITE_ERROR:
        return kNetErrAborted;
    default:
        return kNetErrGeneral;
    }
}
