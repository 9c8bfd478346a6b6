#include "tests/support/testmain.h"
#include "tests/unit/renderer/picturechecks.h"
#include "tests/unit/renderer/surfacetestbase.h"

using namespace picturechecks;
using ov3d::protocol::Quality;
using ov3d::protocol::RenderSettings;
using surfacefiles::halves;
using surfacefiles::plain;

class ShadingTest : public SurfaceTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void rawModeShowsTheFilesColours();
    void rawModeDoesNotMixTexels();
    void unlitShowsTheColourFromEverySide();
    void normalsTellWhereASurfaceFaces();
    void depthFallsFromFrontToBack();
    void clayHidesTextures();
    void presetsAreToldApart();
    void plasticTakesTheSettingsColour();
    void settingsChangeThePictureAndBack();
    void valuesThatAreNoneChangeNothing();
    void cutOutKeepsItsShapeUnderEveryMaterial();
    void pointsAreRoundAndSized();
    void wireframeShowsThrough();
    void noPixelComesNearTheKey();
};

void ShadingTest::rawModeShowsTheFilesColours()
{
    const QColor brown(150, 90, 40);
    const QByteArray textured = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0.5}})";
    QVERIFY(distance(middleOf(textured, {plain(brown)}, raw()), brown) <= 1);
    QVERIFY(m_client->load(surfacefiles::writeObjSquare(*m_folder, "Kd 0.588 0.353 0.157")));
    QVERIFY(distance(draw(raw()).pixelColor(60, 60), brown) <= 1);
}

void ShadingTest::rawModeDoesNotMixTexels()
{
    QImage texture(2, 1, QImage::Format_RGB32);
    texture.setPixelColor(0, 0, Qt::red);
    texture.setPixelColor(1, 0, Qt::blue);
    const QByteArray material = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0}})";
    const QImage sharp = drawSquare(material, {texture}, raw());
    QVERIFY(distance(sharp.pixelColor(54, 60), Qt::red) <= 1);
    QVERIFY(distance(sharp.pixelColor(66, 60), Qt::blue) <= 1);
    const QColor mixed = drawSquare(material, {texture}, with(1)).pixelColor(60, 60);
    QVERIFY2(mixed.red() > 60 && mixed.blue() > 60, qPrintable(mixed.name()));
}

void ShadingTest::unlitShowsTheColourFromEverySide()
{
    QVERIFY(loadBall("Kd 0.8 0.4 0.2"));
    const QImage image = draw(with(1));
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 120; ++x)
            QVERIFY(image.pixel(x, y) == kKey || distance(image.pixelColor(x, y), QColor(204, 102, 51)) <= 1);
    QVERIFY(shownPixels(image) > 2000);
    QVERIFY(difference(draw(), image) > 20);
}

void ShadingTest::normalsTellWhereASurfaceFaces()
{
    QVERIFY(loadBall("Kd 1 0 0"));
    const QImage image = draw(with(2));
    QVERIFY(distance(image.pixelColor(60, 60), QColor(128, 128, 255)) <= 6);
    const QColor left = image.pixelColor(35, 60);
    const QColor right = image.pixelColor(85, 60);
    const QColor top = image.pixelColor(60, 35);
    const QColor bottom = image.pixelColor(60, 85);
    QVERIFY2(left.red() < 90 && right.red() > 165, qPrintable(text(left, right)));
    QVERIFY2(top.green() > 165 && bottom.green() < 90, qPrintable(text(top, bottom)));
}

void ShadingTest::depthFallsFromFrontToBack()
{
    QVERIFY(loadBall("Kd 1 0 0"));
    const QImage image = draw(with(3));
    const QColor front = image.pixelColor(60, 60);
    const QColor side = image.pixelColor(16, 60);
    QVERIFY2(brightness(front) > 220 && brightness(side) < brightness(front) - 15, qPrintable(text(front, side)));
    QCOMPARE(front.saturation(), 0);
}

void ShadingTest::clayHidesTextures()
{
    const QByteArray material = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":1,
        "roughnessFactor":0.2}})";
    const QImage image = drawSquare(material, {halves(Qt::red, Qt::blue)}, with(4));
    const QColor left = image.pixelColor(40, 60);
    const QColor right = image.pixelColor(80, 60);
    QVERIFY2(distance(left, right) < 25, qPrintable(text(left, right)));
    QVERIFY2(left.red() > left.blue() && left.saturation() < 130, qPrintable(left.name()));
}

