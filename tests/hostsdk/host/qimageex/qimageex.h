#pragma once

#include <QImage>

class __attribute__((visibility("default"))) QImageEx : public QImage
{
public:
    QImageEx();
    explicit QImageEx(const QImage& source);
};
