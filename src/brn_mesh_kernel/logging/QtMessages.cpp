#include <brn_mesh_kernel/logging/QtMessages.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include <QByteArray>
#include <QMessageLogContext>
#include <QString>
#include <QtGlobal>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>
#include <brn_mesh_kernel/logging/LogGate.h>

namespace Brennic::Core::QtMessages {

namespace {

std::mutex& installing()
{
    static std::mutex& mutex = *new std::mutex; // never destroyed: hosts may restore late
    return mutex;
}

std::atomic<QtMessageHandler> g_previous{nullptr};
std::atomic<bool> g_isForwarding{false};

// Whether a message of this thread is on its way. A handler of the host that was installed over ours, and is the previous
// one of a second forward(), would hand the message back for ever.
thread_local bool t_isHandling = false;

// Ends also where a handler of the host's throws.
struct Handling
{
    Handling() { t_isHandling = true; }
    ~Handling() { t_isHandling = false; }
    Handling(const Handling&) = delete;
    Handling& operator=(const Handling&) = delete;
};

EKvsLogLevel levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return Debug;
    case QtInfoMsg:
        return Info;
    case QtWarningMsg:
        return Warn;
    case QtCriticalMsg:
        return Error;
    case QtFatalMsg:
        break;
    }
    return Fatal;
}

// A layout ends the text of a record at the character 0, so it is shown by its symbol.
std::wstring textOf(const QMessageLogContext& context, const QString& message)
{
    std::wstring text;
    if (context.category != nullptr && std::strcmp(context.category, "default") != 0)
        text = QString::fromUtf8(context.category).toStdWString() + L": ";
    text += message.toStdWString();
    std::replace(text.begin(), text.end(), L'\0', L'\u2400');
    return text;
}

// False if nothing is logged at all. A message below the log level counts as written.
bool writeRecord(QtMsgType type, const QMessageLogContext& context, const QString& message)
try {
    // Asked once: the kernel may end meanwhile, after which its logger still writes.
    ILogger* const logger = LogGate::isCallerInside() ? nullptr : Kernel::LoggerIfEnabled(Fatal);
    if (logger == nullptr)
        return false;
    const EKvsLogLevel level = levelOf(type);
    if (logger->IsEnabled(level))
        logger->LogWithLocation(level, context.file, context.line, context.function, L"%s",
                                textOf(context, message).c_str());
    return true;
} catch (...) { // no memory; Qt expects nothing of the kind
    return false;
}

void handOn(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const QtMessageHandler previous = g_previous;
    if (previous != nullptr) {
        previous(type, context, message);
        return;
    }
    // Comes before forward() has learnt who was there.
    std::fprintf(stderr, "%s\n", qFormatLogMessage(type, context, message).toUtf8().constData());
}

void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (t_isHandling) {
        std::fprintf(stderr, "%s\n", qFormatLogMessage(type, context, message).toUtf8().constData());
        return;
    }
    const Handling handling;
    if (!g_isForwarding || !writeRecord(type, context, message))
        handOn(type, context, message);
}

} // namespace

void forward()
{
    Kernel::Instance();
    const std::lock_guard<std::mutex> lock(installing());
    g_isForwarding = true;
    const QtMessageHandler previous = qInstallMessageHandler(&handle);
    if (previous != &handle)
        g_previous = previous;
}

void restore()
{
    const std::lock_guard<std::mutex> lock(installing());
    if (!g_isForwarding.exchange(false))
        return;
    const QtMessageHandler current = qInstallMessageHandler(g_previous);
    if (current != &handle)
        qInstallMessageHandler(current);
}

} // namespace Brennic::Core::QtMessages