void ShadingTest::presetsAreToldApart()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    QList<QImage> pictures{draw()};
    for (int preset = 0; preset < 6; ++preset) {
        const QImage picture = draw(with(0, preset));
        for (const QImage& other : pictures)
            QVERIFY2(difference(picture, other) > 40, qPrintable(QString::number(preset)));
        pictures << picture;
    }
    const QColor brass = pictures[1].pixelColor(60, 60);
    QVERIFY2(brass.red() > brass.blue() + 20, qPrintable(brass.name()));
    const QColor chrome = pictures[2].pixelColor(60, 60);
    QVERIFY2(chrome.saturation() < 40, qPrintable(chrome.name()));
}

void ShadingTest::plasticTakesTheSettingsColour()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    RenderSettings settings = with(0, 2);
    const QColor red = draw(settings).pixelColor(60, 60);
    QVERIFY2(red.red() > red.green() + 60, qPrintable(red.name()));
    settings.material_color[0] = 0.1f;
    settings.material_color[1] = 0.2f;
    settings.material_color[2] = 0.9f;
    const QColor blue = draw(settings).pixelColor(60, 60);
    QVERIFY2(blue.blue() > blue.red() + 60, qPrintable(blue.name()));
}

void ShadingTest::settingsChangeThePictureAndBack()
{
    const QString path = surfacefiles::writeSquare(*m_folder, R"({"pbrMetallicRoughness":{"baseColorTexture":
        {"index":0},"metallicFactor":0}})",
                                                   {halves(Qt::red, Qt::yellow)});
    QVERIFY(m_client->load(path));
    const QImage before = draw();
    for (const RenderSettings& settings :
         {with(1), with(2), with(3), with(4), with(0, 0), with(0, 3), with(0, 4), raw()}) {
        QVERIFY(difference(draw(settings), before) > 10);
        QCOMPARE(difference(draw(), before), 0);
    }
}

void ShadingTest::valuesThatAreNoneChangeNothing()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    const QImage before = draw();
    for (const RenderSettings& settings : {with(-7), with(5), with(1 << 30), with(0, -1), with(0, 7), with(0, 1 << 30)})
        QCOMPARE(difference(draw(settings), before), 0);
}

void ShadingTest::cutOutKeepsItsShapeUnderEveryMaterial()
{
    const QString path = surfacefiles::writeSquare(*m_folder, R"({"alphaMode":"MASK","pbrMetallicRoughness":
        {"baseColorTexture":{"index":0},"metallicFactor":0}})",
                                                   {halves(QColor(200, 40, 40), QColor(200, 40, 40, 0))});
    QVERIFY(m_client->load(path));
    for (const RenderSettings& settings :
         {with(0), with(1), with(2), with(3), with(4), with(0, 2), with(0, 3), raw()}) {
        const QImage image = draw(settings);
        QVERIFY(image.pixel(45, 60) != kKey);
        QCOMPARE(image.pixel(80, 60), kKey);
    }
}

void ShadingTest::pointsAreRoundAndSized()
{
    QVERIFY(m_client->load(m_folder->write("points.obj", "v -1 -1 0\nv 1 1 0\n")));
    RenderSettings settings;
    settings.point_size = 5;
    const int area = shownPixels(draw(settings));
    // Two discs of 20 pixels; a pixel more on each side of every run.
    QVERIFY2(area > 2 * 314 && area < 2 * 385, qPrintable(QString::number(area)));
    settings.point_size = 10;
    QVERIFY(shownPixels(draw(settings)) > 3 * area);
    RenderSettings three;
    settings.point_size = 0;
    QCOMPARE(difference(draw(settings), draw(three)), 0);
}

void ShadingTest::wireframeShowsThrough()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    const QImage whole = m_client->draw(400, 400);
    for (const RenderSettings& look : {with(0), with(1), with(2), with(3), with(0, 1), with(0, 3), with(0, 4), raw()}) {
        RenderSettings settings = look;
        settings.wireframe = true;
        const int shown = shownPixels(m_client->draw(400, 400, Quality::final, settings));
        QVERIFY2(shown > 2000 && shown * 10 < shownPixels(whole) * 9, qPrintable(QString::number(shown)));
    }
}

void ShadingTest::noPixelComesNearTheKey()
{
    QVERIFY(loadBall("Kd 0.36 0.933 0.078"));
    for (int shading = 0; shading < 5; ++shading)
        for (int preset = 0; preset < 7; ++preset) {
            RenderSettings settings = with(shading, preset);
            settings.material_color[0] = 0.36f;
            settings.material_color[1] = 0.933f;
            settings.material_color[2] = 0.078f;
            const QImage image = draw(settings);
            QCOMPARE(pixelsNearKey(image), 0);
            QVERIFY(shownPixels(image) > 2000);
        }
    QCOMPARE(pixelsNearKey(draw(raw())), 0);
}

OV3D_TEST_MAIN(ShadingTest)
#include "tst_shading.moc"
