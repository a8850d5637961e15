#pragma once
/// \file
/// One sentence for the user above what the window shows; takes no place while there is none.

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
};
