#include "MessageLine.h"

namespace {

constexpr int marginWidth = 8;

QColor background(MessageLine::Kind kind)
{
    switch (kind) {
    case MessageLine::Kind::Success:
        return {0xD9, 0xEF, 0xDC};
    case MessageLine::Kind::Notice:
        return {0xFB, 0xEF, 0xC9};
    case MessageLine::Kind::Error:
        return {0xF8, 0xD7, 0xD5};
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
    setAutoFillBackground(true);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Minimum); // no long name makes the window wider
    hide();
}

void MessageLine::say(Kind kind, const QString& sentence)
{
    QPalette colors = palette();
    colors.setColor(QPalette::Window, background(kind));
    colors.setColor(QPalette::WindowText, Qt::black);
    setPalette(colors);
    setText(sentence);
    setVisible(!sentence.isEmpty());
}

#include "moc_MessageLine.cpp" // NOLINT(bugprone-suspicious-include)
