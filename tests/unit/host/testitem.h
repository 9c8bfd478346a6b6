#pragma once

#include "host/framework/framework.h"

#include <QPainter>

/// An item that behaves as a plug-in's does: a fill of its rectangle, and Qt's moves refused.
class TestItem : public CBaseObject
{
public:
    TestItem()
        : CBaseObject(-1, false, nullptr, nullptr)
    {
        setFlags(flags() | ItemIsMovable | ItemIsSelectable);
        setObjRect(QRectF(0.0, 0.0, 100.0, 50.0));
        updateAfterObjRectChanged(this, true);
    }

    ~TestItem() override
    {
        if (m_destroyed)
            *m_destroyed = true;
    }

    void Release() override
    {
        if (m_released)
            *m_released = true;
        CBaseObject::Release();
    }

    int type() const override { return UserType + 42; }

    void OnQPainterDraw(QPainter* painter) override
    {
        ++m_paints;
        painter->fillRect(boundingRect(), Qt::red);
    }

    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override
    {
        if (change == ItemPositionChange && m_refusesMoves)
            return getPos();
        return CBaseObject::itemChange(change, value);
    }

    bool m_refusesMoves = true;
    int m_paints = 0;
    bool* m_destroyed = nullptr;
    bool* m_released = nullptr;
};
