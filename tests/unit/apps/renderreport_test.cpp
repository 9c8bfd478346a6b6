#include "apps/cli/modelpicture.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/renderreport.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

using namespace ov3d::apps;

class RenderReportTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsNotKnownIsNull();
    void whatIsKnownStandsUnderItsName();
    void pictureIsWrittenWithItsAlpha();
    void opaquePictureHasAnAlphaChannelToo();
    void failedWriteLeavesTheOldPicture();
    void opaqueShareCountsPixelsThatAreNotFullyTransparent();
    void barStaysWithinItsEnds_data();
    void barStaysWithinItsEnds();
};

void RenderReportTest::whatIsNotKnownIsNull()
{
    RenderReport report;
    report.file = QStringLiteral("a.glb");
    report.size = {640, 480};
    const QJsonObject json = toJson(report);
    QCOMPARE(json.keys(),
             QStringList({QStringLiteral("error"), QStringLiteral("file"), QStringLiteral("format"),
                          QStringLiteral("height"), QStringLiteral("hit_rectangles"), QStringLiteral("missing"),
                          QStringLiteral("notes"), QStringLiteral("opaque_share"),
                          QStringLiteral("seconds_to_first_frame"), QStringLiteral("width")}));
    for (const char* key : {"error", "format", "hit_rectangles", "opaque_share", "seconds_to_first_frame"})
        QVERIFY2(json.value(QLatin1String(key)).isNull(), key);
}

void RenderReportTest::whatIsKnownStandsUnderItsName()
{
    RenderReport report;
    report.format = QStringLiteral("obj");
    report.secondsToFirstFrame = 0.5;
    report.opaqueShare = 0.25;
    report.hitRectangles = 7;
    report.missing = QStringList(QStringLiteral("wood.png"));
    report.notes = QStringList(QStringLiteral("2 faces left out"));
    report.error = QStringLiteral("a.obj: is empty");
    const QJsonObject json = toJson(report);
    QCOMPARE(json.value(QLatin1String("format")).toString(), QStringLiteral("obj"));
    QCOMPARE(json.value(QLatin1String("seconds_to_first_frame")).toDouble(), 0.5);
    QCOMPARE(json.value(QLatin1String("opaque_share")).toDouble(), 0.25);
    QCOMPARE(json.value(QLatin1String("hit_rectangles")).toInt(), 7);
    QCOMPARE(json.value(QLatin1String("missing")).toVariant().toStringList(), report.missing);
    QCOMPARE(json.value(QLatin1String("notes")).toVariant().toStringList(), report.notes);
    QCOMPARE(json.value(QLatin1String("error")).toString(), report.error);
}

void RenderReportTest::pictureIsWrittenWithItsAlpha()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("ü 中 %20.png"));
    QImage image(3, 2, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setPixelColor(1, 1, QColor(10, 20, 30));
    QCOMPARE(writePng(path, image), QString());
    const QImage read(path);
    QCOMPARE(read.size(), QSize(3, 2));
    QCOMPARE(read.pixel(1, 1), qRgba(10, 20, 30, 255));
    QCOMPARE(qAlpha(read.pixel(0, 0)), 0);
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 1); // no temporary file is left
}

void RenderReportTest::opaquePictureHasAnAlphaChannelToo()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.png"));
    QImage image(3, 2, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QCOMPARE(writePng(path, image), QString());
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    constexpr int kColourTypeOffset = 25;
    constexpr char kRgba = 6;
    QCOMPARE(file.readAll().at(kColourTypeOffset), kRgba);
}

void RenderReportTest::failedWriteLeavesTheOldPicture()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.png"));
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(Qt::red);
    QCOMPARE(writePng(path, image), QString());
    QVERIFY(!writePng(path, QImage()).isEmpty());
    QCOMPARE(QImage(path).pixelColor(0, 0), QColor(Qt::red));
    QVERIFY(!writePng(folder.filePath(QStringLiteral("none/a.png")), image).isEmpty());
}

void RenderReportTest::opaqueShareCountsPixelsThatAreNotFullyTransparent()
{
    QImage image(4, 2, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    image.setPixel(0, 0, qRgba(0, 0, 0, 255));
    image.setPixel(3, 1, qRgba(9, 9, 9, 128));
    QCOMPARE(opaqueShare(image), 0.25);
    QCOMPARE(opaqueShare(QImage()), 0.0);
}

void RenderReportTest::barStaysWithinItsEnds_data()
{
    QTest::addColumn<int>("percent");
    QTest::addColumn<int>("filled");
    QTest::addColumn<QByteArray>("number");
    QTest::newRow("a negative report counts as none") << -5 << 0 << QByteArray("  0 %");
    QTest::newRow("half") << 50 << 20 << QByteArray(" 50 %");
    QTest::newRow("all") << 100 << 40 << QByteArray("100 %");
    QTest::newRow("beyond all") << 250 << 40 << QByteArray("100 %");
}

void RenderReportTest::barStaysWithinItsEnds()
{
    QFETCH(int, percent);
    QFETCH(int, filled);
    QFETCH(QByteArray, number);
    const QByteArray text = progressBarText(percent);
    QCOMPARE(text.count('#'), filled);
    QCOMPARE(text.size(), progressBarText(0).size());
    QVERIFY(text.endsWith(number));
}

OV3D_TEST_MAIN(RenderReportTest)
#include "renderreport_test.moc"
