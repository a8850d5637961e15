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
#include <brn_mesh_kernel/progress/ProgressState.h>

namespace Brennic::Core {

namespace {

constexpr int redrawIntervalInMilliseconds = 100;

// Takes the place of the delegate. What is shown is read from the state when it is drawn.
class NoReceiver final : public ProgressReportingProtocol
{
};

std::string endOf(const ProgressState& state)
{
    const EProgressStatus status = state.getStatus();
    if (status == EProgressStatus::Cancelled)
        return "cancelled";
    if (status != EProgressStatus::Failed)
        return {};
    const std::string failure = boost::nowide::narrow(state.getFailure());
    return failure.empty() ? "failed" : "failed: " + failure;
}

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
            m_state = m_root->getState();
            m_root->setDelegate(m_delegate, false);
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
        if (m_root && m_root->getDelegate() == m_delegate.get())
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
        RunState shown;
        if (m_state) {
            shown.stage = boost::nowide::narrow(m_state->getDescription());
            shown.fraction = m_state->getFraction();
            shown.end = endOf(*m_state);
            shown.left = m_state->getEstimate().remaining;
        }
        shown.elapsed = Clock::now() - m_start;
        // One column less than the width: terminals wrap when the last one is filled.
        LiveLine::instance().draw(progressLine(shown, terminalWidth() - 1));
    }

    const bool m_isLive;
    const Clock::time_point m_start = Clock::now();
    const std::shared_ptr<NoReceiver> m_delegate = std::make_shared<NoReceiver>();
    std::shared_ptr<Progress> m_root;
    std::shared_ptr<ProgressState> m_state; // null without a root
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
