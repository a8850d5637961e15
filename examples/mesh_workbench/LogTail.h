#pragma once
/// \file
/// Reads a log file as it grows, from the end that it has now.
///
/// It looks a few times a second and reads a bounded piece at a time, so that a log that grows fast does not keep
/// the GUI thread. It opens the file for each piece, because on Windows an open file could not be rolled over;
/// when that has happened it reads the rest of the backup first.
///
/// Everything here belongs to the GUI thread.

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

class LogTail : public QObject
{
    Q_OBJECT

public:
    explicit LogTail(const QString& path, QObject* parent = nullptr);

    /// Reads all that is there, at once.
    void catchUp();

Q_SIGNALS:
    /// One or more whole lines have been read; without the end of the last one.
    void linesArrived(const QString& lines);

private:
    bool readPiece();
    void tick();

    const QString m_path;
    qint64 m_position; // behind the last line that was read
    QTimer m_timer;
};
