#include "SmoothingRun.h"

#include <utility>

#include <QCoreApplication>
#include <QFutureWatcher>
#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/DispatchFuture.h>

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
      m_pipeline(m_options, m_stages,
                 [this](Stage stage, const std::wstring& message, const std::wstring& warning) {
                     tell(stage, message, warning);
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
    QFuture<RunEnd> work = dispatch([this] { return m_pipeline.run(); }, eQOS_Normal);
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    work.then(this, [this](const RunEnd& how) { end(how); }).onCanceled(this, [this] {
        end({Outcome::Interrupted, {}}); // the application ends, and nobody has begun the work
    });
#else // whose futures have no continuations
    auto* const watcher = new QFutureWatcher<RunEnd>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        end(watcher->isCanceled() ? RunEnd{Outcome::Interrupted, {}} : watcher->result());
    });
    watcher->setFuture(work);
#endif
}

// In a worker thread, which makes the copy, so that the GUI thread has the time to answer.
void SmoothingRun::tell(Stage stage, const std::wstring& message, const std::wstring& warning)
{
    const std::shared_ptr<const MeshShape> shape =
        stage == Stage::Save ? nullptr : std::make_shared<const MeshShape>(shapeOf(m_pipeline.mesh()));
    dispatchSync(
        [&] {
            Q_EMIT stageDone(stage, message, warning);
            if (shape)
                Q_EMIT meshChanged(shape);
        },
        eQOS_GUI);
}

void SmoothingRun::end(const RunEnd& how)
{
    m_isRunning = false;
    Q_EMIT ended(how.outcome, QString::fromStdString(how.error));
}

#include "moc_SmoothingRun.cpp" // NOLINT(bugprone-suspicious-include)
