#pragma once

#include <QImage>

#define OV_QIMAGEEX_EXPORT __attribute__((visibility("default")))

/// The host's image type: a QImage that the host's interfaces hand around. Holds nothing of its own, so copies share
/// their pixels as QImage does. Any thread.
class OV_QIMAGEEX_EXPORT QImageEx : public QImage
{
public:
    QImageEx();
    explicit QImageEx(const QImage& image);
};
