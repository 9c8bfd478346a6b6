#pragma once

#include "apps/cli/gesture.h"
#include "apps/common/plugin.h"

#include <QGraphicsScene>
#include <QImage>
#include <QSize>

#include <functional>

class CBaseObject;

namespace ov3d::apps {

/// One model on a scene of its own: loads it, does what a hand would do, and takes its picture. GUI thread.
class ModelPicture
{
public:
    /// @param size     of the picture in pixels; the item takes the next width that is a multiple of four.
    /// @param pending  how many pictures the viewer still owes.
    ModelPicture(const Plugin& plugin, QSize size, std::function<int()> pending);

    /// Releases the item, which takes up to six seconds after a load.
    ~ModelPicture();
    ModelPicture(const ModelPicture&) = delete;
    ModelPicture& operator=(const ModelPicture&) = delete;

    /// Blocks until the first frame. @return false when the plug-in refuses the file.
    bool load(const QString& path);

    /// Delivers the gesture to the selected item as real scene events, and waits for the final picture.
    /// @return false when the picture was not finished in time.
    bool perform(const Gesture& gesture);

    /// Runs the event loop until no picture is owed. @return false when that takes too long.
    bool settle();

    /// The scene as it is now, premultiplied, transparent around the model.
    QImage paint();

    [[nodiscard]] CBaseObject& item() const { return *m_item; }

    /// Rectangles of the item's hit shape, as of the last paint().
    [[nodiscard]] int hitRectangles() const;

private:
    void drag(const DragGesture& gesture);
    void turnWheel(const WheelGesture& gesture);

    QSize m_size;
    std::function<int()> m_pending;
    QGraphicsScene m_scene;
    CBaseObject* m_item;
};

/// Share of the pixels that are not fully transparent, 0 to 1.
double opaqueShare(const QImage& image);

} // namespace ov3d::apps
