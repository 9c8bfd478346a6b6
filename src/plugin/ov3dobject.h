#pragma once

#include "host/framework/framework.h"
#include "src/persist/viewsettings.h"
#include "src/render/viewcontext.h"

#include <QElapsedTimer>
#include <QImage>
#include <QMutex>
#include <QPainterPath>
#include <QPointF>
#include <QString>
#include <QVector>

#include <mutex>

class CDrawByOpenGL;
class QGraphicsView;

/// The page item that shows one 3D model.
///
/// A host creates it through createObject_ov3dobject() and disposes of it through Release(). All of it runs on the GUI
/// thread, except where a line says otherwise; the item's render thread writes `m_image` (the first frame, under its
/// mutex), the display flags, `m_viewSettingsLoaded`, `m_viewerReady` and the side-file lists, and calls forcedraw().
///
/// The members are public: the subsystems share them, and their names are part of the interface. Each subsystem's
/// functions are implemented in a source of its own, named beside them.
class COv3DObject : public CBaseObject
{
    Q_OBJECT

public:
    /// The arguments are ignored: an item always begins with id -1, unlocked, without parent or page.
    COv3DObject(int, bool, QGraphicsItem*);

    /// Waits until six seconds have passed since the model finished loading, at least 10 ms, when there is a render
    /// thread or a finished load; the detached viewer gets that time to leave the view context.
    ~COv3DObject() override;

    bool eventFilter(QObject* watched, QEvent* event) override;
    QPainterPath shape() const override;
    int type() const override;
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;
    void hoverMoveEvent(QGraphicsSceneHoverEvent* event) override;
    void OnQPainterDraw(QPainter* painter) override;
    bool save(QDataStream& stream) override;
    bool load(QDataStream& stream) override;
    bool saveJson(QJsonObject& object) override;
    bool loadJson(QJsonObject& object) override;
    void setSize(QSizeF size, bool flag1, bool flag2) override;
    void setPos(QPointF position, bool flag) override;
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;
    void Release() override;
    bool GetSpecialProperty(int id, QDataStream& out) override;
    bool SetSpecialProperty(int id, QDataStream& in, bool flag) override;
    bool loadFromFile(const QString& path) override;
    void wheelEvent(QGraphicsSceneWheelEvent* event) override;

    // plugin/ov3dobject.cpp
    /// Finds the host document that the item belongs to and keeps it in `m_belongDoc`.
    void getBelongDoc();
    void initOpenGL();
    void resizeOpenGL();
    void paintOpenGL();

    // render/updatequeue.cpp
    /// Passes the context to the viewer on the calling thread (GUI or render thread) and keeps the history. Does
    /// nothing before the viewer is ready, or while a loaded item is locked. Waits for the viewer without a time limit.
    void update_view(ViewContext* context);
    /// Asks the viewer to draw with the current settings. Also called on the render thread.
    void forcedraw();
    /// Sends the viewer a left click at (2, 2); takes 160 ms.
    void fakeMouseEvent();
    /// Calls the viewer without lock and history.
    void re_render_view(ViewContext* context);
    /// Hands the stop request to the viewer if it is ready, also when the item is locked: otherwise a locked item's
    /// viewer would keep the context of an item that is gone.
    void deliverStop();

    // render/progress.cpp
    bool updateProcess(int value);
    bool change3DState(int state);

    // import/modelloading.cpp
    /// @return the directory name of this item's model, unique in the process as far as the candidate allows.
    QString getDirName(QString name);

    // persist/viewcommand.cpp
    /// @return the settings as the one-line text that a viewer reads.
    QString buildViewCommand() const;

    // interact/objectcommand.cpp
    void undoScene(OV3DOBJECT::SceneStatus& status);
    void redoScene(OV3DOBJECT::SceneStatus& status);

    // display/painting.cpp
    /// @return the view named "mainGraphicsView" whose viewport the painter paints on, or null.
    QGraphicsView* getMainGraphicsView(QPainter* painter);

    /// @return the block inside `m_params` that the view context's camera reference points at.
    CameraSettings* cameraBlock();

public Q_SLOTS:
    /// Rebuilds the hit shape from the item's frame and announces the first one.
    void doUpdateImage();

public:
    QPainterPath* m_hitPath = nullptr; ///< hit shape in item coordinates; not freed with the item
    QPainterPath m_handlePath;         ///< copy of it for the host's handles
    ViewContext m_context{};
    CEL3DObjectParams m_params;
    bool m_isLoaded = false;
    int m_viewerReady = 0;            ///< 1 once the viewer has drawn and settled
    QVector<ViewContext> m_viewQueue; ///< history; only ever grows
    QVector<QString> m_textureFiles;  ///< names of the side files that the viewer reported
    QVector<QString> m_textureDirs;   ///< their folders relative to the model's, each with its trailing "/"
    QMutex m_viewMutex;               ///< taken through ViewLock only
    bool m_viewSettingsLoaded = false;
    bool m_isPressed = false;
    int m_lastViewType = 0;
    LightingSettings m_lightingSettings;
    MaterialSettings m_materialSettings;
    DisplaySettings m_displaySettings;
    ViewSettings m_viewSettings;
    CameraSettings m_cameraSettings;
    QImage m_image; ///< the item's frame; guarded by the render thread's mutex
    QString m_dirName;
    OV3DOBJECT::SceneStatus m_undoStatus{};
    OV3DOBJECT::SceneStatus m_redoStatus{};
    bool m_enableSky = false;
    bool m_enableAxis = false;
    bool m_enableGround = false;
    QElapsedTimer m_loadTimer; ///< runs since the model finished loading
    IOvDocument* m_belongDoc = nullptr;
    QString m_modelPath;
    bool m_firstFrameShown = false;
    int m_dragKind = 1; ///< 1 left, 2 right
    bool m_unusedFlagA = false;
    CDrawByOpenGL* m_drawThread = nullptr; ///< owned; deleted by Release() alone
    bool m_paramsApplied = false;
    double m_unusedDouble = -9999.0;
    bool m_unusedFlagB = true;
    int m_mouseModifiers = 0;
    int m_viewTypeRestore = 0; ///< 1 while `view_type` is to be set back after the gesture
    int m_savedViewType = 0;
    QPointF m_pressPos;
    int m_unusedIntA = 0;
    int m_unusedIntB = 0;
    int m_reportedViewType = 0; ///< `view_type` of the latest parameter query; read by nothing

    std::mutex m_viewExclusion;       ///< see ViewLock
    bool m_viewMutexStranded = false; ///< see ViewLock; guarded by m_viewExclusion

private:
    bool takesUpdates() const;
    void deliver(ViewContext* context, std::int32_t operation);
    void recordHistory(const ViewContext& context, int marker, bool withResetText);
    void sendMouseRecord(const struct MouseRecord& record);
    QImage frameImage() const;

    // persist/documentjson.cpp
    void saveEntries(QJsonObject& object);
    void restoreEntries(const QJsonObject& object);
    void restoreEntry(const QString& path);
    void readSceneStatus(const QString& path);
    bool writeSceneStatus(const QString& path);

    // import/modelloading.cpp
    bool loadModel(const QString& path);

    // persist/specialproperties.cpp
    void fillParams();
    void applyParams();
    bool runViewerCommand();
};
