#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/modelfiles.h"
#include "tests/unit/renderer/modelfolder.h"
#include "tests/unit/renderer/rendererclient.h"

#include <QColor>
#include <QMetaType>
#include <functional>

using ov3d::protocol::Quality;
using ov3d::protocol::RenderSettings;

Q_DECLARE_METATYPE(std::function<void(RenderSettings&)>)

namespace {

const QRgb kKey = qRgb(92, 238, 20);

bool isNearKey(QRgb c)
{
    return qAbs(qRed(c) - 92) <= 2 && qAbs(qGreen(c) - 238) <= 2 && qAbs(qBlue(c) - 20) <= 2;
}

double shareOf(const QImage& image, const std::function<bool(QRgb)>& wanted)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += wanted(image.pixel(x, y)) ? 1 : 0;
    return double(count) / (image.width() * image.height());
}

double shownShare(const QImage& image)
{
    return shareOf(image, [](QRgb c) { return c != kKey; });
}

/// Red and green above blue and white; the white quarter has that alpha.
QImage quarters(int alpha)
{
    QImage image(64, 64, QImage::Format_ARGB32);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            image.setPixelColor(x, y,
                                y < 32   ? QColor(x < 32 ? Qt::red : Qt::green)
                                : x < 32 ? QColor(Qt::blue)
                                         : QColor(255, 255, 255, alpha));
    return image;
}

bool isMostly(const QColor& shown, const QColor& wanted)
{
    // Even a matt surface reflects some of the room's white light.
    const auto fits = [](int is, int should) { return should == 0 ? is < 90 : is > 180; };
    return fits(shown.red(), wanted.red()) && fits(shown.green(), wanted.green()) && fits(shown.blue(), wanted.blue());
}

QPointF centroid(const QImage& image)
{
    QPointF sum;
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != kKey) {
                sum += QPointF(x, y);
                ++count;
            }
    return count > 0 ? sum / count : sum;
}

} // namespace

class RendererPicturesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void smallModelsAreDrawn_data();
    void smallModelsAreDrawn();
    void facesStandWhereTheyBelong();
    void textureStandsUprightOnItsFace();
    void maskedPixelsShowThePage();
    void alphaOfAnOpaqueMaterialMeansNothing();
    void principalPointMovesThePicture();
    void parallelPictureKeepsItsSizeAtAnyDistance();
    void stlStandsWithItsZUpwards();
    void equalRequestsGiveEqualBytes();
    void everyPixelIsKeyOrClearlyNot();
    void outlineCarriesNoGreen();
    void translucentPartsAreOpaqueOverNeutralGrey();
    void otherBackgroundIsOpaqueAndFreeOfKey();
    void sizeBeyondTheFrameMemoryIsRefused();
    void modelsFarAwayAreDrawnLikeThoseAtTheOrigin();

    void tilesTogetherAreTheWholePicture_data();
    void tilesTogetherAreTheWholePicture();
    void tileOutsideItsPictureIsRefused();
    void tilesOfDifferentPicturesDoNotMix();
    void everySettingOfTheSurroundingsChangesThePicture_data();
    void everySettingOfTheSurroundingsChangesThePicture();
    void pictureDoesNotDependOnWhatWasDrawnBefore();
    void skyMakesThePictureOpaque();
    void groundIsOpaqueAndHardOutlined();
    void groundIsNotSeenFromBelow();
    void whitePlasticIsJustBelowWhite();
    void darkWithoutAnyLight();
    void unreadableEnvironmentGivesTheDefaultOne();

private:
    /// A textured square from the front, 200 x 200 pixels.
    QImage drawSquare(const QImage& texture, const QByteArray& alphaMode);

    QScopedPointer<ModelFolder> m_folder;
};

void RendererPicturesTest::init()
{
    TestBase::init();
    m_folder.reset(new ModelFolder);
}

void RendererPicturesTest::cleanup()
{
    m_folder.reset();
    TestBase::cleanup();
}

QImage RendererPicturesTest::drawSquare(const QImage& texture, const QByteArray& alphaMode)
{
    texture.save(m_folder->path("image.png"));
    m_folder->write("square.bin", modelfiles::squareBuffer());
    RendererClient client;
    client.azimuth = client.elevation = 0;
    if (!client.waitUntilReady() || !client.load(m_folder->write("square.gltf", modelfiles::squareGltf(alphaMode))))
        qWarning("%s", qPrintable(client.failure()));
    return client.draw(200, 200);
}

