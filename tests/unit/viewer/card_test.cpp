#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/protocol/messages.h"
#include "viewer/session/card.h"
#include "viewer/session/jsontext.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>

#include <thread>

using namespace ov3d::session;

namespace {

QImage toImage(const Card& card)
{
    return QImage(card.pixels.data(), card.size.width, card.size.height,
                  static_cast<int>(ov3d::protocol::rowBytes(card.size.width)), QImage::Format_RGB888)
        .convertToFormat(QImage::Format_RGB32);
}

bool isNearKey(QRgb pixel)
{
    return std::abs(qRed(pixel) - 92) <= 2 && std::abs(qGreen(pixel) - 238) <= 2 && std::abs(qBlue(pixel) - 20) <= 2;
}

/// Pixels that differ clearly from the paper.
int inkOf(const QImage& image)
{
    int count = 0;
    for (int y = 2; y < image.height() - 2; ++y)
        for (int x = 2; x < image.width() - 2; ++x)
            count += qGray(image.pixel(x, y)) < 160 ? 1 : 0;
    return count;
}

} // namespace

class CardTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void cardFillsItsSizeWithoutKeyColour_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("one pixel") << 1 << 1;
        QTest::newRow("too small for text") << 20 << 12;
        QTest::newRow("smallest legible") << 64 << 48;
        QTest::newRow("odd width") << 101 << 75;
        QTest::newRow("usual") << 1280 << 960;
        QTest::newRow("a strip") << 2000 << 10;
    }

    void cardFillsItsSizeWithoutKeyColour()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        const Card card = drawCard({width, height}, "spider.glb", "ends in the middle of its data");
        QCOMPARE(card.pixels.size(),
                 static_cast<std::size_t>(ov3d::protocol::rowBytes(width)) * static_cast<std::size_t>(height));
        const QImage image = toImage(card);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                QVERIFY(!isNearKey(image.pixel(x, y)));
    }

    void nameAndReasonBothShow()
    {
        for (const PictureSize size : {PictureSize{64, 48}, PictureSize{640, 480}}) {
            const Card both = drawCard(size, "spider.glb", "is empty");
            const Card otherName = drawCard(size, "other.glb", "is empty");
            const Card otherReason = drawCard(size, "spider.glb", "is broken");
            QVERIFY(inkOf(toImage(both)) > 20);
            QVERIFY(both.pixels != otherName.pixels);
            QVERIFY(both.pixels != otherReason.pixels);
        }
    }

    void longTextsAreElidedAndStayInside()
    {
        const std::string name = std::string(250, 'w') + ".glb";
        const Card card = drawCard({64, 48}, name, std::string(2000, 'r'));
        const QImage image = toImage(card);
        const QRgb border = image.pixel(0, 0);
        for (int x = 0; x < 64; ++x)
            QCOMPARE(image.pixel(x, 47), border);
        for (int y = 0; y < 48; ++y)
            QCOMPARE(image.pixel(63, y), border);
    }

    void everySizeFromTheSmallestHasNameReasonAndBorder()
    {
        const std::string name = "a rather long name of a model (final version).gltf";
        const std::string reason = "ends in the middle of its data (at byte 4096 of 120,000)";
        for (const int width : {64, 65, 100, 160, 333, 800}) {
            for (const int height : {48, 49, 60, 75, 150, 240, 600}) {
                const PictureSize size{width, height};
                const QImage image = toImage(drawCard(size, name, reason));
                QVERIFY2(inkOf(image) > 100, qPrintable(QStringLiteral("%1 x %2").arg(width).arg(height)));
                for (int x = 0; x < width; ++x)
                    QVERIFY(image.pixel(x, 0) == image.pixel(0, 0) && image.pixel(x, height - 1) == image.pixel(0, 0));
                for (int y = 0; y < height; ++y)
                    QVERIFY(image.pixel(0, y) == image.pixel(0, 0) && image.pixel(width - 1, y) == image.pixel(0, 0));
                // Both begin with what tells them from others.
                QVERIFY(image != toImage(drawCard(size, "the" + name.substr(3), reason)));
                QVERIFY(image != toImage(drawCard(size, name, "is" + reason.substr(4))));
            }
        }
    }

    void longNameKeepsItsBeginningAndItsSuffix()
    {
        const std::string middle(200, 'm');
        for (const PictureSize size : {PictureSize{64, 48}, PictureSize{100, 75}, PictureSize{640, 480}}) {
            const Card card = drawCard(size, "a" + middle + "z.glb", "is empty");
            QVERIFY(card.pixels != drawCard(size, "b" + middle + "z.glb", "is empty").pixels);
            QVERIFY(card.pixels != drawCard(size, "a" + middle + "z.fbx", "is empty").pixels);
            QVERIFY(card.pixels == drawCard(size, "a" + middle + middle + "z.glb", "is empty").pixels);
        }
    }

    void longReasonTakesSmallerLettersBeforeItIsCut()
    {
        const std::string reason = "ends in the middle of its data (at byte 4096 of 120,00";
        for (const PictureSize size : {PictureSize{100, 75}, PictureSize{200, 150}, PictureSize{60, 300}})
            QVERIFY(drawCard(size, "spider.glb", reason + "0)").pixels !=
                    drawCard(size, "spider.glb", reason + "7)").pixels);
    }

    void reasonThatDoesNotFitIsCutAtItsEnd()
    {
        const std::string begin = "cannot be understood (";
        const std::string words = "words and more words and even more of them and so on ";
        const PictureSize size{64, 48};
        QVERIFY(drawCard(size, "a.glb", begin + words + "x)").pixels ==
                drawCard(size, "a.glb", begin + words + "y)").pixels);
    }

    void sameInputsGiveTheSameBytesOnAnyThread()
    {
        const Card here = drawCard({200, 150}, "a.glb", "is empty");
        Card there;
        std::thread([&there] { there = drawCard({200, 150}, "a.glb", "is empty"); }).join();
        QVERIFY(here.pixels == there.pixels);
    }

    void namesOfAnyBytesAreDrawn()
    {
        const Card card = drawCard({200, 150}, "\xff\xfe\x01.glb", "is empty");
        QVERIFY(inkOf(toImage(card)) > 20);
        QVERIFY(card.pixels != drawCard({200, 150}, "\xff\xfe\x01.fbx", "is empty").pixels);
        QVERIFY(inkOf(toImage(drawCard({200, 150}, "a.glb", "\xff"))) > 20);
    }

    void jsonTextIsValidForAnyBytes()
    {
        const std::string nasty = std::string("a\"\\\n\x01\xff\xC3\xA4\xED\xA0\x80", 11);
        const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(jsonArray({nasty, "b"})));
        QVERIFY(document.isArray());
        QCOMPARE(document.array().size(), 2);
        QVERIFY(document.array()[0].toString().startsWith(QStringLiteral("a\"\\\n\x01\uFFFD\u00E4")));
        QCOMPARE(document.array()[1].toString(), QStringLiteral("b"));
    }

    void cutTextEndsAtAWholeCharacter()
    {
        QCOMPARE(toUtf8("a\xC3\xA4", 2), std::string("a"));
        QCOMPARE(toUtf8("a\xC3\xA4", 3), std::string("a\xC3\xA4"));
        QCOMPARE(toUtf8("\xC0\xAF"), std::string("\xEF\xBF\xBD\xEF\xBF\xBD"));
    }
};

OV3D_TEST_MAIN(CardTest)
#include "card_test.moc"
