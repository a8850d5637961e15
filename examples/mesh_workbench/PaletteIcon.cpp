#include "PaletteIcon.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

namespace {

constexpr double side = 16; // of the square in which the shapes are described

QPainterPath folderPath()
{
    QPainterPath path;
    path.addPolygon(QPolygonF({{1.5, 13.5}, {1.5, 2.5}, {6.5, 2.5}, {8, 4.5}, {14.5, 4.5}, {14.5, 13.5}}));
    path.closeSubpath();
    path.moveTo(1.5, 7);
    path.lineTo(14.5, 7);
    return path;
}

QPainterPath trianglePath()
{
    QPainterPath path;
    path.addPolygon(QPolygonF({{4, 2}, {14, 8}, {4, 14}}));
    path.closeSubpath();
    return path;
}

QPainterPath chevronsPath()
{
    QPainterPath path;
    path.addPolygon(QPolygonF({{3, 3}, {8, 8}, {3, 13}}));
    path.addPolygon(QPolygonF({{8, 3}, {13, 8}, {8, 13}}));
    return path;
}

void paintShape(QPainter& painter, IconShape shape, const QColor& color)
{
    const QPen pen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    switch (shape) {
    case IconShape::Folder:
        painter.strokePath(folderPath(), pen);
        break;
    case IconShape::Triangle:
        painter.fillPath(trianglePath(), color);
        break;
    case IconShape::Square:
        painter.fillRect(QRectF(3, 3, 10, 10), color);
        break;
    case IconShape::Chevrons:
        painter.strokePath(chevronsPath(), pen);
        break;
    }
}

class PaletteIconEngine final : public QIconEngine
{
public:
    explicit PaletteIconEngine(IconShape shape) : m_shape(shape) {}

    QIconEngine* clone() const override { return new PaletteIconEngine(m_shape); }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return picture;
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const auto role = mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / side, rect.height() / side);
        paintShape(*painter, m_shape, QGuiApplication::palette().color(group, role));
        painter->restore();
    }

private:
    const IconShape m_shape;
};

} // namespace

QIcon paletteIcon(IconShape shape)
{
    return QIcon(new PaletteIconEngine(shape));
}
