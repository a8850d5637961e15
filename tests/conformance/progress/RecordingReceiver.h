#pragma once
/// \file
/// A receiver of progress that writes down every message with the thread that it came in.

#include <mutex>
#include <string>
#include <vector>

#include <QObject>
#include <QThread>

#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>

namespace Brennic::Testing {

struct ProgressMessage
{
    Core::Progress* sender;
    bool isCompletion;
    float fraction; ///< 1 for a completion
    std::wstring description;
    QThread* thread;
};

class RecordingReceiver : public Core::ProgressReportingProtocol
{
public:
    virtual ~RecordingReceiver() = default;

    void progressUpdated(Core::Progress* progress, float fraction, const std::wstring& description) override
    {
        record({progress, false, fraction, description, QThread::currentThread()});
    }
    void progressCompleted(Core::Progress* progress, const std::wstring& description) override
    {
        record({progress, true, 1.0F, description, QThread::currentThread()});
    }

    std::vector<ProgressMessage> messages() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_messages;
    }

private:
    void record(const ProgressMessage& message)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.push_back(message);
    }

    mutable std::mutex m_mutex;
    std::vector<ProgressMessage> m_messages;
};

class RecordingObject : public QObject, public RecordingReceiver
{
public:
    using QObject::QObject;
};

} // namespace Brennic::Testing
