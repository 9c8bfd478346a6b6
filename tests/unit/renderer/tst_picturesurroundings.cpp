#include "tests/support/testmain.h"
#include "tests/unit/renderer/picturechecks.h"
#include "tests/unit/renderer/picturetestbase.h"
#include "tests/unit/renderer/rendererclient.h"

#include <QMetaType>
#include <functional>

using namespace picturechecks;
using ov3d::protocol::Quality;
using ov3d::protocol::RenderSettings;

Q_DECLARE_METATYPE(std::function<void(RenderSettings&)>)

class RendererPictureSurroundingsTest : public PictureTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void everySettingOfTheSurroundingsChangesThePicture_data();
    void everySettingOfTheSurroundingsChangesThePicture();
    void pictureDoesNotDependOnWhatWasDrawnBefore();
    void skyMakesThePictureOpaque();
    void groundIsOpaqueAndHardOutlined();
    void groundIsNotSeenFromBelow();
    void whitePlasticIsJustBelowWhite();
    void darkWithoutAnyLight();
    void unreadableEnvironmentGivesTheDefaultOne();
};

void RendererPictureSurroundingsTest::everySettingOfTheSurroundingsChangesThePicture_data()
{
    QTest::addColumn<std::function<void(RenderSettings&)>>("change");
    const auto row = [](const char* name, std::function<void(RenderSettings&)> change) {
        QTest::newRow(name) << change;
    };
    row("enable_sky", [](RenderSettings& s) { s.enable_sky = true; });
    row("enable_ground", [](RenderSettings& s) { s.enable_ground = true; });
    row("enable_axis", [](RenderSettings& s) { s.enable_axis = true; });
    row("bg_color", [](RenderSettings& s) { s.bg_color[0] = 0.9f; });
    row("hdr_map off", [](RenderSettings& s) { s.hdr_map = false; });
    for (const int type : {0, 1, 3, 4, 5})
        row(qPrintable(QString("hdr_map_type %1").arg(type)), [type](RenderSettings& s) { s.hdr_map_type = type; });
    row("use_default_ibl off", [](RenderSettings& s) {
        s.hdr_map_type = 3;
        s.use_default_ibl = false;
    });
    row("ibl_enabled off", [](RenderSettings& s) { s.ibl_enabled = false; });
    row("ibl_intensity", [](RenderSettings& s) { s.ibl_intensity = 20000; });
    row("sun_enabled off", [](RenderSettings& s) { s.sun_enabled = false; });
    row("sun_intensity", [](RenderSettings& s) { s.sun_intensity = 60000; });
    row("sun_color", [](RenderSettings& s) { s.sun_color[2] = 0.2f; });
    row("sun_follow off", [](RenderSettings& s) { s.sun_follow = false; });
    for (const int profile : {1, 2, 3, 4, 5})
        row(qPrintable(QString("light_profile %1").arg(profile)),
            [profile](RenderSettings& s) { s.light_profile = profile; });
}

void RendererPictureSurroundingsTest::everySettingOfTheSurroundingsChangesThePicture()
{
    QFETCH(std::function<void(RenderSettings&)>, change);
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.azimuth = 50;
    const QImage plain = client.draw(160, 120);
    RenderSettings settings;
    change(settings);
    const QImage changed = client.draw(160, 120, Quality::final, settings);
    QVERIFY2(!changed.isNull(), qPrintable(client.failure()));
    int different = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            different += plain.pixel(x, y) != changed.pixel(x, y) ? 1 : 0;
    QVERIFY2(different > 100, qPrintable(QString::number(different)));
    QCOMPARE(shareOf(changed, [](QRgb c) { return isNearKey(c) && c != kKey; }), 0.0);
    QVERIFY(client.draw(160, 120) == plain);
}

