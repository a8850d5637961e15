#pragma once
/// \file
/// A shaded picture of a mesh, which the mouse turns, and its wheel enlarges.
///
/// Pictures are drawn in the background. While the view changes, coarse ones are shown, one behind the other; a fine
/// one follows when it rests. A newer view cancels the picture of an older one. But of two coarse ones in a row the
/// second is drawn to its end: otherwise nothing would move while the mouse does.
///
/// Everything here belongs to the GUI thread.

#include <memory>

#include <QFrame>
#include <QFutureWatcher>
#include <QImage>
#include <QPoint>
#include <QTimer>

#include "MeshPicture.h"

class MeshView : public QFrame
{
    Q_OBJECT

public:
    explicit MeshView(QWidget* parent = nullptr);
    /// Cancels what is being drawn, and does not wait for it.
    ~MeshView() override;
    MeshView(const MeshView&) = delete;
    MeshView& operator=(const MeshView&) = delete;

    /// Shows this mesh, from where the one before was seen; an empty pointer leaves none.
    void setShape(std::shared_ptr<const MeshShape> shape);
    void setCamera(const Camera& camera);
    const Camera& camera() const { return m_camera; }

    /// Whether there is a fine picture of what is to be seen now.
    bool isFine() const { return m_isFine; }
    const QImage& picture() const { return m_picture; }

    QSize sizeHint() const override { return {400, 260}; }
    QSize minimumSizeHint() const override { return {160, 100}; }

Q_SIGNALS:
    /// A picture is shown, of what was to be seen a moment ago.
    void pictureShown(bool isFine);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    enum class Quality
    {
        Coarse,
        Fine
    };

    void changeView();
    void begin(Quality quality);
    void take();
    MeshColors colors() const;

    std::shared_ptr<const MeshShape> m_shape;
    Camera m_camera;
    QPoint m_mouse;
    QImage m_picture;
    bool m_isFine = false;
    std::shared_ptr<Brennic::Core::Progress> m_drawing; // of the picture that is being drawn
    QFutureWatcher<QImage> m_drawn;                     // the same, once it has ended, however that was
    Quality m_drawnQuality = Quality::Coarse;           // of the same
    bool m_isOutdated = false;                          // the view has changed since that was begun
    bool m_isOverdue = false;                           // a coarse one was cancelled, and none shown since
    QTimer m_rest;
};
