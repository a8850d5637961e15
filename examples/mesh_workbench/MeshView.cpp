#include "MeshView.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <brn_mesh_kernel/logging/Log.h>
#include <brn_mesh_kernel/tasks/DispatchFuture.h>

#include "Pipeline.h"

using namespace Brennic::Core;

namespace {

constexpr int restMilliseconds = 120;
constexpr int coarsePixel = 2; // of the widget, to a side
constexpr int finePixels = 2;  // in one of the widget, to a side
constexpr float leastZoom = 0.2F;
constexpr float mostZoom = 20;

// From the front, and a little from above.
Camera firstCamera()
{
    return {QQuaternion::fromAxisAndAngle(1, 0, 0, 15), 1};
}

} // namespace

MeshView::MeshView(QWidget* parent) : QFrame(parent), m_camera(firstCamera())
{
    setObjectName(QStringLiteral("meshView"));
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    setToolTip(tr("Drag to turn, scroll to enlarge, double-click to begin anew"));
    connect(&m_drawn, &QFutureWatcherBase::finished, this, &MeshView::take);
    m_rest.setSingleShot(true);
    connect(&m_rest, &QTimer::timeout, this, [this] {
        if (!m_drawing)
            begin(Quality::Fine);
    });
}

MeshView::~MeshView()
{
    if (m_drawing)
        m_drawing->cancel();
}

void MeshView::setShape(std::shared_ptr<const MeshShape> shape)
{
    m_shape = std::move(shape);
    changeView();
}

void MeshView::setCamera(const Camera& camera)
{
    m_camera = camera;
    changeView();
}

void MeshView::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (m_picture.isNull())
        painter.drawText(contentsRect(), Qt::AlignCenter | Qt::TextWordWrap,
                         tr("No mesh has been loaded yet"));
    else
        painter.drawImage(contentsRect(), m_picture);
}

void MeshView::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    changeView();
}

void MeshView::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        changeView();
}

void MeshView::mousePressEvent(QMouseEvent* event)
{
    m_mouse = event->pos();
}

void MeshView::mouseMoveEvent(QMouseEvent* event)
{
    constexpr float degreesPerPixel = 0.5F;
    const QPoint moved = event->pos() - std::exchange(m_mouse, event->pos());
    Camera camera = m_camera;
    camera.rotation =
        QQuaternion::fromAxisAndAngle(0, 1, 0, degreesPerPixel * static_cast<float>(moved.x())) *
        QQuaternion::fromAxisAndAngle(1, 0, 0, degreesPerPixel * static_cast<float>(moved.y())) *
        camera.rotation;
    camera.rotation.normalize();
    setCamera(camera);
}

void MeshView::mouseDoubleClickEvent(QMouseEvent*)
{
    setCamera(firstCamera());
}

void MeshView::wheelEvent(QWheelEvent* event)
{
    constexpr double perEighthOfADegree = 1.001;
    const auto factor = static_cast<float>(std::pow(perEighthOfADegree, event->angleDelta().y()));
    setCamera({m_camera.rotation, std::clamp(m_camera.zoom * factor, leastZoom, mostZoom)});
    event->accept();
}

void MeshView::changeView()
{
    m_isFine = false;
    const bool isCoarse = m_drawnQuality == Quality::Coarse;
    if (m_drawing && !m_drawing->isCancelled() && (!isCoarse || !m_isOverdue)) {
        m_drawing->cancel();
        m_isOverdue = isCoarse;
    }
    m_isOutdated = m_drawing != nullptr;
    if (!m_shape || contentsRect().isEmpty()) {
        m_rest.stop();
        m_picture = {};
        update();
        return;
    }
    m_rest.start(restMilliseconds);
    if (!m_drawing)
        begin(Quality::Coarse);
}

void MeshView::begin(Quality quality)
{
    const bool isFine = quality == Quality::Fine;
    const QSize shown = contentsRect().size() * devicePixelRatioF();
    const QSize drawn = isFine ? shown * finePixels : (shown / coarsePixel).expandedTo({1, 1});
    const auto progress = std::make_shared<Progress>(1);
    const EQualityOfService qos = isFine ? eQOS_Low : eQOS_High;
    const auto draw = [=, shape = m_shape, camera = m_camera, colors = colors()] {
        try {
            QImage picture = renderMesh(*shape, camera, drawn, colors, progress, qos);
            if (isFine && !picture.isNull()) // several pixels become one: edges are smooth
                picture = picture.scaled(shown, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            return picture;
        } catch (const std::exception& error) {
            BRN_LOG(Warn, "the mesh cannot be drawn: {}", reasonOf(error));
            return QImage();
        }
    };
    m_drawn.setFuture(dispatch(draw, qos)); // tells the end by an event, also of what nobody could begin
    m_drawing = progress;
    m_drawnQuality = quality;
    m_isOutdated = false;
}

// A picture may be complete by the time at which it is cancelled.
void MeshView::take()
{
    const bool isDrawn = !m_drawn.isCanceled() && !m_drawing->isCancelled();
    const QImage picture = isDrawn ? m_drawn.result() : QImage();
    const Quality quality = m_drawnQuality;
    m_drawing.reset();
    const bool isOutdated = std::exchange(m_isOutdated, false);
    if (!m_shape)
        return;
    if (!picture.isNull()) {
        m_isOverdue = false;
        m_picture = picture;
        m_isFine = quality == Quality::Fine && !isOutdated;
        update();
    }
    if (isOutdated)
        begin(Quality::Coarse);
    else if (quality == Quality::Coarse && !m_rest.isActive())
        begin(Quality::Fine);
    if (!picture.isNull())
        Q_EMIT pictureShown(quality == Quality::Fine);
}

MeshColors MeshView::colors() const
{
    return {palette().color(QPalette::Base), QColor(0xD8, 0xC4, 0xA4)};
}

#include "moc_MeshView.cpp" // NOLINT(bugprone-suspicious-include)
