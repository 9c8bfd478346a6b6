#include "host/qimageex/qimageex.h"

QImageEx::QImageEx() {}

QImageEx::QImageEx(const QImage& source)
    : QImage(source)
{
}
