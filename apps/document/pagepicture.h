#pragma once

#include <QColor>
#include <QImage>
#include <QSize>

class COvPage;

namespace ov3d::apps {

/// Paints a page as it is now. GUI thread.
/// @param size        pixels; the page is stretched to it.
/// @param background  transparent where the page is to show through.
QImage paintPage(COvPage& page, const QSize& size, const QColor& background);

/// The small picture of a page that its document file carries: white, at most 512 pixels wide and high.
QImage pagePreview(COvPage& page);

} // namespace ov3d::apps
