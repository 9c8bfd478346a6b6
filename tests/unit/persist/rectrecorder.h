#pragma once

#include "host/framework/framework.h"

#include <QObject>
#include <QRectF>
#include <QVector>

/// Records the rectangles of which the host is told for one item from its construction on. They arrive with the event
/// loop: see ItemFixture::deliverPosted().
class RectRecorder
{
public:
    explicit RectRecorder(const COVRootObject* recorded)
    {
        QObject::connect(CObjectNotifier::GetInstance(), &CObjectNotifier::objRectChanged, &m_receiver,
                         [this, recorded](COVRootObject* item, const QRectF& rect) {
                             if (item == recorded)
                                 rects.append(rect);
                         });
    }

    QVector<QRectF> rects;

private:
    QObject m_receiver;
};
