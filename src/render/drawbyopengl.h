#pragma once

#include "src/persist/viewsettings.h"
#include "src/render/framebuffer.h"

#include <QImage>
#include <QMutex>
#include <QString>
#include <QThread>

class COv3DObject;

/// The render thread of one item: prepares the item's view context, starts the external viewer on a detached thread of
/// its own, and collects the viewer's frames every 80 ms. (The name is the interface's; nothing here calls OpenGL.)
///
/// The viewer reads the four settings blocks through the view context for as long as it runs, so this object outlives
/// the viewer's use of them. Called from the GUI thread unless a line says otherwise.
class CDrawByOpenGL : public QThread
{
    Q_OBJECT

public:
    /// The object does not start by itself. `item` is not owned and outlives it.
    explicit CDrawByOpenGL(COv3DObject* item);

    /// Stops the viewer first, through the item.
    ~CDrawByOpenGL() override;

    /// Starts the thread. @return true.
    bool startRunning();

    /// Frames are collected from now on. The size is remembered and not otherwise used. @return true.
    bool startDraw(int width, int height);
    void stopDraw();

    /// Ends the collection loop, tells the viewer to stop if it was ready, waits 300 ms, terminates what is left of the
    /// thread. @return whether the thread has ended within another 100 ms.
    bool stopRunning();

    /// Replaces `out`, and the item's own frame, by deep copies of the latest published frame.
    void getResultImage(QImage& out);

Q_SIGNALS:
    /// A frame has been published. Emitted on this thread.
    void updateImage();

protected:
    void run() override;

private:
    void prepareContext();
    void copySettings();
    void startViewer();
    [[nodiscard]] bool waitForFirstDraw();
    [[nodiscard]] bool settle();
    void logCameraMatrix();
    void collectFrames();
    void takeFrame(int width);
    bool publishFrame(int width, int height);
    void nap(unsigned long milliseconds);

public:
    bool m_firstFrame = false; ///< the first frame has been taken
    COv3DObject* m_item;
    bool m_running = false;
    QMutex m_mutex; ///< guards m_resultImage, m_drawing, m_width, m_height and the item's m_image
    QMutex m_spareMutex;
    bool m_drawing = false;
    int m_width = 0;
    int m_height = 0;
    QString m_modelPath;
    QImage m_resultImage; ///< the latest published frame
    ViewSettings m_viewSettings;
    DisplaySettings m_displaySettings;
    MaterialSettings m_materialSettings;
    LightingSettings m_lightingSettings;

    FrameBuffer m_frameBuffer; ///< of the latest viewer run
};
