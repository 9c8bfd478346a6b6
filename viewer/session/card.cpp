#include "viewer/session/card.h"

#include "viewer/protocol/messages.h"

#include <QFile>
#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace ov3d::session {

namespace {

// All neutral or reddish: no mixture of these comes near the green key colour.
constexpr QRgb kPaper = 0xfff4f2ef;
constexpr QRgb kBorder = 0xffb9b4ad;
constexpr QRgb kInk = 0xff2b2a28;
constexpr QRgb kMark = 0xffb3402a;

// Below this size no text would be legible.
constexpr int kSmallestTextWidth = 40;
constexpr int kSmallestTextHeight = 24;

/// An exclamation mark, drawn without a painter, since painters want an application object once text is near.
void drawMark(QImage& image, const QRect& area)
{
    const auto fill = [&image](const QRect& rect) {
        const QRect part = rect.intersected(image.rect());
        for (int y = part.top(); y <= part.bottom(); ++y)
            for (int x = part.left(); x <= part.right(); ++x)
                image.setPixel(x, y, kMark);
    };
    const int height = area.height();
    const int stroke = std::max(1, height / 6);
    const int left = area.left() + (area.width() - stroke) / 2;
    fill({left, area.top(), stroke, std::max(1, height - 2 * stroke)});
    fill({left, area.top() + height - stroke, stroke, stroke});
}

void drawFrame(QImage& image)
{
    image.fill(kPaper);
    for (int x = 0; x < image.width(); ++x) {
        image.setPixel(x, 0, kBorder);
        image.setPixel(x, image.height() - 1, kBorder);
    }
    for (int y = 0; y < image.height(); ++y) {
        image.setPixel(0, y, kBorder);
        image.setPixel(image.width() - 1, y, kBorder);
    }
}

/// Breaks a text into lines of the given width; the last line that has room is elided.
QStringList breakLines(const QString& text, const QFont& font, int width, int maxLines)
{
    const QFontMetrics metrics(font);
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    QStringList lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        if (lines.size() + 1 == maxLines) {
            lines << metrics.elidedText(text.mid(line.textStart()).simplified(), Qt::ElideRight, width);
            break;
        }
        lines << text.mid(line.textStart(), line.textLength()).trimmed();
    }
    layout.endLayout();
    return lines;
}

void drawText(QImage& image, const QString& name, const QString& reason)
{
    const int shorter = std::min(image.width(), image.height());
    const int margin = std::clamp(shorter / 12, 3, 48);
    const QRect area = image.rect().adjusted(margin, margin, -margin, -margin);

    QFont nameFont;
    nameFont.setPixelSize(std::clamp(shorter / 14, 10, 40));
    nameFont.setBold(true);
    nameFont.setStyleStrategy(QFont::NoSubpixelAntialias);
    QFont reasonFont;
    reasonFont.setStyleStrategy(QFont::NoSubpixelAntialias);
    reasonFont.setPixelSize(std::clamp(shorter / 18, 9, 30));
    const QFontMetrics nameMetrics(nameFont);
    const QFontMetrics reasonMetrics(reasonFont);

    const int room = (area.height() - nameMetrics.height()) / std::max(1, reasonMetrics.height());
    const QStringList lines =
        room > 0 ? breakLines(reason, reasonFont, area.width(), std::min(room, 6)) : QStringList();
    const int textHeight = nameMetrics.height() + static_cast<int>(lines.size()) * reasonMetrics.height();

    // The mark stands above the text where there is room for both.
    const int markHeight = shorter / 6;
    const bool withMark = area.height() >= textHeight + 2 * markHeight;
    int top = area.top() + (area.height() - textHeight - (withMark ? markHeight * 3 / 2 : 0)) / 2;
    if (withMark) {
        drawMark(image, QRect(area.left(), top, area.width(), markHeight));
        top += markHeight * 3 / 2;
    }

    QPainter painter(&image);
    painter.setPen(QColor(kInk));
    painter.setFont(nameFont);
    painter.drawText(QRect(area.left(), top, area.width(), nameMetrics.height()), Qt::AlignCenter,
                     nameMetrics.elidedText(name, Qt::ElideMiddle, area.width()));
    top += nameMetrics.height();
    painter.setFont(reasonFont);
    for (const QString& line : lines) {
        painter.drawText(QRect(area.left(), top, area.width(), reasonMetrics.height()), Qt::AlignCenter, line);
        top += reasonMetrics.height();
    }
}

} // namespace

Card drawCard(PictureSize size, const std::string& name, const std::string& reason)
{
    Card card;
    card.size = size;
    if (size.isEmpty())
        return card;
    card.pixels.resize(protocol::rowBytes(size.width) * static_cast<std::size_t>(size.height));
    QImage image(size.width, size.height, QImage::Format_RGB32);
    if (image.isNull())
        return card;
    drawFrame(image);
    const bool hasFonts = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
    if (hasFonts && size.width >= kSmallestTextWidth && size.height >= kSmallestTextHeight)
        drawText(image, QFile::decodeName(QByteArray::fromStdString(name)), QString::fromStdString(reason));
    else
        drawMark(image, image.rect().adjusted(size.width / 4, size.height / 4, -size.width / 4, -size.height / 4));

    for (int y = 0; y < size.height; ++y) {
        std::uint8_t* target = card.pixels.data() + protocol::rowBytes(size.width) * static_cast<std::size_t>(y);
        const QRgb* source = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < size.width; ++x) {
            *target++ = static_cast<std::uint8_t>(qRed(source[x]));
            *target++ = static_cast<std::uint8_t>(qGreen(source[x]));
            *target++ = static_cast<std::uint8_t>(qBlue(source[x]));
        }
    }
    return card;
}

} // namespace ov3d::session