void RendererPictureSurroundingsTest::pictureDoesNotDependOnWhatWasDrawnBefore()
{
    const QString path = m_folder->writeCube();
    RenderSettings settings;
    settings.hdr_map_type = 4;
    settings.use_default_ibl = false;
    settings.enable_ground = true;
    RendererClient fresh;
    QVERIFY(fresh.waitUntilReady() && fresh.load(path));
    const QImage wanted = fresh.draw(200, 150, Quality::final, settings);
    QVERIFY(!wanted.isNull());

    RendererClient used;
    QVERIFY(used.waitUntilReady() && used.load(path));
    RenderSettings other;
    other.enable_sky = other.enable_axis = true;
    other.hdr_map_type = 5;
    other.ibl_intensity = 90000;
    QVERIFY(!used.draw(64, 64, Quality::draft, other).isNull());
    used.tile = {10, 10, 300, 200};
    QVERIFY(!used.draw(50, 50, Quality::final, other).isNull());
    used.tile = {};
    QVERIFY(used.draw(200, 150, Quality::final, settings) == wanted);
}

void RendererPictureSurroundingsTest::skyMakesThePictureOpaque()
{
    RenderSettings settings;
    settings.enable_sky = true;
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    for (int type = 0; type < 6; ++type) {
        settings.hdr_map_type = type;
        const QImage image = client.draw(160, 120, Quality::final, settings);
        QCOMPARE(shareOf(image, isNearKey), 0.0);
    }
}

void RendererPictureSurroundingsTest::groundIsOpaqueAndHardOutlined()
{
    RenderSettings settings;
    settings.enable_ground = true;
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QImage without = client.draw(320, 240);
    const QImage with = client.draw(320, 240, Quality::final, settings);
    QVERIFY(shownShare(with) > shownShare(without) + 0.03);
    QCOMPARE(with.pixel(0, 0), kKey);
    // What the ground adds is grey, so that it suits every page.
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 320; ++x)
            if (without.pixel(x, y) == kKey && with.pixel(x, y) != kKey) {
                const QRgb c = with.pixel(x, y);
                QVERIFY(qAbs(qRed(c) - qGreen(c)) < 6 && qAbs(qGreen(c) - qBlue(c)) < 6);
            }
}

void RendererPictureSurroundingsTest::groundIsNotSeenFromBelow()
{
    RenderSettings settings;
    settings.enable_ground = true;
    RendererClient client;
    client.elevation = -30;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const double without = shownShare(client.draw(320, 240));
    QVERIFY(qAbs(shownShare(client.draw(320, 240, Quality::final, settings)) - without) < 0.002);
}

void RendererPictureSurroundingsTest::whitePlasticIsJustBelowWhite()
{
    m_folder->write("colours.mtl", "newmtl front\nKd 0.95 0.95 0.95\nnewmtl right\nKd 0.95 0.95 0.95\n"
                                   "newmtl top\nKd 0.95 0.95 0.95\nnewmtl rest\nKd 0.95 0.95 0.95\n");
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->write("cube.obj", modelfiles::cubeObj())));
    int brightest = 0;
    const QImage image = client.draw(160, 120);
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            if (image.pixel(x, y) != kKey)
                brightest = qMax(brightest, qGray(image.pixel(x, y)));
    QVERIFY2(brightest > 220 && brightest < 253, qPrintable(QString::number(brightest)));
}

void RendererPictureSurroundingsTest::darkWithoutAnyLight()
{
    RenderSettings settings;
    settings.sun_enabled = settings.ibl_enabled = false;
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QImage image = client.draw(160, 120, Quality::final, settings);
    QVERIFY(shownShare(image) > 0.1);
    QCOMPARE(shareOf(image, [](QRgb c) { return c != kKey && qGray(c) > 2; }), 0.0);
}

void RendererPictureSurroundingsTest::unreadableEnvironmentGivesTheDefaultOne()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QImage plain = client.draw(160, 120);
    RenderSettings settings;
    settings.hdr_path = m_folder->path("missing.hdr").toStdString();
    QVERIFY(client.draw(160, 120, Quality::final, settings) == plain);
    QByteArray red = "#?RADIANCE\n\n-Y 4 +X 8\n";
    red += QByteArray("\x80\x10\x10\x80", 4).repeated(32);
    settings.hdr_path = m_folder->write("red.hdr", red).toStdString();
    settings.use_default_ibl = false;
    QVERIFY(client.draw(160, 120, Quality::final, settings) != plain);
}

OV3D_TEST_MAIN(RendererPictureSurroundingsTest)
#include "tst_picturesurroundings.moc"
