#pragma once
/// \file
/// The progress of a `KJob` of KDE's KCoreAddons, received in the GUI thread: every amount, or whole
/// percents, as a progress bar shows them. The job lives in the thread that reports. With Qt 5 only.

#include <KJob>

#include <QCoreApplication>
#include <QMetaType>

#include "peers/ProgressReceiver.h"

enum class Hears
{
    EveryAmount,
    WholePercents,
};

template <Hears hears>
class JobProgress
{
public:
    static constexpr const char* name = hears == Hears::EveryAmount ? "KJob, amounts" : "KJob, percents";

    explicit JobProgress(ProgressReceiver& receiver) : m_job(receiver.total())
    {
        if (hears == Hears::EveryAmount)
            connectAmounts(receiver);
        else
            connectPercents(receiver);
    }

    void update(int value) { m_job.setProcessedAmount(KJob::Bytes, static_cast<qulonglong>(value)); }

private:
    class Job : public KJob
    {
    public:
        explicit Job(int total) { setTotalAmount(Bytes, static_cast<qulonglong>(total)); }

        void start() override {}
        using KJob::setProcessedAmount;
    };

    void connectAmounts(ProgressReceiver& receiver)
    {
        qRegisterMetaType<KJob::Unit>("KJob::Unit");
        QObject::connect(
            &m_job, &KJob::processedAmountChanged, QCoreApplication::instance(),
            [&receiver](KJob*, KJob::Unit, qulonglong amount) { receiver.hear(static_cast<int>(amount)); },
            Qt::QueuedConnection);
    }
    void connectPercents(ProgressReceiver& receiver)
    {
        constexpr unsigned long whole = 100;
        QObject::connect(
            &m_job, &KJob::percentChanged, QCoreApplication::instance(),
            [&receiver](KJob*, unsigned long percent) {
                receiver.hear(percent == whole ? receiver.total() : 0);
            },
            Qt::QueuedConnection);
    }

    Job m_job;
};
