#include "tests/support/testmain.h"
#include "tests/unit/renderer/picturechecks.h"
#include "tests/unit/renderer/surfacetestbase.h"

#include <QFile>

using namespace picturechecks;
using ov3d::protocol::RenderSettings;

class TranslucencyTest : public SurfaceTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void glassCoversWhatPlasticCovers();
    void glassIsTheSameInWhateverOrderItsFacesStand();
    void redGlassIsRedOnAnyPage();
    void translucencyOfAFileIsSeenOverGrey();
    void translucentColoursOfVerticesCountOnce();
    void oneSidedTranslucencyIsSeenFromTheFrontAlone();
};

void TranslucencyTest::glassCoversWhatPlasticCovers()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    for (const double sun : {140000.0, 1400000.0}) {
        RenderSettings plastic = with(0, 2);
        RenderSettings glass = with(0, 3);
        plastic.sun_intensity = glass.sun_intensity = sun;
        // Where glass shines it is solid, and where it is clear the far side is.
        QCOMPARE(shownPixels(draw(glass)), shownPixels(draw(plastic)));
    }
}

void TranslucencyTest::glassIsTheSameInWhateverOrderItsFacesStand()
{
    // Two sheets one behind the other, both seen from their fronts.
    const QByteArray points = "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n";
    const QByteArray behind = "f 1 2 3 4\n";
    const QByteArray before = "f 5 6 7 8\n";
    QVERIFY(m_client->load(m_folder->write("before.obj", points + before + behind)));
    const QImage nearestFirst = draw(with(0, 3));
    QVERIFY(m_client->load(m_folder->write("behind.obj", points + behind + before)));
    QCOMPARE(difference(draw(with(0, 3)), nearestFirst), 0);
    QCOMPARE(shownPixels(nearestFirst), shownPixels(draw(with(0, 2))));
    const QColor seen = nearestFirst.pixelColor(60, 60);
    QVERIFY2(seen.red() > seen.green() + 30, qPrintable(seen.name()));
}

void TranslucencyTest::redGlassIsRedOnAnyPage()
{
    QVERIFY(loadBall("Kd 1 1 1"));
    RenderSettings glass = with(0, 3);
    glass.material_color[0] = 0.9f;
    glass.material_color[1] = glass.material_color[2] = 0.05f;
    // The picture holds no page: what is opaque and red in it is red on all of them.
    const QImage keyed = draw(glass);
    const int covered = shownPixels(keyed);
    const int solid = shownPixels(draw());
    QVERIFY2(covered <= solid && covered * 100 > solid * 99, qPrintable(QString("%1 of %2").arg(covered).arg(solid)));
    for (const QPoint& at : {QPoint(60, 60), QPoint(45, 70), QPoint(75, 50)}) {
        const QColor seen = keyed.pixelColor(at);
        QVERIFY2(seen.red() > seen.green() + 50 && seen.red() > seen.blue() + 50, qPrintable(seen.name()));
    }
    glass.bg_color[0] = glass.bg_color[1] = glass.bg_color[2] = 1.0f;
    const QColor onWhite = draw(glass).pixelColor(60, 60);
    QVERIFY2(onWhite.red() > onWhite.green() + 30, qPrintable(onWhite.name()));
}

void TranslucencyTest::translucencyOfAFileIsSeenOverGrey()
{
    const QByteArray pane = R"({"alphaMode":"BLEND","pbrMetallicRoughness":{"baseColorFactor":[0,0,0,0.5],
        "metallicFactor":0,"roughnessFactor":1}})";
    const QColor seen = middleOf(pane, {});
    const QColor solid = middleOf(R"({"pbrMetallicRoughness":{"baseColorFactor":[0,0,0,0.5],"metallicFactor":0,
        "roughnessFactor":0.99}})",
                                  {});
    const int expected = (brightness(solid) + 128) / 2;
    QVERIFY2(qAbs(brightness(seen) - expected) < 6, qPrintable(text(seen, solid)));
}

void TranslucencyTest::translucentColoursOfVerticesCountOnce()
{
    // A square with a half-transparent material, once with and once without white vertex colours.
    const QByteArray material = R"({"alphaMode":"BLEND","pbrMetallicRoughness":{"baseColorFactor":[1,0,0,0.5],
        "metallicFactor":0},"extensions":{"KHR_materials_unlit":{}}})";
    const QColor plainSquare = drawSquare(material, {}, {}, "KHR_materials_unlit").pixelColor(60, 60);
    QVERIFY(distance(plainSquare, QColor(191, 64, 64)) <= 3);
    QFile file(m_folder->path("square.gltf"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray json = file.readAll();
    json.replace("\"TEXCOORD_0\":1}", "\"TEXCOORD_0\":1,\"COLOR_0\":3}");
    json.replace("\"type\":\"SCALAR\"}]", "\"type\":\"SCALAR\"},{\"bufferView\":3,\"componentType\":5126,\"count\":4,"
                                          "\"type\":\"VEC4\"}]");
    json.replace("\"byteOffset\":80,\"byteLength\":12}", "\"byteOffset\":80,\"byteLength\":12},{\"buffer\":0,"
                                                         "\"byteOffset\":92,\"byteLength\":64}");
    json.replace("\"byteLength\":92}]", "\"byteLength\":156}]");
    const float one = 1.0f;
    QByteArray ones;
    for (int i = 0; i < 16; ++i)
        ones.append(reinterpret_cast<const char*>(&one), 4);
    m_folder->write("square.bin", modelfiles::squareBuffer() + ones);
    QVERIFY2(m_client->load(m_folder->write("colours.gltf", json)), qPrintable(m_client->failure()));
    const QColor coloured = draw().pixelColor(60, 60);
    QVERIFY2(distance(coloured, plainSquare) <= 3, qPrintable(text(coloured, plainSquare)));
}

void TranslucencyTest::oneSidedTranslucencyIsSeenFromTheFrontAlone()
{
    const QByteArray pane = R"("alphaMode":"BLEND","pbrMetallicRoughness":{"baseColorFactor":[1,0,0,0.5],
        "metallicFactor":0})";
    const int front = shownPixels(drawSquare("{" + pane + "}", {}));
    QVERIFY(front > 1000);
    m_client->azimuth = 180;
    QCOMPARE(shownPixels(draw()), 0);
    QCOMPARE(shownPixels(drawSquare("{\"doubleSided\":true," + pane + "}", {})), front);
}

OV3D_TEST_MAIN(TranslucencyTest)
#include "tst_translucency.moc"
