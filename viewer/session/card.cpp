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
constexpr int kSmallestLetters = 8; ///< pixels; smaller ones cannot be read
constexpr int kSmallCard = 90;      ///< pixels of the shorter side, below which the margin is no more than a border
constexpr int kMostReasonLines = 12;

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

QFont fontOf(int pixelSize, bool bold)
{
    QFont font;
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    // Coloured fringes could come near the key colour; unhinted letters of eight pixels are a blur.
    font.setStyleStrategy(QFont::NoSubpixelAntialias);
    font.setHintingPreference(QFont::PreferFullHinting);
    return font;
}

/// A text that has been broken into lines.
struct Lines
{
    QStringList texts;
    bool isWhole = true; ///< nothing was left out and no word was broken
};

/// Breaks a text into at most `maxLines` lines of the given width; what does not fit is elided at the end.
Lines breakLines(const QString& text, const QFont& font, int width, int maxLines)
{
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    Lines lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        const int start = line.textStart();
        const int end = start + line.textLength();
        const bool isLast = end >= text.size();
        if (!isLast && lines.texts.size() + 1 == maxLines) {
            lines.isWhole = false;
            lines.texts << QFontMetrics(font).elidedText(text.mid(start).simplified(), Qt::ElideRight, width);
            break;
        }
        lines.texts << text.mid(start, line.textLength()).trimmed();
        lines.isWhole = lines.isWhole && (isLast || text[end - 1].isSpace() || text[end].isSpace());
    }
    layout.endLayout();
    return lines;
}

/// Fonts and lines that fit into an area.
struct Layout
{
    QFont nameFont;
    QFont reasonFont;
    QString name;
    QStringList reason;
    int height = 0;
};

Layout layOut(const QSize& area, int nameSize, int reasonSize, const QString& name, const QString& reason,
              bool& isWhole)
{
    Layout layout;
    layout.reasonFont = fontOf(reasonSize, false);
    // The name gives way first, down to the size of the reason.
    do
        layout.nameFont = fontOf(nameSize, true);
    while (QFontMetrics(layout.nameFont).horizontalAdvance(name) > area.width() && --nameSize >= reasonSize);
    const QFontMetrics nameMetrics(layout.nameFont);
    const int lineHeight = std::max(1, QFontMetrics(layout.reasonFont).height());
    layout.name = nameMetrics.elidedText(name, Qt::ElideMiddle, area.width());

    const int room = std::clamp((area.height() - nameMetrics.height()) / lineHeight, 0, kMostReasonLines);
    const Lines lines = room > 0 ? breakLines(reason, layout.reasonFont, area.width(), room) : Lines{{}, false};
    layout.reason = lines.texts;
    layout.height = nameMetrics.height() + static_cast<int>(lines.texts.size()) * lineHeight;
    isWhole = lines.isWhole;
    return layout;
}

/// The largest letters that leave nothing of the reason out; the smallest legible ones when there are none.
Layout fittingLayout(const QSize& area, int shorterSide, const QString& name, const QString& reason)
{
    const int nameSize = std::clamp(shorterSide / 14, kSmallestLetters + 1, 40);
    const int preferred = std::clamp(shorterSide / 18, kSmallestLetters, 30);
    // Letters of half the preferred size are small enough; a longer reason is rather cut.
    const int least = std::clamp(preferred / 2, kSmallestLetters, 14);
    for (int size = preferred;; --size) {
        bool isWhole = false;
        Layout layout = layOut(area, nameSize, size, name, reason, isWhole);
        if (isWhole || size <= least)
            return layout;
    }
}

void drawText(QImage& image, const QString& name, const QString& reason)
{
    const int shorter = std::min(image.width(), image.height());
    const int margin = std::clamp(shorter / 12, 2, 48);
    // On a small card every pixel counts: the border is one of them.
    const int inset = shorter < kSmallCard ? 2 : margin;
    const QRect area = image.rect().adjusted(inset, inset, -inset, -inset);
    const Layout layout = fittingLayout(area.size(), shorter, name, reason);

    // The mark stands above the text where there is room for both.
    const int markHeight = shorter / 6;
    const bool withMark = area.height() >= layout.height + 2 * markHeight;
    int top = area.top() + (area.height() - layout.height - (withMark ? markHeight * 3 / 2 : 0)) / 2;
    if (withMark) {
        drawMark(image, QRect(area.left(), top, area.width(), markHeight));
        top += markHeight * 3 / 2;
    }

    QPainter painter(&image);
    painter.setPen(QColor(kInk));
    const auto drawLine = [&](const QFont& font, const QString& line) {
        painter.setFont(font);
        const int height = QFontMetrics(font).height();
        painter.drawText(QRect(area.left(), top, area.width(), height), Qt::AlignCenter, line);
        top += height;
    };
    drawLine(layout.nameFont, layout.name);
    for (const QString& line : layout.reason)
        drawLine(layout.reasonFont, line);
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
