#include "apps/cli/modelpicture.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/renderreport.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QImage>

using namespace ov3d::apps;

class RenderReportTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsNotKnownIsNull();
    void whatIsKnownStandsUnderItsName();
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
