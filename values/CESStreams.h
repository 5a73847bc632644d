// Script objects over streams, and over the stream form of low-level objects.
#pragma once

#include "frame/host/IScriptEngine.h"
#include "frame/host/QsStmRec.h"
#include "frame/host/ViewerHandles.h"

#include <memory>

/// The stream an object reads from: its own (shouldClose false) or a new one that calls its
/// "read" method (shouldClose true).
QsStm ESObjectToRdQsStm(ESObject object, bool* shouldClose);
/// The same for writing, through the "write" method.
QsStm ESObjectToWrQsStm(ESObject object, bool* shouldClose);
/// True when the object holds no stream of its own.
bool ESObjectStreamShouldClose(ESObject object);
/// A new object with "read" and "write" over the stream; with closeWithObject set the stream
/// closes when the last object holding it goes.
ESObject QsStmToESObject(ESContext context, QsStm stream, bool closeWithObject);
/// The same for a stream that copies of a CAgg value own too. They share closedElsewhere: once
/// one of them has closed the stream the object neither reads, writes nor closes it (read and
/// write fail with the engine's dead-object error), and when the object closes the stream it
/// sets the flag for them.
ESObject QsStmToESObject(ESContext context, QsStm stream, bool closeWithObject,
                         std::shared_ptr<bool> closedElsewhere);
/// Tells the objects holding the object's stream that somebody else closed it.
void ESObjectQsStmGotClosed(ESObject object);
/// A read stream object over the stream form of a low-level object, in a temporary file.
ESObject LobObjToStreamESObject(ESContext context, LobObj object);
/// A write stream object over a temporary file, whose method "getLobObj" reads back what was
/// written as the stream form of an object.
ESObject WrStreamToLobObjESObjectCreate(ESContext context);
/// Reads any stream object to its end as the stream form of an object and copies that object
/// into the document; the null object when the form holds none.
LobObj StreamESObjectToLobObj(ESObject object, LobDoc doc);