void RendererPicturesTest::smallModelsAreDrawn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("triangles");
    QTest::newRow("OBJ") << "cube.obj" << modelfiles::cubeObj() << 12;
    QTest::newRow("STL") << "floor.stl" << modelfiles::floorStl() << 2;
    QTest::newRow("GLB") << "triangle.glb" << modelfiles::triangleGlb() << 1;
    QTest::newRow("glTF") << "triangle.gltf" << modelfiles::triangleGltf("triangle.bin") << 1;
    QTest::newRow("OBJ of points alone") << "points.obj" << QByteArray("v 0 0 0\nv 1 0 0\nv 0 1 1\n") << 0;
    QTest::newRow("OBJ of lines alone") << "lines.obj" << QByteArray("v 0 0 0\nv 1 0 0\nv 0 1 1\nl 1 2 3 1\n") << 0;
}

void RendererPicturesTest::smallModelsAreDrawn()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QFETCH(int, triangles);
    m_folder->write("triangle.bin", modelfiles::triangleBuffer());
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY2(client.load(m_folder->write(name, bytes)), qPrintable(client.failure()));
    QCOMPARE(static_cast<int>(client.loaded().triangles), triangles);
    const QImage image = client.draw(320, 240);
    QVERIFY2(!image.isNull(), qPrintable(client.failure()));
    QVERIFY(shownShare(image) > (triangles > 0 ? 0.02 : 0.0001));
    QVERIFY(shownShare(image) < 0.9);
    QCOMPARE(image.pixel(0, 0), kKey);
    QCOMPARE(image.pixel(319, 239), kKey);
}

void RendererPicturesTest::facesStandWhereTheyBelong()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY2(client.load(m_folder->writeCube()), qPrintable(client.failure()));
    QVERIFY(qAbs(client.loaded().radius - 0.866025) < 1e-4);
    QCOMPARE(client.loaded().materials, 4U);
    client.azimuth = 40;
    client.elevation = 30;
    const QImage image = client.draw(400, 400);

    const QColor front = image.pixelColor(160, 235);
    QVERIFY(front.red() > 2 * front.green() && front.red() > 2 * front.blue());
    const QColor right = image.pixelColor(255, 235);
    QVERIFY(right.green() > 2 * right.red() && right.green() > 2 * right.blue());
    const QColor top = image.pixelColor(200, 135);
    QVERIFY(top.blue() > 2 * top.red() && top.blue() > 2 * top.green());
}

void RendererPicturesTest::textureStandsUprightOnItsFace()
{
    const QImage image = drawSquare(quarters(255), "OPAQUE");
    QVERIFY(isMostly(image.pixelColor(70, 70), QColor(Qt::red)));
    QVERIFY(isMostly(image.pixelColor(130, 70), QColor(Qt::green)));
    QVERIFY(isMostly(image.pixelColor(70, 130), QColor(Qt::blue)));
}

void RendererPicturesTest::maskedPixelsShowThePage()
{
    const QImage image = drawSquare(quarters(0), "MASK");
    QCOMPARE(image.pixel(130, 130), kKey);
    QVERIFY(isMostly(image.pixelColor(70, 70), QColor(Qt::red)));
}

void RendererPicturesTest::alphaOfAnOpaqueMaterialMeansNothing()
{
    const QImage image = drawSquare(quarters(0), "OPAQUE");
    const QColor corner = image.pixelColor(130, 130);
    QVERIFY2(corner.red() > 200 && corner.green() > 200 && corner.blue() > 200, qPrintable(corner.name()));
}

void RendererPicturesTest::principalPointMovesThePicture()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QPointF middle = centroid(client.draw(400, 200));
    client.centreX = 0.25;
    client.centreY = -0.1;
    const QPointF moved = centroid(client.draw(400, 200)) - middle;
    QVERIFY2(qAbs(moved.x() - 50) < 2 && qAbs(moved.y() + 20) < 2,
             qPrintable(QString("%1, %2").arg(moved.x()).arg(moved.y())));
}

void RendererPicturesTest::parallelPictureKeepsItsSizeAtAnyDistance()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.parallel = true;
    const double share = shownShare(client.draw(200, 150));
    QVERIFY(share > 0.1);
    for (const double distance : {0.01, 0.3, 50.0}) {
        client.distance = distance;
        QVERIFY(qAbs(shownShare(client.draw(200, 150)) - share) < 0.002);
    }
}

void RendererPicturesTest::stlStandsWithItsZUpwards()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY(client.load(m_folder->write("floor.stl", modelfiles::floorStl())));
    QVERIFY(qAbs(client.loaded().box_max[1] - client.loaded().box_min[1]) < 1e-6);
    QVERIFY(qAbs(client.loaded().box_max[2] - 1) < 1e-6);
    client.elevation = 90;
    const double fromAbove = shownShare(client.draw(200, 200));
    client.elevation = 5;
    QVERIFY(fromAbove > 5 * shownShare(client.draw(200, 200)));
}

