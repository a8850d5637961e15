#pragma once
/// \file
/// The entry of one window in the task bar of the platform. Not installed.
///
/// Thread: GUI thread.

#include <memory>

#include <QString>

class QWidget;

namespace Brennic::Widgets {

/// What is to be seen on an entry.
struct TaskbarLook
{
    bool isVisible = false; ///< whether there is a bar
    bool isBusy = false;    ///< how much is done is not known
    bool hasFailed = false;
    int thousandths = 0; ///< how far the bar reaches
};

inline bool operator==(const TaskbarLook& left, const TaskbarLook& right)
{
    return left.isVisible == right.isVisible && left.isBusy == right.isBusy &&
           left.hasFailed == right.hasFailed && left.thousandths == right.thousandths;
}

class TaskbarEntry
{
public:
    /// \param desktopName as for `TaskbarProgress`.
    TaskbarEntry(QWidget& window, QString desktopName);
    ~TaskbarEntry();

    TaskbarEntry(const TaskbarEntry&) = delete;
    TaskbarEntry& operator=(const TaskbarEntry&) = delete;

    /// Tells the task bar, and does not wait for it. The window may be about to go.
    void show(const TaskbarLook& look);

private:
    class TaskbarEntryImpl;

    std::unique_ptr<TaskbarEntryImpl> m_impl;
};

} // namespace Brennic::Widgets
