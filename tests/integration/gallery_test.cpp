#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

/// Compares pictures of the sample models with those kept in tests/integration/gallery-references.
///
/// Tolerance: drivers round differently, and move edges by a fraction of a pixel. So a pixel counts as different when a
/// component (alpha included) differs by more than kTolerance of 255; up to kDifferentShare of the pixels may, and the
/// mean difference of all components must stay below kMeanDifference. A change that an eye sees passes none of these: a
/// lamp that is a tenth weaker moves the mean by more than that.
///
/// With OV3D_WRITE_REFERENCES set the pictures are written in place of being compared. Look at them before keeping
/// them.
namespace {

constexpr int kTolerance = 20;
constexpr double kDifferentShare = 0.015;
constexpr double kMeanDifference = 1.5;

struct Case
{
    QString name;
    QString model;
    QStringList settings;
};

QList<Case> cases()
{
    QList<Case> all;
    const auto row = [&all](const QString& name, const char* model, const QStringList& settings) {
        all.append({name, model, settings});
    };
    row("default", "sample.glb", {});
    row("texture", "textured.glb", {});
    row("plain-stl", "cube.stl", {});
    row("back", "sample.glb", {"view_type=2"});
    row("top", "sample.glb", {"view_type=6"});
    row("ground", "textured.glb", {"enable_ground=on"});
    row("axis", "sample.glb", {"enable_axis=on"});
    row("background", "sample.glb", {"bg_color=0.15,0.25,0.45"});
    row("everything", "sample.glb", {"enable_sky=on", "enable_ground=on", "enable_axis=on", "hdr_map_type=4"});
    const char* const skies[] = {"soft-box", "bright-day", "studio", "sunset", "hall", "night"};
    for (int i = 0; i < 6; ++i)
        row(QString("sky-%1").arg(skies[i]), "sample.glb",
            {"enable_sky=on", "use_default_ibl=off", QString("hdr_map_type=%1").arg(i)});
    row("even-light", "sample.glb", {"hdr_map=off"});
    row("sun-alone", "textured.glb", {"ibl_enabled=off"});
    row("environment-alone", "textured.glb", {"sun_enabled=off"});
    row("sun-from-the-left", "sample.glb", {"sun_dir=1,-0.3,-0.4", "sun_color=1,0.45,0.15"});
    row("chrome", "sample.glb", {"material_type_b=1"});
    row("glass", "sample.glb", {"material_type_b=3"});
    for (int i = 1; i < 6; ++i)
        row(QString("profile-%1").arg(i), "sample.glb", {QString("light_profile=%1").arg(i)});
    for (int i = 1; i < 5; ++i)
        row(QString("shading-%1").arg(i), "sample.glb", {QString("material_type_a=%1").arg(i)});
    const int presets[] = {0, 2, 4, 5}; // chrome and glass stand above
    for (const int preset : presets)
        row(QString("material-%1").arg(preset), "sample.glb", {QString("material_type_b=%1").arg(preset)});
    row("material-colour", "sample.glb", {"material_type_b=2", "material_color=0.15,0.55,0.8"});
    row("raw", "sample.glb", {"raw_mode=on"});
    row("wireframe", "textured.glb", {"wireframe=on"});
    row("dim-environment", "sample.glb", {"ibl_intensity=15000"});
    row("sun-stays", "sample.glb", {"view_type=2", "sun_follow=off", "ibl_intensity=12000"});
    row("surfaces", "surfaces.glb", {});
    row("surfaces-at-sunset", "surfaces.glb", {"hdr_map_type=3", "use_default_ibl=off"});
    row("metals", "materials.glb", {});
    return all;
}

struct Difference
{
    double share = 0;
    double mean = 0;
    QImage picture; ///< brighter where the difference is larger
};

Difference differenceOf(const QImage& a, const QImage& b)
{
    Difference difference;
    difference.picture = QImage(a.size(), QImage::Format_RGB32);
    qint64 sum = 0;
    int different = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            const int parts[] = {qAbs(qRed(p) - qRed(q)), qAbs(qGreen(p) - qGreen(q)), qAbs(qBlue(p) - qBlue(q)),
                                 qAbs(qAlpha(p) - qAlpha(q))};
            const int largest = *std::max_element(std::begin(parts), std::end(parts));
            for (const int part : parts)
                sum += part;
            different += largest > kTolerance ? 1 : 0;
            const int shown = qMin(255, largest * 4);
            difference.picture.setPixel(x, y, qRgb(shown, shown, shown));
        }
    difference.share = double(different) / (a.width() * a.height());
    difference.mean = double(sum) / (a.width() * a.height() * 4);
    return difference;
}

} // namespace

class GalleryTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void pictureLooksAsItDid_data();
    void pictureLooksAsItDid();
    void everyReferenceBelongsToARow();
    void differenceIsSeen();
};

void GalleryTest::pictureLooksAsItDid_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QStringList>("settings");
    for (const Case& one : cases())
        QTest::newRow(qPrintable(one.name)) << one.model << one.settings;
}

void GalleryTest::pictureLooksAsItDid()
{
    QFETCH(QString, model);
    QFETCH(QStringList, settings);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const QString path = QDir::current().absoluteFilePath(name + ".png");
    QStringList arguments{"render", QDir(OV3D_SAMPLES).filePath(model), "-o", path, "--size", "160x120"};
    for (const QString& setting : settings)
        arguments << "--set" << setting;
    const ProgramRun run = runProgram(OV3D_PROGRAM, arguments);
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    const QImage picture(path);
    QCOMPARE(picture.size(), QSize(160, 120));

    const QString reference = QDir(OV3D_REFERENCES).filePath(name + ".png");
    if (qEnvironmentVariableIsSet("OV3D_WRITE_REFERENCES")) {
        QVERIFY(picture.save(reference));
        return;
    }
    const QImage wanted(reference);
    QVERIFY2(!wanted.isNull(), qPrintable(reference + " is missing or no picture"));
    QCOMPARE(wanted.size(), picture.size());
    const Difference difference = differenceOf(picture, wanted);
    if (difference.share <= kDifferentShare && difference.mean <= kMeanDifference)
        return;
    const QString shown = QDir::current().absoluteFilePath(name + ".difference.png");
    QVERIFY(difference.picture.save(shown));
    QFAIL(qPrintable(QString("%1 of the pixels differ, by %2 in the mean; see %3 and %4")
                         .arg(difference.share)
                         .arg(difference.mean)
                         .arg(path, shown)));
}

void GalleryTest::everyReferenceBelongsToARow()
{
    QStringList wanted;
    for (const Case& one : cases())
        wanted << one.name + ".png";
    wanted.sort();
    QCOMPARE(QDir(OV3D_REFERENCES).entryList({"*.png"}, QDir::Files, QDir::Name), wanted);
}

void GalleryTest::differenceIsSeen()
{
    QImage one(40, 30, QImage::Format_ARGB32);
    one.fill(QColor(120, 120, 120));
    QImage other = one;
    QCOMPARE(differenceOf(one, other).share, 0.0);
    other.setPixelColor(3, 4, QColor(120, 150, 120));
    QCOMPARE(differenceOf(one, other).share, 1.0 / 1200);
    QCOMPARE(qRed(differenceOf(one, other).picture.pixel(3, 4)), 120);
    other.fill(QColor(120, 120, 120, 0));
    QCOMPARE(differenceOf(one, other).share, 1.0);
    other.fill(QColor(124, 124, 124));
    QCOMPARE(differenceOf(one, other).share, 0.0);
    QVERIFY(differenceOf(one, other).mean > kMeanDifference);
}

OV3D_TEST_MAIN(GalleryTest)
#include "gallery_test.moc"
