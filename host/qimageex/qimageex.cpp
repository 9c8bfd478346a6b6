#include "host/qimageex/qimageex.h"

QImageEx::QImageEx() = default;

QImageEx::QImageEx(const QImage& image)
    : QImage(image)
{
}
