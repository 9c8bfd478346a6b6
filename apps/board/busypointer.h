#pragma once

#include <QApplication>

namespace ov3d::apps {

/// The pointer of a busy program for as long as it lives. GUI thread.
class BusyPointer
{
public:
    explicit BusyPointer(Qt::CursorShape shape) { QApplication::setOverrideCursor(shape); }
    ~BusyPointer() { QApplication::restoreOverrideCursor(); }
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
};

} // namespace ov3d::apps
