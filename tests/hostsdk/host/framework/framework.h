#pragma once

/// A minimal host: the names that a plug-in takes from its host, and records of what the plug-in did with them.

#include "host/qimageex/qimageex.h"

#include <QGraphicsTextItem>
#include <QPainterPath>
#include <QUndoCommand>
#include <QUndoStack>
#include <QVariant>

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class QDataStream;
class QJsonArray;
class QJsonObject;

#define MINIHOST_API __attribute__((visibility("default")))

class MINIHOST_API ILocalize
{
public:
    virtual ~ILocalize();
    virtual QString text(const QString& id) const = 0;
};

class MINIHOST_API IOvDocument
{
public:
    virtual ~IOvDocument();
    virtual void transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store,
                                      QString& dirName) = 0;
};

class MINIHOST_API IOvPage
{
public:
    virtual ~IOvPage();
    virtual IOvDocument* getDocument() = 0;
};

class MINIHOST_API IOvPathService
{
public:
    virtual ~IOvPathService();
    virtual QString getPath(int kind) = 0;
};

class MINIHOST_API IOvFramework
{
public:
    virtual ~IOvFramework();
    virtual IOvPathService* getPathService() = 0;
    virtual IOvDocument* getCurrentDocument() = 0;
};

MINIHOST_API IOvFramework* GetFramework();
MINIHOST_API void SetFramework(IOvFramework* framework);

class MINIHOST_API CEffectLayerParams
{
public:
    virtual ~CEffectLayerParams();
    static QString toJson(const CEffectLayerParams& record);
    static bool fromJson(const QString& json, CEffectLayerParams& record);

protected:
    QString m_id;
};

class MINIHOST_API CEL3DObjectParams : public CEffectLayerParams
{
public:
    bool reset_camera = false;
    qint32 view_type = 0;
    bool enable_sky = false, enable_axis = false, enable_ground = false;
    float bg_color[3] = {0.2f, 0.99f, 0.1f};
    qint32 light_profile = 0, material_type_a = 0, material_type_b = 6;
    double material_color[3] = {0.99, 0.274, 0.274};
    bool material_update = false;
    qint32 point_size = 3;
    bool raw_mode = false, wireframe = false, hdr_map = true;
    qint32 hdr_map_type = 2;
    bool sun_follow = true;
    std::string hdr_path;
    qint32 ibl_intensity = 46000, sun_intensity = 140000;
    double sun_dir[3] = {0.57, -0.57, -0.57}, sun_color[3] = {1.0, 1.0, 1.0};
    bool ibl_enabled = true, use_default_ibl = true, sun_enabled = true;
    qint32 camera_id = 0;
    double camera_values[6] = {90.0, 90.0, -180.0, 0.0, 0.0, 0.0};
    bool command = false;
    qint32 command_code = 0;
    QString command_text;

    // The block that the viewer reads; reached by its place, not by these names.
    qint32 viewer_camera = 0;
    double viewer_angles[4] = {0.0, 90.0, 90.0, -180.0};
    double viewer_position[3] = {0.0, 0.0, 0.0};
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(__builtin_offsetof(CEL3DObjectParams, reset_camera) == 16);
static_assert(__builtin_offsetof(CEL3DObjectParams, viewer_camera) == 264);
static_assert(sizeof(CEL3DObjectParams) == 328);
#pragma GCC diagnostic pop

class MINIHOST_API CWbUndoCmd : public QUndoCommand
{
public:
    explicit CWbUndoCmd(QUndoCommand* parent = nullptr);
    virtual int getIdxCmd();
    virtual void setIdxCmd(int idx);
    virtual QString getActionName(ILocalize* localize) const;

private:
    int m_idx = 0;
};

class MINIHOST_API CUndoRedo
{
public:
    static CUndoRedo* GetInstance();
    void push(QUndoCommand* command);
    QUndoStack* stack();

private:
    QUndoStack m_stack;
};

/// One call of notifyObjPropertyChanged.
struct HostNotice
{
    int code;
    QString text;
    std::thread::id thread;
};

class MINIHOST_API COVRootObject
{
public:
    COVRootObject(int id, bool locked, IOvPage* page);
    virtual ~COVRootObject();

    bool isLocked() const;
    void setLocked(bool locked);
    void setPage(IOvPage* page);
    QRectF getObjRect() const;
    void setObjRect(const QRectF& rect);
    bool isLoadedFlag() const;
    void setLoadedFlag(bool loaded);
    int GetType() const;
    QSizeF getSize() const;
    QPointF getPos() const;
    IOvPage* GetPage() const;
    void setOtherParams(const QString& name, const QVariant& value);
    QVariant getOtherParams(const QString& name) const;
    void updateAfterObjRectChanged(QGraphicsItem* item, bool notify);
    void addHandlePath(QGraphicsItem* item, QPainterPath* path, double scale);

    virtual void notifyObjPropertyChanged(int code, const QString& text);
    virtual QGraphicsItem* GetGraphicsItemPtr() = 0;
    virtual void OnQPainterDraw(QPainter* painter);
    virtual bool save(QDataStream& stream);
    virtual bool load(QDataStream& stream);
    virtual bool saveJson(QJsonObject& json);
    virtual bool loadJson(QJsonObject& json);
    virtual void setSize(QSizeF size, bool first, bool second);
    virtual void setPos(QPointF pos, bool notify);
    virtual void Release();
    virtual bool GetSpecialProperty(int id, QDataStream& out);
    virtual bool SetSpecialProperty(int id, QDataStream& in, bool flag);
    virtual bool loadFromFile(const QString& path);
    virtual QImageEx getPreviewImage();

    /// Records of this library's own.
    std::vector<HostNotice> notices() const;
    int rectUpdates() const;
    int handlePaths() const;

private:
    mutable std::mutex m_noticeMutex;
    std::vector<HostNotice> m_notices;
    std::map<QString, QVariant> m_named;
    QRectF m_rect;
    IOvPage* m_page;
    int m_rectUpdates = 0;
    int m_handlePaths = 0;
    bool m_locked;
    bool m_loaded = false;
};

class MINIHOST_API CBaseObject : public QGraphicsTextItem, public COVRootObject
{
public:
    CBaseObject(int id, bool locked, QGraphicsItem* parent, IOvPage* page);

    QRectF boundingRect() const override;
    QPainterPath shape() const override;
    bool contains(const QPointF& point) const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

    QGraphicsItem* GetGraphicsItemPtr() override;
    void OnQPainterDraw(QPainter* painter) override;
    bool save(QDataStream& stream) override;
    bool load(QDataStream& stream) override;
    bool saveJson(QJsonObject& json) override;
    bool loadJson(QJsonObject& json) override;
    void setSize(QSizeF size, bool first, bool second) override;
    void setPos(QPointF pos, bool notify) override;
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;
    void Release() override;
    bool GetSpecialProperty(int id, QDataStream& out) override;
    bool SetSpecialProperty(int id, QDataStream& in, bool flag) override;

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;
};
