// An appender of one's own: keeps the last records in memory, as for a window that asks "what happened?".
#include <cstddef>
#include <deque>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <log4cplus/appender.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>

namespace {

class RecentRecords : public log4cplus::Appender
{
public:
    explicit RecentRecords(std::size_t most) : m_most(most) {}
    ~RecentRecords() override { destructorImpl(); } // log4cplus asks this of every appender
    void close() override {}

    // The records, oldest first. From any thread.
    std::deque<log4cplus::tstring> records() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }

protected:
    // In the thread that logs; log4cplus lets in one at a time.
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        log4cplus::tstring record = formatEvent(event);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(std::move(record));
        if (m_records.size() > m_most)
            m_records.pop_front();
    }

private:
    const std::size_t m_most;
    mutable std::mutex m_mutex;
    std::deque<log4cplus::tstring> m_records; // guarded by m_mutex
};

} // namespace

int main()
{
    using namespace Brennic::Core;
    Kernel& kernel = Kernel::Instance();
    kernel.Initialize();
    auto* const recent = new RecentRecords(3);
    const log4cplus::SharedAppenderPtr appender(recent); // owns it, together with the root logger
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>(LOG4CPLUS_TEXT("%p %m")));
    appender->setThreshold(log4cplus::INFO_LOG_LEVEL); // what is less important stays out of this appender
    log4cplus::Logger::getRoot().addAppender(appender);

    kernel.SetLogLevel(Debug);
    for (int pass = 1; pass <= 5; ++pass) {
        BRN_LOG(Info, "Pass {}", pass);
        BRN_LOG(Debug, "not kept");
    }
    kernel.Terminate();
    std::cout << "Kept:\n";
    for (const log4cplus::tstring& record : recent->records())
        std::cout << LOG4CPLUS_TSTRING_TO_STRING(record) << '\n';
}
