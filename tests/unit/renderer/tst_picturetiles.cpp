#include "tests/support/testmain.h"
#include "tests/unit/renderer/picturetestbase.h"
#include "tests/unit/renderer/rendererclient.h"

using ov3d::protocol::Quality;
using ov3d::protocol::RenderSettings;

class RendererPictureTilesTest : public PictureTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void tilesTogetherAreTheWholePicture_data();
    void tilesTogetherAreTheWholePicture();
    void tileOutsideItsPictureIsRefused();
    void tilesOfDifferentPicturesDoNotMix();
};

void RendererPictureTilesTest::tilesTogetherAreTheWholePicture_data()
{
    QTest::addColumn<QSize>("tile");
    QTest::addColumn<bool>("surroundings");
    QTest::newRow("even tiles") << QSize(80, 60) << false;
    QTest::newRow("tiles that do not divide the picture") << QSize(77, 101) << false;
    QTest::newRow("with ground and axes") << QSize(77, 101) << true;
    QTest::newRow("strips") << QSize(320, 7) << true;
}

void RendererPictureTilesTest::tilesTogetherAreTheWholePicture()
{
    QFETCH(QSize, tile);
    QFETCH(bool, surroundings);
    RenderSettings settings;
    settings.enable_ground = settings.enable_axis = surroundings;
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.centreX = 0.1;
    const QImage whole = client.draw(320, 240, Quality::final, settings);
    QVERIFY(!whole.isNull());
    for (int top = 0; top < 240; top += tile.height())
        for (int left = 0; left < 320; left += tile.width()) {
            const QRect place = QRect(QPoint(left, top), tile) & whole.rect();
            client.tile = {left, top, 320, 240};
            const QImage part = client.draw(place.width(), place.height(), Quality::final, settings);
            QVERIFY2(part == whole.copy(place), qPrintable(QString("at %1, %2").arg(left).arg(top)));
        }
}

void RendererPictureTilesTest::tileOutsideItsPictureIsRefused()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.tile = {300, 0, 320, 240};
    QVERIFY(client.draw(21, 10).isNull());
    QCOMPARE(client.failure(), QString("the picture's size cannot be drawn"));
    QVERIFY(!client.draw(20, 10).isNull());
}

void RendererPictureTilesTest::tilesOfDifferentPicturesDoNotMix()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.tile = {100, 80, 320, 240};
    const QImage first = client.draw(60, 50);
    client.azimuth += 20;
    const QImage turned = client.draw(60, 50);
    QVERIFY(turned != first);
    RenderSettings settings;
    settings.sun_enabled = false;
    QVERIFY(client.draw(60, 50, Quality::final, settings) != turned);
    client.azimuth -= 20;
    QVERIFY(client.draw(60, 50) == first);
    QVERIFY2(client.load(m_folder->write("floor.stl", modelfiles::floorStl())), qPrintable(client.failure()));
    QVERIFY(client.draw(60, 50) != first);
}

OV3D_TEST_MAIN(RendererPictureTilesTest)
#include "tst_picturetiles.moc"
