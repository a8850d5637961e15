#pragma once
/// \file
/// One sentence for the user above what the window shows; takes no place while there is none. Its background is the
/// window's with a tint, so that the text is legible in light and in dark colours.

#include <QLabel>

class MessageLine : public QLabel
{
    Q_OBJECT

public:
    enum class Kind
    {
        Success,
        Notice,
        Error,
    };

    explicit MessageLine(QWidget* parent = nullptr);

    void say(Kind kind, const QString& sentence);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Kind m_kind = Kind::Notice;
};
