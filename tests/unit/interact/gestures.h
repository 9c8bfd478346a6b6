#pragma once

#include "src/plugin/ov3dobject.h"
#include "tests/support/itemfixture.h"

#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>

#include <functional>
#include <thread>

/// A loaded, selected item without a running thread, and the events that a scene would send it.
class Gestures
{
public:
    explicit Gestures(ItemFixture& fixture)
        : item(fixture.createItem())
    {
        ItemFixture::makeReady(item);
        item->setSelected(true);
    }

    void press(QPointF position, Qt::MouseButton button = Qt::LeftButton,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QGraphicsSceneMouseEvent event(QEvent::GraphicsSceneMousePress);
        fill(event, position, button, modifiers);
        item->mousePressEvent(&event);
    }

    void move(QPointF position, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QGraphicsSceneMouseEvent event(QEvent::GraphicsSceneMouseMove);
        fill(event, position, Qt::NoButton, modifiers);
        item->mouseMoveEvent(&event);
    }

    void release(QPointF position, Qt::MouseButton button = Qt::LeftButton,
                 Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QGraphicsSceneMouseEvent event(QEvent::GraphicsSceneMouseRelease);
        fill(event, position, button, modifiers);
        item->mouseReleaseEvent(&event);
    }

    /// @return whether the event was accepted afterwards; scenes send it accepted.
    bool wheel(QPointF position, int delta, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
               bool accepted = true) const
    {
        QGraphicsSceneWheelEvent event(QEvent::GraphicsSceneWheel);
        event.setPos(position);
        event.setDelta(delta);
        event.setModifiers(modifiers);
        event.setAccepted(accepted);
        item->wheelEvent(&event);
        return event.isAccepted();
    }

    /// A status whose first number is `mark`.
    static OV3DOBJECT::SceneStatus status(double mark)
    {
        OV3DOBJECT::SceneStatus status{};
        status.camera_to_world[0] = mark;
        status.sun_direction[2] = -mark;
        return status;
    }

    static double markOf(const OV3DOBJECT::SceneStatus& status) { return status.camera_to_world[0]; }

    COv3DObject* const item;

private:
    static void fill(QGraphicsSceneMouseEvent& event, QPointF position, Qt::MouseButton button,
                     Qt::KeyboardModifiers modifiers)
    {
        event.setPos(position);
        event.setScenePos(position);
        event.setButtonDownScenePos(Qt::LeftButton, QPointF(-1000, -1000));
        event.setButton(button);
        event.setButtons(button);
        event.setModifiers(modifiers);
    }
};

inline std::vector<ScriptedViewer::Call> buttonUps(const ScriptedViewer& viewer)
{
    std::vector<ScriptedViewer::Call> found;
    for (const ScriptedViewer::Call& call : viewer.calls()) {
        if (call.context.mouse_type == kMouseButtonUp)
            found.push_back(call);
    }
    return found;
}

/// Runs a gesture while the viewer moves its camera to `mark` as soon as its last call is over, that is within the
/// sleep that follows. @return false when the machine was too busy for that in all tries.
inline bool withLateStatus(ItemFixture& fixture, COv3DObject* item, double mark, int lastCall,
                           const std::function<void()>& gesture)
{
    using namespace std::chrono_literals;
    for (int attempt = 0; attempt < 20; ++attempt) {
        std::thread viewer;
        ScriptedViewer::Clock::time_point called;
        ScriptedViewer::Clock::time_point written;
        int calls = 0;
        fixture.viewer.setOnCall([&](ViewContext& context) {
            if (++calls != lastCall)
                return;
            called = ScriptedViewer::Clock::now();
            viewer = std::thread([&] {
                item->m_viewMutex.lock();
                item->m_viewMutex.unlock();
                context.scene_status = Gestures::status(mark);
                written = ScriptedViewer::Clock::now();
            });
        });
        gesture();
        fixture.viewer.setOnCall(nullptr);
        if (viewer.joinable())
            viewer.join();
        if (calls >= lastCall && written - called < 30ms)
            return true;
    }
    return false;
}
