// Shared pieces of the network tests: test data, a body source for posts, readers of replies,
// and credentials answered through an authentication callback.
#pragma once

#include "frame/host/INetwork.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

/// The resident set of the process now, in KiB.
inline long residentKiB() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

/// How far the resident set may grow while a reply of 100 MiB passes: a small part of it. The
/// address sanitizer keeps freed blocks in quarantine for a while, which counts here too.
#if defined(__SANITIZE_ADDRESS__)
constexpr long kBoundedGrowthKiB = 64 * 1024;
#else
constexpr long kBoundedGrowthKiB = 24 * 1024;
#endif

/// The bytes of a file under tests/data/host/.
inline std::string hostTestData(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/host/" + name, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

/// A post body handed out in pieces of at most pieceSize bytes; counts the close calls.
struct BodySource {
    std::string bytes;
    size_t pieceSize = 1000;
    size_t position = 0;
    int closes = 0;
    bool failAtEnd = false;

    static long write(char* buffer, long count, void* data) {
        auto* self = static_cast<BodySource*>(data);
        if (self->position == self->bytes.size())
            return self->failAtEnd ? -1 : 0;
        size_t n = std::min(
            {static_cast<size_t>(count), self->pieceSize, self->bytes.size() - self->position});
        std::memcpy(buffer, self->bytes.data() + self->position, n);
        self->position += n;
        return static_cast<long>(n);
    }
    static void close(void* data) { ++static_cast<BodySource*>(data)->closes; }
};

/// What reading a synchronous reply to its end gave.
struct ReadResult {
    std::string body;
    long last = 0; // the read that ended it: 0 or an error code
    size_t largestRead = 0;
};

/// Reads a synchronous reply in blocks of 2048 bytes, as the plug-in does.
inline ReadResult readToEnd(INetwork& net, NetRequest request) {
    ReadResult result;
    char block[2048];
    for (;;) {
        long got = net.read(request, block, sizeof block);
        if (got < 1) {
            result.last = got;
            return result;
        }
        result.body.append(block, static_cast<size_t>(got));
        result.largestRead = std::max(result.largestRead, static_cast<size_t>(got));
    }
}

/// An authentication callback's script: the answers it gives, attempt by attempt, and what it
/// was asked.
struct AuthScript {
    std::string user;
    std::string password;
    int answerUpTo = 3; // attempts it answers; later ones give up
    struct Call {
        std::string server;
        std::string realm;
        long attempt;
        long flags;
    };
    std::vector<Call> calls;

    static int32_t answer(const char* server, const char* realm, char** user, char** password,
                          long attempt, long flags, void* data) {
        auto* self = static_cast<AuthScript*>(data);
        self->calls.push_back({server, realm, attempt, flags});
        if (attempt > self->answerUpTo)
            return 0;
        *user = strdup(self->user.c_str());
        *password = strdup(self->password.c_str());
        return 1;
    }
};

/// What an asynchronous consumer received.
struct AsyncRecord {
    std::string body;
    std::vector<long> pieceLengths;
    int finalCalls = 0;
    long status = -100;
    long error = -100;
    std::string contentType;
    int stopAfterPieces = -1; // answers 0 at this piece
    bool closeAtEnd = false;
    INetwork* net = nullptr;

    static int32_t consume(NetRequest request, const char* data, long length, long status,
                           long error, void* userData) {
        auto* self = static_cast<AsyncRecord*>(userData);
        if (length == 0) {
            ++self->finalCalls;
            self->status = status;
            self->error = error;
            if (self->closeAtEnd)
                self->net->close(request);
            return 0;
        }
        if (self->pieceLengths.empty() && self->net)
            self->contentType = self->net->responseHeader(request, "Content-Type").value_or("");
        self->body.append(data, static_cast<size_t>(length));
        self->pieceLengths.push_back(length);
        return static_cast<int>(self->pieceLengths.size()) != self->stopAfterPieces;
    }
};
