// The plug-in's stream type: memory, procedural and file streams over the QsStm handle.
#pragma once

#include "frame/host/QsStmRec.h"

#include <cstddef>
#include <string>

/// Reads up to count bytes; a null stream reads nothing (0).
long QsStmRead(QsStm stream, char* buffer, long count);
/// Writes count bytes; a null stream writes nothing (0).
long QsStmWrite(QsStm stream, const char* buffer, long count);
/// Closes and frees a stream; null is fine.
void QsStmClose(QsStm stream);

/// A read stream over a copy of the bytes.
QsStm QsMemStmRdOpen(const char* data, size_t length);
/// A read stream that takes the bytes over.
QsStm QsMemStmRdOpen(std::string&& data);
/// A write stream collecting bytes in memory; QsMemStmGetData reads what was written.
QsStm QsMemStmWrOpen();
/// The bytes written so far to a stream from QsMemStmWrOpen; null for any other stream.
const std::string* QsMemStmGetData(QsStm stream);

/// Procedures behind a procedural stream. The read procedure answers the number of bytes put in
/// the buffer (0 at the end); the write procedure the number taken. Close runs once, when the
/// stream is closed.
using QsStmReadProc = long (*)(char* buffer, long count, void* data);
using QsStmWriteProc = long (*)(const char* buffer, long count, void* data);
using QsStmCloseProc = void (*)(void* data);

/// A read stream that calls readProc for its bytes.
QsStm QsProcStmRdOpen(QsStmReadProc readProc, QsStmCloseProc closeProc, void* data);
/// A write stream that hands its bytes to writeProc.
QsStm QsProcStmWrOpen(QsStmWriteProc writeProc, QsStmCloseProc closeProc, void* data);

/// Reads a stream to its end into a string, in blocks of blockSize bytes.
std::string QsStmReadAll(QsStm stream, long blockSize = 4096);
