#include "src/display/imageanalysis.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/plugin/testimages.h"

#include <QTest>

#include <random>

/// Pictures that are made smaller before they are analysed or shown.
class ImageReductionTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_pyramidUpdate = true;
    }

    void smallSourcesAreNeverReduced_data()
    {
        QTest::addColumn<QSize>("requested");
        QTest::newRow("64 x 64") << QSize(64, 64);
        QTest::newRow("1 x 1") << QSize(1, 1);
        QTest::newRow("larger than the source") << QSize(2000, 2000);
    }

    void smallSourcesAreNeverReduced()
    {
        QFETCH(QSize, requested);
        const QImage source = plain(512, 512);
        QCOMPARE(getMatchImageEx(source, requested), source);
    }

    void requestsOfZeroWidthOrHeightAreNotReduced_data()
    {
        QTest::addColumn<QSize>("requested");
        QTest::newRow("zero width") << QSize(0, 64);
        QTest::newRow("zero height") << QSize(64, 0);
        QTest::newRow("both zero") << QSize(0, 0);
    }

    void requestsOfZeroWidthOrHeightAreNotReduced()
    {
        QFETCH(QSize, requested);
        const QImage source = plain(2048, 2048);
        QCOMPARE(getMatchImageEx(source, requested), source);
    }

    void ratioOfTheAreasChoosesTheLevel_data()
    {
        QTest::addColumn<QSize>("source");
        QTest::addColumn<QSize>("requested");
        QTest::addColumn<QSize>("result");
        QTest::newRow("ratio 16") << QSize(1024, 1024) << QSize(256, 256) << QSize(256, 256);
        QTest::newRow("ratio 256") << QSize(1024, 1024) << QSize(64, 64) << QSize(64, 64);
        QTest::newRow("ratio 15.9 counts as 15") << QSize(1023, 1024) << QSize(256, 256) << QSize(1023, 1024);
        QTest::newRow("ratio 255.9 counts as 255") << QSize(1023, 1024) << QSize(64, 64) << QSize(255, 256);
        QTest::newRow("the request's shape does not matter") << QSize(1024, 1024) << QSize(1, 65536) << QSize(256, 256);
        QTest::newRow("the result is not the requested size") << QSize(1000, 600) << QSize(100, 100) << QSize(250, 150);
        QTest::newRow("sizes are cut, not rounded") << QSize(1027, 1031) << QSize(16, 16) << QSize(64, 64);
        QTest::newRow("just above the unreduced area") << QSize(512, 513) << QSize(1, 1) << QSize(32, 32);
        QTest::newRow("one negative side") << QSize(1024, 1024) << QSize(-64, 64) << QSize(1024, 1024);
        QTest::newRow("two negative sides") << QSize(1024, 1024) << QSize(-64, -64) << QSize(64, 64);
        QTest::newRow("a request of more than 32 bits")
            << QSize(1024, 1024) << QSize(65536, 65536) << QSize(1024, 1024);
    }

    void ratioOfTheAreasChoosesTheLevel()
    {
        QFETCH(QSize, source);
        QFETCH(QSize, requested);
        QTEST(getMatchImageEx(plain(source.width(), source.height()), requested).size(), "result");
    }

    void sixteenthIsReducedFromTheQuarter()
    {
        std::mt19937 random(3);
        const QImage source = noise(random, QSize(1030, 1021));
        const QImage quarter = source.scaled(257, 255, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QCOMPARE(getMatchImageEx(source, QSize(256, 256)), quarter);
        const QImage larger = noise(random, QSize(1041, 1100));
        QCOMPARE(getMatchImageEx(larger, QSize(64, 64)),
                 larger.scaled(260, 275, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .scaled(65, 68, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }

    void reductionWithoutThePyramidIsNull()
    {
        m_pyramidUpdate = false;
        QVERIFY(getMatchImageEx(plain(1024, 1024), QSize(256, 256)).isNull());
        QVERIFY(getMatchImageEx(plain(1024, 1024), QSize(64, 64)).isNull());
    }

    void sourcesThatNeedNoReductionDoWithoutThePyramid()
    {
        m_pyramidUpdate = false;
        QCOMPARE(getMatchImageEx(plain(512, 512), QSize(1, 1)).size(), QSize(512, 512));
        QCOMPARE(getMatchImageEx(plain(1024, 1024), QSize(0, 0)).size(), QSize(1024, 1024));
        QCOMPARE(getMatchImageEx(plain(1024, 1024), QSize(512, 512)).size(), QSize(1024, 1024));
    }

    void sourceTooFlatForAQuarterBecomesNullWithoutAWarning()
    {
        QVERIFY(getMatchImageEx(plain(200000, 2), QSize(16, 16)).isNull());
        QVERIFY(getMatchImageEx(plain(40000, 8), QSize(8, 8)).isNull());
    }

    void nullSourceStaysNull() { QVERIFY(getMatchImageEx(QImage(), QSize(16, 16)).isNull()); }

    void matchImageIsTheSame()
    {
        const QImage source = plain(1200, 1100);
        QCOMPARE(getMatchImage(source, QSize(64, 64)), getMatchImageEx(source, QSize(64, 64)));
        QCOMPARE(getMatchImage(source, QSize(64, 64)).size(), QSize(75, 68));
        m_pyramidUpdate = false;
        QVERIFY(getMatchImage(source, QSize(64, 64)).isNull());
    }

    void pathImageFitsIntoTheLimit_data()
    {
        QTest::addColumn<QSize>("source");
        QTest::addColumn<QSize>("result");
        QTest::newRow("small images stay") << QSize(200, 100) << QSize(200, 100);
        QTest::newRow("the limit itself stays") << QSize(256, 256) << QSize(256, 256);
        QTest::newRow("one pixel over is scaled") << QSize(256, 257) << QSize(255, 256);
        QTest::newRow("one side over, area not") << QSize(512, 100) << QSize(512, 100);
        QTest::newRow("landscape") << QSize(512, 256) << QSize(256, 128);
        QTest::newRow("portrait") << QSize(256, 512) << QSize(128, 256);
        QTest::newRow("the initial size is quartered and then scaled") << QSize(1280, 960) << QSize(256, 192);
        QTest::newRow("quartered alone") << QSize(1024, 1024) << QSize(256, 256);
        QTest::newRow("a sixteenth") << QSize(4096, 4096) << QSize(256, 256);
    }

    void pathImageFitsIntoTheLimit()
    {
        QFETCH(QSize, source);
        QImage output;
        QVERIFY(getImageForPath(plain(source.width(), source.height()), output, 256));
        QTEST(output.size(), "result");
    }

    void pathImageIsScaledSmoothlyFromTheReducedOne()
    {
        std::mt19937 random(11);
        const QImage source = noise(random, QSize(1280, 960));
        QImage output;
        getImageForPath(source, output, 256);
        QCOMPARE(output, source.scaled(320, 240, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                             .scaled(256, 256, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    }

    void pathImageOfANullImageIsNull()
    {
        QImage output = plain(4, 4);
        QVERIFY(getImageForPath(QImage(), output, 256));
        QVERIFY(output.isNull());
    }

    void pathImageIsNullWhenTheReductionIsOff()
    {
        m_pyramidUpdate = false;
        QImage output = plain(4, 4);
        QVERIFY(getImageForPath(plain(1024, 1024), output, 256));
        QVERIFY(output.isNull());
        QVERIFY(rectsFromImage(output, 1).isEmpty());
    }
};

OV3D_TEST_MAIN(ImageReductionTest)
#include "imagereduction_test.moc"
