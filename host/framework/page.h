#pragma once

#include "host/framework/services.h"

#include <QGraphicsScene>
#include <QList>
#include <QSizeF>

class COVRootObject;

/// A page: a scene of page items. Owns its items and releases them at its end. GUI thread.
class OV_FRAMEWORK_EXPORT COvPage : public IOvPage
{
public:
    /// @param size  of the page, in scene units; the scene's rectangle is (0, 0, width, height).
    COvPage(IOvDocument* document, const QSizeF& size);
    ~COvPage() override;
    Q_DISABLE_COPY_MOVE(COvPage)

    [[nodiscard]] IOvDocument* getDocument() override;

    [[nodiscard]] QGraphicsScene* scene();
    [[nodiscard]] QSizeF size() const;
    void setSize(const QSizeF& size);

    /// Puts an item on the page, which owns it from now on. Null does nothing.
    void addObject(COVRootObject* object);

    /// Takes an item off the page and hands it to the caller. @return false: it is not on this page.
    bool takeObject(COVRootObject* object);

    /// The items, lowest first.
    [[nodiscard]] QList<COVRootObject*> objects() const;

private:
    IOvDocument* m_document;
    QGraphicsScene m_scene;
};
