// File streams: the plug-in's streams over files of the host's file system (HostFiles()).
//
// Paths are in the host's "DIPath" form. Each stream is closed, and its file with it, by
// QsStmClose (values/QsStm.h).
#pragma once

#include "frame/host/QsStmRec.h"

#include <cstdint>

/// A read stream over a file; null without a file system or when the file cannot be read.
QsStm QsFileStmRdOpen(const char* path);
/// A write stream into a file, made when it is missing and emptied when it is there; null
/// without a file system or when the file cannot be written.
QsStm QsFileStmWrOpen(const char* path);
/// A read stream over length bytes of a file from offset, ending at the range's end or the
/// file's, whichever comes first; null for a negative offset or length, and as QsFileStmRdOpen.
QsStm QsFileRangeStmRdOpen(const char* path, int64_t offset, int64_t length);
