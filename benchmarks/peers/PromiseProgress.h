#pragma once
/// \file
/// The progress of a `QPromise`, watched in the GUI thread. With Qt 6 only.

#include <memory>

#include <QFutureWatcher>
#include <QPromise>

#include "GuiThread.h"
#include "peers/ProgressReceiver.h"

class PromiseProgress
{
public:
    static constexpr const char* name = "QPromise";

    explicit PromiseProgress(ProgressReceiver& receiver)
    {
        m_promise.start();
        m_promise.setProgressRange(0, receiver.total());
        inGuiThread([&] {
            m_watcher = std::make_unique<QFutureWatcher<void>>();
            QObject::connect(m_watcher.get(), &QFutureWatcherBase::progressValueChanged, m_watcher.get(),
                             [&receiver](int value) { receiver.hear(value); });
            m_watcher->setFuture(m_promise.future());
        });
    }
    ~PromiseProgress()
    {
        m_promise.finish();
        inGuiThread([this] { m_watcher.reset(); });
    }
    PromiseProgress(const PromiseProgress&) = delete;
    PromiseProgress& operator=(const PromiseProgress&) = delete;

    void update(int value) { m_promise.setProgressValue(value); }

private:
    QPromise<void> m_promise;
    std::unique_ptr<QFutureWatcher<void>> m_watcher;
};
