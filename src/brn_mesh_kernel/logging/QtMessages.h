#pragma once
/// \file
/// Brings Qt's own messages, and what a host writes by `qWarning()` and its like, into the log.
///
///     Brennic::Core::Kernel::Instance().Initialize();
///     Brennic::Core::QtMessages::forward();
///     qWarning("%d vertices are not used", count); // a record at level Warn, and so is what Qt itself reports
///
/// | message | record |
/// |---|---|
/// | `qDebug`, `qInfo`, `qWarning`, `qCritical`, `qFatal` | `Debug`, `Info`, `Warn`, `Error`, `Fatal` |
/// | category | stands before the text: "qt.network: ..."; "default" is left out |
/// | file, line, function, where Qt knows them | the record's, for layouts that print them |
///
/// The text keeps its case. Rules of `QLoggingCategory` decide first what is a message, then the log level what is a
/// record.
///
/// Messages go where they went before while nothing is logged at all: before `Kernel::Initialize()`, after
/// `Kernel::Terminate()`, at level `Off`, and once log4cplus has ended with the process. So does a message of a thread
/// that is writing a record of a logger at that moment, as an appender's: it would come back for ever. If that record
/// is a message of Qt itself, no handler gets the inner one: Qt calls none inside another, and prints the text to
/// stderr. After the record of a fatal message Qt ends the process, as always; the record is in the file by then.

#include <brn_mesh_kernel/library/Export.h>

/// Qt's messages in the log.
namespace Brennic::Core::QtMessages {

/// Installs a message handler of Qt that writes records, and makes the kernel if there is none yet. Does nothing while
/// that handler is installed.
///
/// A handler that is installed later by `qInstallMessageHandler` takes its place, and may hand messages on to it.
/// Thread: any; messages may come from all threads meanwhile, and none is lost.
BRN_MESH_KERNEL_EXPORT void forward();

/// Brings back the handler that \ref forward has replaced. If another one was installed since, it stays; what that one
/// hands on goes past the log from now on.
///
/// A host calls it before it unloads the library, and need not before it ends.
/// Thread: any.
BRN_MESH_KERNEL_EXPORT void restore();

} // namespace Brennic::Core::QtMessages
