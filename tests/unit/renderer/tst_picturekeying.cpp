#include "tests/support/testmain.h"
#include "tests/unit/renderer/picturechecks.h"
#include "tests/unit/renderer/picturetestbase.h"
#include "tests/unit/renderer/rendererclient.h"

#include <QColor>

using namespace picturechecks;
using ov3d::protocol::Quality;
using ov3d::protocol::RenderSettings;

class RendererPictureKeyingTest : public PictureTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void everyPixelIsKeyOrClearlyNot();
    void outlineCarriesNoGreen();
    void translucentPartsAreOpaqueOverNeutralGrey();
    void otherBackgroundIsOpaqueAndFreeOfKey();
};

void RendererPictureKeyingTest::everyPixelIsKeyOrClearlyNot()
{
    // A model of the key's own colour.
    m_folder->write("colours.mtl", "newmtl front\nKd 0.36 0.933 0.078\nnewmtl right\nKd 0.36 0.933 0.078\n"
                                   "newmtl top\nKd 0.36 0.933 0.078\nnewmtl rest\nKd 0.36 0.933 0.078\n");
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->write("cube.obj", modelfiles::cubeObj())));
    for (const Quality quality : {Quality::draft, Quality::final})
        for (int azimuth = 0; azimuth < 90; azimuth += 15) {
            client.azimuth = azimuth;
            const QImage image = client.draw(160, 120, quality);
            QCOMPARE(shareOf(image, [](QRgb c) { return isNearKey(c) && c != kKey; }), 0.0);
            QVERIFY(shownShare(image) > 0.1);
        }
}

void RendererPictureKeyingTest::outlineCarriesNoGreen()
{
    m_folder->write("colours.mtl",
                    "newmtl front\nKd 0.9 0.1 0.1\nnewmtl right\nKd 0.9 0.1 0.1\nnewmtl top\nKd 0.9 0.1 0.1\n"
                    "newmtl rest\nKd 0.9 0.1 0.1\n");
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->write("cube.obj", modelfiles::cubeObj())));
    for (int azimuth = 0; azimuth < 180; azimuth += 20) {
        client.azimuth = azimuth;
        const QImage image = client.draw(200, 150);
        QCOMPARE(shareOf(image, [](QRgb c) { return c != kKey && qGreen(c) > qRed(c) / 2 + 8; }), 0.0);
    }
}

void RendererPictureKeyingTest::translucentPartsAreOpaqueOverNeutralGrey()
{
    RendererClient client;
    client.azimuth = client.elevation = 0;
    QVERIFY(client.waitUntilReady());
    m_folder->write("pane.mtl", modelfiles::paneMtl(1.0));
    QVERIFY(client.load(m_folder->write("pane.obj", modelfiles::paneObj())));
    const QColor solid = client.draw(200, 200).pixelColor(100, 100);
    m_folder->write("pane.mtl", modelfiles::paneMtl(0.25));
    QVERIFY(client.load(m_folder->write("pane.obj", modelfiles::paneObj())));
    const QColor pane = client.draw(200, 200).pixelColor(100, 100);
    const auto mixed = [](int of) { return 0.25 * of + 0.75 * 127.5; };
    QVERIFY2(qAbs(pane.red() - mixed(solid.red())) < 3, qPrintable(pane.name() + " of " + solid.name()));
    QVERIFY(qAbs(pane.green() - mixed(solid.green())) < 3);
    QVERIFY(qAbs(pane.blue() - mixed(solid.blue())) < 3);
}

void RendererPictureKeyingTest::otherBackgroundIsOpaqueAndFreeOfKey()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    RenderSettings settings;
    settings.bg_color[0] = 1.0f;
    settings.bg_color[1] = 0.5f;
    settings.bg_color[2] = 0.0f;
    QCOMPARE(QColor(client.draw(100, 100, Quality::final, settings).pixel(0, 0)), QColor(255, 128, 0));
    settings.bg_color[0] = 92 / 255.0f;
    settings.bg_color[1] = 238 / 255.0f;
    settings.bg_color[2] = 20 / 255.0f;
    const QImage image = client.draw(100, 100, Quality::final, settings);
    QCOMPARE(shareOf(image, isNearKey), 0.0);
}

OV3D_TEST_MAIN(RendererPictureKeyingTest)
#include "tst_picturekeying.moc"
