#pragma once

#include <QEvent>
#include <QGraphicsScene>
#include <QImage>
#include <QObject>
#include <QPointF>
#include <QString>
#include <QTemporaryDir>

#include <atomic>

class COv3DObject;

/// An item with the real viewer on a page that is painted after each frame, as a host does, and the hand that works on
/// it. The current directory is a private one while it lives. GUI thread; one at a time.
class RealItem
{
public:
    explicit RealItem(QSize size);
    ~RealItem();
    RealItem(const RealItem&) = delete;
    RealItem& operator=(const RealItem&) = delete;

    /// Loads the model, selects the item and waits for the picture at rest.
    [[nodiscard]] bool load(const QString& path);

    /// Waits until the viewer owes no picture and the page shows the last one.
    [[nodiscard]] static bool settle();

    /// The frame that was published last.
    [[nodiscard]] QImage picture() const;

    /// The opaque point of the picture that is nearest to the middle.
    [[nodiscard]] QPointF grip() const;

    /// Scene events, aimed at whatever lies under the point.
    void press(QPointF at, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void move(QPointF to);
    void release(QPointF at);
    void turnWheel(QPointF at, int delta, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    /// How many frames have been published so far.
    [[nodiscard]] int frameCount() const { return m_frames; }

    [[nodiscard]] COv3DObject& item() { return *m_item; }

private:
    void send(QEvent::Type type, QPointF at, Qt::MouseButton button);
    void paintPage();
    void waitForHitShape(QPointF at);

    QTemporaryDir m_folder;
    QString m_previousFolder;
    QGraphicsScene m_scene;
    COv3DObject* m_item;
    QObject m_painter; ///< ends the painting with this object
    std::atomic<int> m_frames{0};
    QPointF m_pressedAt;
    QPointF m_last;
    Qt::MouseButton m_button = Qt::NoButton;
    Qt::KeyboardModifiers m_modifiers;
};
