#include "MessageLine.h"

#include <QPainter>

namespace {

constexpr int marginWidth = 8;
constexpr int tintStrength = 56; // of 255

QColor tint(MessageLine::Kind kind)
{
    switch (kind) {
    case MessageLine::Kind::Success:
        return {0x2E, 0xA0, 0x43, tintStrength};
    case MessageLine::Kind::Notice:
        return {0xE0, 0xA8, 0x00, tintStrength};
    case MessageLine::Kind::Error:
        return {0xD0, 0x3A, 0x2E, tintStrength};
    }
    return {};
}

} // namespace

MessageLine::MessageLine(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText); // names of files are no markup
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setWordWrap(true);
    setMargin(marginWidth);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Minimum); // no long name makes the window wider
    hide();
}

void MessageLine::say(Kind kind, const QString& sentence)
{
    m_kind = kind;
    setText(sentence);
    setVisible(!sentence.isEmpty());
    update();
}

void MessageLine::paintEvent(QPaintEvent* event)
{
    QPainter(this).fillRect(rect(), tint(m_kind));
    QLabel::paintEvent(event);
}

#include "moc_MessageLine.cpp" // NOLINT(bugprone-suspicious-include)