void RendererPicturesTest::equalRequestsGiveEqualBytes()
{
    const QString path = m_folder->writeCube();
    RendererClient first;
    QVERIFY(first.waitUntilReady() && first.load(path));
    const QByteArray picture = first.drawBytes(333, 222);
    QVERIFY(!picture.isEmpty());
    QVERIFY(!first.draw(64, 64, Quality::draft).isNull());
    QVERIFY(first.drawBytes(333, 222) == picture);
    RendererClient second;
    QVERIFY(second.waitUntilReady() && second.load(path));
    QVERIFY(second.drawBytes(333, 222) == picture);
}

void RendererPicturesTest::everyPixelIsKeyOrClearlyNot()
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

void RendererPicturesTest::outlineCarriesNoGreen()
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

void RendererPicturesTest::translucentPartsAreOpaqueOverNeutralGrey()
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

void RendererPicturesTest::otherBackgroundIsOpaqueAndFreeOfKey()
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

void RendererPicturesTest::sizeBeyondTheFrameMemoryIsRefused()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    QVERIFY(client.draw(1601, 1200).isNull());
    QCOMPARE(client.failure(), QString("the picture's size cannot be drawn"));
    QVERIFY(client.draw(0, 10).isNull());
    QVERIFY(client.draw(10, -5).isNull());
    QVERIFY(!client.draw(1600, 1200, Quality::draft).isNull());
}

void RendererPicturesTest::modelsFarAwayAreDrawnLikeThoseAtTheOrigin()
{
    // A cube of 4096 units at a distance at which floats still tell its corners apart, but not much more.
    QByteArray far;
    for (const QByteArray& line : modelfiles::cubeObj().split('\n')) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.first() != "v") {
            far += line + "\n";
            continue;
        }
        far += "v";
        for (int i = 1; i < 4; ++i)
            far += " " + QByteArray::number(parts[i].toDouble() * 4096 + (1 << 26), 'f', 1);
        far += "\n";
    }
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QImage near = client.draw(200, 150);
    QVERIFY(client.load(m_folder->write("far.obj", far)));
    QVERIFY(qAbs(client.loaded().centre[0] - (1 << 26)) < 1);
    const QImage image = client.draw(200, 150);
    int different = 0;
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x)
            different += near.pixel(x, y) != image.pixel(x, y) ? 1 : 0;
    QVERIFY2(different < 100, qPrintable(QString::number(different)));
}

void RendererPicturesTest::tilesTogetherAreTheWholePicture_data()
{
    QTest::addColumn<QSize>("tile");
    QTest::addColumn<bool>("surroundings");
    QTest::newRow("even tiles") << QSize(80, 60) << false;
    QTest::newRow("tiles that do not divide the picture") << QSize(77, 101) << false;
    QTest::newRow("with ground and axes") << QSize(77, 101) << true;
    QTest::newRow("strips") << QSize(320, 7) << true;
}

void RendererPicturesTest::tilesTogetherAreTheWholePicture()
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

void RendererPicturesTest::tileOutsideItsPictureIsRefused()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.tile = {300, 0, 320, 240};
    QVERIFY(client.draw(21, 10).isNull());
    QCOMPARE(client.failure(), QString("the picture's size cannot be drawn"));
    QVERIFY(!client.draw(20, 10).isNull());
}

void RendererPicturesTest::tilesOfDifferentPicturesDoNotMix()
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

void RendererPicturesTest::everySettingOfTheSurroundingsChangesThePicture_data()
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

void RendererPicturesTest::everySettingOfTheSurroundingsChangesThePicture()
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

void RendererPicturesTest::pictureDoesNotDependOnWhatWasDrawnBefore()
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

void RendererPicturesTest::skyMakesThePictureOpaque()
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

void RendererPicturesTest::groundIsOpaqueAndHardOutlined()
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

void RendererPicturesTest::groundIsNotSeenFromBelow()
{
    RenderSettings settings;
    settings.enable_ground = true;
    RendererClient client;
    client.elevation = -30;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const double without = shownShare(client.draw(320, 240));
    QVERIFY(qAbs(shownShare(client.draw(320, 240, Quality::final, settings)) - without) < 0.002);
}

void RendererPicturesTest::whitePlasticIsJustBelowWhite()
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

void RendererPicturesTest::darkWithoutAnyLight()
{
    RenderSettings settings;
    settings.sun_enabled = settings.ibl_enabled = false;
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    const QImage image = client.draw(160, 120, Quality::final, settings);
    QVERIFY(shownShare(image) > 0.1);
    QCOMPARE(shareOf(image, [](QRgb c) { return c != kKey && qGray(c) > 2; }), 0.0);
}

void RendererPicturesTest::unreadableEnvironmentGivesTheDefaultOne()
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

OV3D_TEST_MAIN(RendererPicturesTest)
#include "tst_pictures.moc"
