#include "SmoothingRun.h"

#include <exception>
#include <utility>

#include <QCoreApplication>
#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/tasks/Dispatch.h>

#include "RunFiles.h"
#include "RunSource.h"

using namespace Brennic::Core;

namespace {

std::wstring nameOf(const RunOptions& options)
{
    return boost::nowide::widen(options.input.filename().u8string());
}

} // namespace

SmoothingRun::SmoothingRun(RunOptions options, RunSource& source)
    : m_options(std::move(options)),
      m_source(source),
      m_stages(m_options, sizeOrZero(m_options.input), nameOf(m_options)),
      m_loop(makeTaskLoop(TaskQueue::createQueue(eQOS_Normal, m_options.threads))),
      m_pipeline(m_options, m_stages, m_loop,
                 [this](Stage stage, const std::wstring& message, const std::wstring& warning) {
                     dispatchSync([&] { Q_EMIT stageDone(stage, message, warning); }, eQOS_GUI);
                 })
{
    m_source.beginRun(m_pipeline);
}

SmoothingRun::~SmoothingRun()
{
    disconnect();
    cancel();
    while (m_isRunning) // its last words come through the GUI thread, as do those after each stage
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    m_source.endRun();
}

void SmoothingRun::start()
{
    m_isRunning = true;
    dispatchAsync([this] { work(); }, eQOS_Normal);
}

// In a worker thread. Nothing of the run is touched after its end was handed over.
void SmoothingRun::work()
{
    Outcome outcome = Outcome::Failed;
    QString error;
    try {
        m_pipeline.run();
        outcome = Outcome::Done;
    } catch (const Cancelled&) {
        outcome = Outcome::Interrupted;
    } catch (const std::exception& exception) {
        error = QString::fromStdString(reasonOf(exception));
    }
    dispatchAsync([this, outcome, error] { end(outcome, error); }, eQOS_GUI);
}

void SmoothingRun::end(Outcome outcome, const QString& error)
{
    m_isRunning = false;
    Q_EMIT ended(outcome, error);
}

#include "moc_SmoothingRun.cpp" // NOLINT(bugprone-suspicious-include)
