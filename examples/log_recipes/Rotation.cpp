// A log file that is rolled over earlier, with more backups, and in a folder that is made on demand.
#include <memory>

#include <log4cplus/fileappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>

int main()
{
    using namespace Brennic::Core;
    Kernel& kernel = Kernel::Instance();
    kernel.Initialize(); // without a path: the kernel attaches the console alone

    constexpr long size = 200L * 1024; // the least that log4cplus takes
    constexpr int backups = 3;
    const log4cplus::SharedAppenderPtr appender(
        new log4cplus::RollingFileAppender(LOG4CPLUS_TEXT("logs/host.log"), size, backups,
                                           true /* flush each record */, true /* make the folder */));
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>(LOG4CPLUS_TEXT("%-5p %m%n")));
    log4cplus::Logger::getRoot().addAppender(appender);
    // By the day or the hour in place of the size: log4cplus::TimeBasedRollingFileAppender.

    for (int record = 1; record <= 20'000; ++record)
        BRN_LOG(Info, "Record {:5} of a long run of the smoother", record);
    kernel.Terminate();
}
