#pragma once
/// \file
/// Saves a picture of the window when its run is over and all of it is shown.

#include <filesystem>

#include <QObject>
#include <QTimer>

class MainWindow;

class Screenshot : public QObject
{
    Q_OBJECT

public:
    /// Waits for the end of the window's next run.
    Screenshot(MainWindow& window, std::filesystem::path file);

Q_SIGNALS:
    /// The picture is saved; or it is not, and \p error is one sentence: the run has failed, for example.
    void finished(const QString& error);

private:
    void takeWhenShown();
    void take();

    MainWindow& m_window;
    const std::filesystem::path m_file;
    bool m_isRunDone = false;
    QTimer m_layoutDone;
};
