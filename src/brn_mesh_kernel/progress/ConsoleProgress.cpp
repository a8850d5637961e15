#include <brn_mesh_kernel/progress/ConsoleProgress.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include <QTimer>
#include <boost/nowide/convert.hpp>

#include <brn_console/Terminal.h>
#include <brn_mesh_kernel/library/LiveLine.h>
#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/progress/ProgressLine.h>
#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>

namespace Brennic::Core {

namespace {

constexpr int redrawIntervalInMilliseconds = 100;

// Keeps what was reported last. Everything happens in the GUI thread.
class LastReport final : public ProgressReportingProtocol
{
public:
    void progressUpdated(Progress* /*progress*/, float fraction, const std::wstring& description) override
    {
        state.fraction = static_cast<double>(fraction);
        state.stage = boost::nowide::narrow(description);
    }
    void progressCompleted(Progress* progress, const std::wstring& description) override
    {
        progressUpdated(progress, 1.0F, description);
    }

    RunState state;
};

} // namespace

ConsoleProgress::Pause::Pause()
{
    LiveLine::instance().hide();
}

ConsoleProgress::Pause::~Pause()
{
    LiveLine::instance().release();
}

class ConsoleProgress::Impl
{
public:
    explicit Impl(std::shared_ptr<Progress> root) : m_isLive(isOutputATerminal()), m_root(std::move(root))
    {
        if (m_root) {
            m_report->progressUpdated(m_root.get(), m_root->getFractionCompleted(), m_root->getDescription());
            m_root->setDelegate(m_report, true);
        }
        if (!m_isLive)
            return;
        m_mode.emplace();
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { draw(); });
        m_timer.start(redrawIntervalInMilliseconds);
    }

    bool isLive() const { return m_isLive; }

    void finish()
    {
        if (m_root && m_root->getDelegate() == m_report.get())
            m_root->setDelegate(std::shared_ptr<ProgressReportingProtocol>(), true);
        m_root.reset();
        if (!m_timer.isActive())
            return;
        m_timer.stop();
        LiveLine::instance().clear();
        m_mode.reset();
    }

private:
    using Clock = std::chrono::steady_clock;

    // A timer draws, not the report: reports may come by the thousand, from any thread.
    void draw()
    {
        m_report->state.elapsed = Clock::now() - m_start;
        // One column less than the width: terminals wrap when the last one is filled.
        LiveLine::instance().draw(progressLine(m_report->state, terminalWidth() - 1));
    }

    const bool m_isLive;
    const Clock::time_point m_start = Clock::now();
    const std::shared_ptr<LastReport> m_report = std::make_shared<LastReport>();
    std::shared_ptr<Progress> m_root;
    std::optional<TerminalMode> m_mode;
    QTimer m_timer;
};

ConsoleProgress::ConsoleProgress(std::shared_ptr<Progress> root)
    : m_impl(std::make_unique<Impl>(std::move(root)))
{
}

ConsoleProgress::~ConsoleProgress()
{
    finish();
}

bool ConsoleProgress::isLive() const
{
    return m_impl->isLive();
}

void ConsoleProgress::finish()
{
    m_impl->finish();
}

} // namespace Brennic::Core
