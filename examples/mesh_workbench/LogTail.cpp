#include "LogTail.h"

#include <QFile>
#include <QFileInfo>

namespace {

constexpr int interval = 100; // milliseconds
constexpr qint64 pieceSize = 32'768;

QByteArray read(const QString& path, qint64 position)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.seek(position) ? file.read(pieceSize) : QByteArray();
}

bool isInsideCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// How much of a piece can be shown: its whole lines; of a line without an end in sight, its whole characters.
int completePart(const QByteArray& piece)
{
    const auto lines = static_cast<int>(piece.lastIndexOf('\n')) + 1;
    if (lines > 0 || piece.size() < pieceSize)
        return lines;
    auto end = static_cast<int>(piece.size()) - 1;
    while (end > 1 && isInsideCharacter(piece[end]))
        --end;
    return end;
}

} // namespace

LogTail::LogTail(const QString& path, QObject* parent)
    : QObject(parent), m_path(path), m_position(QFileInfo(path).size())
{
    connect(&m_timer, &QTimer::timeout, this, &LogTail::tick);
    m_timer.start(interval);
}

void LogTail::catchUp()
{
    while (readPiece())
        continue;
}

// Comes back at once, after other events, while there is more.
void LogTail::tick()
{
    m_timer.start(readPiece() ? 0 : interval);
}

// Returns whether there was something to read.
bool LogTail::readPiece()
{
    const bool isRolledOver = QFileInfo(m_path).size() < m_position;
    const QByteArray piece = read(isRolledOver ? m_path + QStringLiteral(".1") : m_path, m_position);
    const int size = completePart(piece);
    if (size == 0 && isRolledOver)
        m_position = 0;
    if (size == 0)
        return isRolledOver;
    m_position += size;
    const int lineEnd = piece[size - 1] == '\n' ? 1 : 0;
    Q_EMIT linesArrived(QString::fromUtf8(piece.constData(), size - lineEnd));
    return true;
}

#include "moc_LogTail.cpp" // NOLINT(bugprone-suspicious-include)
