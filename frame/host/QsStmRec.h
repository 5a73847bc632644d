// The byte stream that the plug-in and its host pass to each other.
//
// A stream is a heap object behind the handle QsStm. Whoever holds the handle with the right to
// close it deletes the object through QsStmClose (values/QsStm.h), which is how a file is closed,
// a filter flushed, or a serialiser that owns itself freed.
#pragma once

struct _t_QsStm {
    virtual ~_t_QsStm() = default;
    /// Reads up to count bytes; the number read, 0 at the end, negative on failure.
    virtual long read(char* buffer, long count) {
        (void)buffer;
        (void)count;
        return -1;
    }
    /// Writes count bytes; the number written, negative on failure.
    virtual long write(const char* buffer, long count) {
        (void)buffer;
        (void)count;
        return -1;
    }
};

using QsStm = _t_QsStm*;
