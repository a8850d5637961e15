// A log file of JSON, one object in a line, for programs that collect logs.
#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <log4cplus/appender.h>
#include <log4cplus/helpers/timehelper.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>
#include <log4cplus/spi/loggingevent.h>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>

namespace {

// log4cplus has narrow or wide text, as it was built; narrow text is UTF-8 here.
template <typename Text>
QString toQt(const Text& text)
{
    if constexpr (std::is_same_v<Text, std::string>)
        return QString::fromStdString(text);
    else
        return QString::fromStdWString(text);
}

template <typename Char>
void write(std::basic_ostream<Char>& output, const QString& line)
{
    if constexpr (std::is_same_v<Char, char>)
        output << line.toStdString() << '\n';
    else
        output << line.toStdWString() << L'\n';
}

class JsonLayout : public log4cplus::Layout
{
public:
    void formatAndAppend(log4cplus::tostream& output,
                         const log4cplus::spi::InternalLoggingEvent& event) override
    {
        const auto time = event.getTimestamp().time_since_epoch();
        const qint64 milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
        QJsonObject record{
            {"time", QDateTime::fromMSecsSinceEpoch(milliseconds).toUTC().toString(Qt::ISODateWithMs)},
            {"level", toQt(log4cplus::getLogLevelManager().toString(event.getLogLevel()))},
            {"thread", toQt(event.getThread2())},
            {"message", toQt(event.getMessage())},
        };
        if (!event.getFile().empty()) { // records of BRN_LOG know where they come from
            record["file"] = toQt(event.getFile());
            record["line"] = event.getLine();
        }
        write(output, QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact)));
    }
};

} // namespace

int main()
{
    using namespace Brennic::Core;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(L"host.jsonl");
    kernel.Initialize();
    // The file's appender is the last one, and keeps its ways: UTF-8, each record flushed, rolled over. Change its layout
    // before other threads log.
    log4cplus::Logger::getRoot().getAllAppenders().back()->setLayout(std::make_unique<JsonLayout>());

    BRN_LOG(Info, "Loaded \"{}\"\nin {} ms", L"Gr\u00fc\u00dfe.obj", 12);
    kernel.Logger()->Log(Warn, L"by printf");
    kernel.Terminate();
}
