#pragma once
/// \file
/// A `Progress` without children and its delegate in the GUI thread: each update is reported, or one in 50 ms.

#include <chrono>
#include <cmath>
#include <memory>
#include <string>

#include <brn_mesh_kernel/progress/Progress.h>

#include "peers/ProgressReceiver.h"

class KernelProgress
{
public:
    static constexpr const char* name = "brn_mesh_kernel";

    explicit KernelProgress(ProgressReceiver& receiver)
        : m_delegate(std::make_shared<Delegate>(receiver)),
          m_progress(std::make_shared<Brennic::Core::Progress>(receiver.total(), L"Smoothing"))
    {
        m_progress->setDelegate(m_delegate, true);
    }

    Brennic::Core::Progress& progress() { return *m_progress; }
    void update(int value) { m_progress->setCompletedUnitCount(value); }

private:
    class Delegate final : public Brennic::Core::ProgressReportingProtocol
    {
    public:
        explicit Delegate(ProgressReceiver& receiver) : m_receiver(receiver) {}

        void progressUpdated(Brennic::Core::Progress*, float fraction, const std::wstring&) override
        {
            m_receiver.hear(static_cast<int>(std::lround(fraction * static_cast<float>(m_receiver.total()))));
        }
        void progressCompleted(Brennic::Core::Progress*, const std::wstring&) override
        {
            m_receiver.hear(m_receiver.total());
        }

    private:
        ProgressReceiver& m_receiver;
    };

    std::shared_ptr<Delegate> m_delegate;
    std::shared_ptr<Brennic::Core::Progress> m_progress;
};

class KernelProgressAtIntervals : public KernelProgress
{
public:
    static constexpr const char* name = "brn_mesh_kernel, intervals";

    explicit KernelProgressAtIntervals(ProgressReceiver& receiver) : KernelProgress(receiver)
    {
        progress().setReportInterval(std::chrono::milliseconds(50));
    }
};
