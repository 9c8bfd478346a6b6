#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/environment/environmentimage.h"
#include "viewer/renderer/environment/environments.h"
#include "viewer/renderer/environment/exposure.h"
#include "viewer/renderer/environment/lightchain.h"
#include "viewer/renderer/environment/lightplan.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <limits>

using namespace ov3d;
using namespace ov3d::renderer;

namespace {

/// A picture of `width` x `height` equal pixels, plain.
QByteArray plainHdr(int width, int height, const QByteArray& pixel = QByteArray("\x80\x80\x80\x80", 4))
{
    return "#?RADIANCE\n# made by a test\nFORMAT=32-bit_rle_rgbe\n\n-Y " + QByteArray::number(height) + " +X " +
           QByteArray::number(width) + "\n" + pixel.repeated(width * height);
}

/// Two rows of 8 pixels, run-length: red is 128 or 64, the others alike.
QByteArray runLengthHdr()
{
    const auto row = [](char red) {
        QByteArray bytes("\x02\x02\x00\x08", 4);
        bytes += QByteArray("\x88", 1) + red;                           // a run of 8
        bytes += QByteArray("\x08\x10\x10\x10\x10\x10\x10\x10\x10", 9); // 8 different ones
        bytes += QByteArray("\x84\x10\x04\x10\x10\x10\x10", 7);         // a run of 4, then 4
        return bytes + QByteArray("\x88\x80", 2);
    };
    return "#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 8\n" + row('\x40') + row('\x20');
}

bool read(const QByteArray& bytes, EnvironmentImage& image, std::string& reason)
{
    return readRadiance(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                        static_cast<std::size_t>(bytes.size()), image, reason);
}

camera::Pose frontPose()
{
    camera::Pose pose;
    pose.right = {1, 0, 0};
    pose.up = {0, 1, 0};
    pose.backward = {0, 0, 1};
    pose.sun_direction = {0, 0, -1};
    return pose;
}

bool isNear(float a, float b, float tolerance)
{
    return std::abs(a - b) <= tolerance;
}

} // namespace

class EnvironmentTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void neutralIntensityHasGainOne();
    void displayedLightRisesAndNeverReachesWhite();
    void valuesWithoutAnEnvironmentMeanTheStudio();
    void everyEnvironmentIsDifferentAndFinite();
    void evenLightIrradiatesEvenly();
    void lightFromAboveIrradiatesUpwardsMost();
    void roughReflectionsAreBlurrier();

    void mapLightsMattSurfacesOnlyWithoutTheDefault();
    void withoutAMapTheLightIsEven();
    void userFileGoesBeforeTheMapType();
    void sunFollowsTheCameraOrStaysInTheWorld();
    void intensitiesScaleLightAndColourTintsTheSun();
    void profilesChangeTheLamps();
    void unknownProfileIsNone();

    void radiancePicturesAreRead_data();
    void radiancePicturesAreRead();
    void damagedPicturesAreRefusedWithAReason_data();
    void damagedPicturesAreRefusedWithAReason();
    void truncatedPicturesAreRefusedAtEveryLength();
    void widePicturesAreAveragedDown();
    void brightnessOfAFileDoesNotMatter();
    void middleOfAPictureLiesTowardsMinusZ();
    void changedFileIsReadAgain();
};

void EnvironmentTest::neutralIntensityHasGainOne()
{
    QCOMPARE(gainOf(46000.0, kNeutralEnvironmentIntensity), 1.0);
    QCOMPARE(gainOf(140000.0, kNeutralSunIntensity), 1.0);
    QCOMPARE(gainOf(0, kNeutralSunIntensity), 0.0);
    QCOMPARE(gainOf(-5, kNeutralSunIntensity), 0.0);
    QCOMPARE(gainOf(std::numeric_limits<double>::quiet_NaN(), kNeutralSunIntensity), 0.0);
    QCOMPARE(gainOf(std::numeric_limits<double>::infinity(), kNeutralSunIntensity), kMaxGain);
}

void EnvironmentTest::displayedLightRisesAndNeverReachesWhite()
{
    QCOMPARE(displayed({0, 0, 0})[0], std::uint8_t{0});
    QCOMPARE(displayed({0.5f, 0.5f, 0.5f})[1], std::uint8_t{188}); // sRGB's own value
    int last = -1;
    for (float value = 0; value < 4; value += 0.01f) {
        const int shown = displayed({value, value, value})[0];
        QVERIFY(shown >= last);
        last = shown;
    }
    QVERIFY(last < 255);
    const int white = displayed({1, 1, 1})[0];
    QVERIFY2(white > 235 && white < 252, qPrintable(QString::number(white)));
}

void EnvironmentTest::valuesWithoutAnEnvironmentMeanTheStudio()
{
    QVERIFY(skyOf(2) == Sky::studio);
    QVERIFY(skyOf(5) == Sky::night);
    QVERIFY(skyOf(6) == Sky::studio);
    QVERIFY(skyOf(-1) == Sky::studio);
}

void EnvironmentTest::everyEnvironmentIsDifferentAndFinite()
{
    QList<float> means;
    for (int i = 0; i < kSkyCount; ++i) {
        Light sum;
        for (int n = 0; n < 4000; ++n) {
            const float y = 1 - 2 * (static_cast<float>(n) + 0.5f) / 4000;
            const float angle = static_cast<float>(n) * 2.3999632f;
            const float level = std::sqrt(1 - y * y);
            const Light light = radianceOf(skyOf(i), {level * std::sin(angle), y, level * std::cos(angle)});
            QVERIFY(light.red >= 0 && light.green >= 0 && light.blue >= 0 && brightest(light) < 50);
            sum = sum + light * (1.0f / 4000);
        }
        const float mark = sum.red + 2 * sum.green + 4 * sum.blue;
        for (const float other : means)
            QVERIFY(!isNear(mark, other, 0.01f));
        means << mark;
    }
    // The poles are directions too.
    for (int i = 0; i < kSkyCount; ++i)
        for (const float y : {-1.0f, 1.0f})
            QVERIFY(std::isfinite(brightest(radianceOf(skyOf(i), {0, y, 0}))));
}

void EnvironmentTest::evenLightIrradiatesEvenly()
{
    const LightChain chain = makeLightChain([](Direction) { return Light{0.5f, 0.25f, 1.0f}; });
    for (const Direction n : {Direction{1, 0, 0}, Direction{0, -1, 0}, Direction{0, 0.6f, 0.8f}}) {
        const Light light = valueOf(chain.irradiance, n);
        QVERIFY(isNear(light.red, 0.5f, 1e-3f) && isNear(light.green, 0.25f, 1e-3f) && isNear(light.blue, 1, 1e-3f));
    }
    for (const auto& level : chain.reflections)
        for (std::size_t i = 0; i < level.size(); i += 3)
            QVERIFY(isNear(level[i], 0.5f, 1e-3f) && isNear(level[i + 2], 1.0f, 1e-3f));
}

void EnvironmentTest::lightFromAboveIrradiatesUpwardsMost()
{
    const LightChain chain = makeLightChain([](Direction d) { return d.y > 0 ? Light{1, 1, 1} : Light{}; });
    QVERIFY(isNear(valueOf(chain.irradiance, {0, 1, 0}).red, 1.0f, 0.05f));
    QVERIFY(isNear(valueOf(chain.irradiance, {1, 0, 0}).red, 0.5f, 0.02f));
    QVERIFY(isNear(valueOf(chain.irradiance, {0, -1, 0}).red, 0.0f, 0.05f));
}

void EnvironmentTest::roughReflectionsAreBlurrier()
{
    const LightChain chain = makeLightChain([](Direction d) { return d.y > 0 ? Light{1, 1, 1} : Light{}; });
    float last = 2;
    for (const auto& level : chain.reflections) {
        const auto [low, high] = std::minmax_element(level.begin(), level.end());
        QVERIFY(*high - *low <= last + 1e-4f);
        last = *high - *low;
    }
    QCOMPARE(chain.reflections[0].size(), std::size_t{6} * kChainSide * kChainSide * 3);
    // The face towards +Y comes third, and is lit from above.
    QVERIFY(chain.reflections[0][std::size_t{2} * kChainSide * kChainSide * 3] > 0.99f);
    QVERIFY(chain.reflections[0][std::size_t{3} * kChainSide * kChainSide * 3] < 0.01f);
}

void EnvironmentTest::mapLightsMattSurfacesOnlyWithoutTheDefault()
{
    protocol::RenderSettings settings;
    settings.hdr_map_type = 3;
    LightPlan plan = planOf(settings, frontPose(), false);
    QVERIFY((plan.reflections == Map{MapSource::sky, Sky::sunset}));
    QVERIFY((plan.matt == Map{MapSource::sky, Sky::studio}));
    settings.use_default_ibl = false;
    plan = planOf(settings, frontPose(), false);
    QVERIFY(plan.matt == plan.reflections);
}

void EnvironmentTest::withoutAMapTheLightIsEven()
{
    protocol::RenderSettings settings;
    settings.hdr_map = false;
    const LightPlan plan = planOf(settings, frontPose(), true);
    QVERIFY(plan.matt.source == MapSource::even && plan.reflections.source == MapSource::even);
}

void EnvironmentTest::userFileGoesBeforeTheMapType()
{
    protocol::RenderSettings settings;
    settings.hdr_map_type = 1;
    QVERIFY(planOf(settings, frontPose(), true).reflections.source == MapSource::file);
    QVERIFY((planOf(settings, frontPose(), false).reflections == Map{MapSource::sky, Sky::bright_day}));
}

void EnvironmentTest::sunFollowsTheCameraOrStaysInTheWorld()
{
    camera::Pose pose = frontPose();
    pose.right = {0, 0, -1}; // looks from +X
    pose.backward = {1, 0, 0};
    protocol::RenderSettings settings;
    settings.sun_follow = true;
    QVERIFY((planOf(settings, pose, false).lamps.at(0).travels == camera::Vec3{-1, 0, 0}));
    settings.sun_follow = false;
    QVERIFY((planOf(settings, pose, false).lamps.at(0).travels == camera::Vec3{0, 0, -1}));
}

void EnvironmentTest::intensitiesScaleLightAndColourTintsTheSun()
{
    protocol::RenderSettings settings;
    const LightPlan neutral = planOf(settings, frontPose(), false);
    QCOMPARE(neutral.environment_gain, 1.0f);
    settings.sun_intensity = 70000;
    settings.ibl_intensity = 92000;
    settings.sun_color[2] = 0.5f;
    const LightPlan plan = planOf(settings, frontPose(), false);
    QCOMPARE(plan.environment_gain, 2.0f);
    QCOMPARE(plan.lamps.at(0).light.red, neutral.lamps.at(0).light.red / 2);
    QCOMPARE(plan.lamps.at(0).light.blue, neutral.lamps.at(0).light.red / 4);
    settings.ibl_enabled = settings.sun_enabled = false;
    const LightPlan dark = planOf(settings, frontPose(), false);
    QCOMPARE(dark.environment_gain, 0.0f);
    QVERIFY(dark.lamps.empty());
    QVERIFY(dark.sky_gain > 0); // the sky is still seen
}

void EnvironmentTest::profilesChangeTheLamps()
{
    const auto lampsOf = [](LightProfile profile) {
        protocol::RenderSettings settings;
        settings.light_profile = static_cast<std::int32_t>(profile);
        return planOf(settings, frontPose(), false);
    };
    const LightPlan asSet = lampsOf(LightProfile::as_set);
    QCOMPARE(asSet.lamps.size(), std::size_t{1});
    QVERIFY(lampsOf(LightProfile::soft).environment_gain > asSet.environment_gain);
    QVERIFY(lampsOf(LightProfile::dramatic).lamps.at(0).light.red > asSet.lamps.at(0).light.red);
    QCOMPARE(lampsOf(LightProfile::portrait).lamps.size(), std::size_t{3});
    QVERIFY((lampsOf(LightProfile::headlight).lamps.at(0).travels == camera::Vec3{0, 0, -1}));
    for (const Lamp& lamp : lampsOf(LightProfile::backlight).lamps)
        QVERIFY(lamp.travels.z > 0.5); // towards the viewer
}

void EnvironmentTest::unknownProfileIsNone()
{
    protocol::RenderSettings settings;
    settings.light_profile = 17;
    QCOMPARE(planOf(settings, frontPose(), false).lamps.size(), std::size_t{1});
    settings.light_profile = -1;
    QCOMPARE(planOf(settings, frontPose(), false).environment_gain, 1.0f);
}

void EnvironmentTest::radiancePicturesAreRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QSize>("size");
    QTest::newRow("plain rows") << plainHdr(4, 2) << QSize(4, 2);
    QTest::newRow("run-length rows") << runLengthHdr() << QSize(8, 2);
    QTest::newRow("other lines in the header") << QByteArray("#?RADIANCE\nEXPOSURE=2\nSOFTWARE=x\n\n-Y 2 +X 2\n") +
                                                      QByteArray("\x80\x80\x80\x80", 4).repeated(4)
                                               << QSize(2, 2);
    QTest::newRow("repeated pixels of the oldest form")
        << QByteArray("#?RADIANCE\n\n-Y 2 +X 4\n") + QByteArray("\x80\x80\x80\x80\x01\x01\x01\x03", 8).repeated(2)
        << QSize(4, 2);
}

void EnvironmentTest::radiancePicturesAreRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QSize, size);
    EnvironmentImage image;
    std::string reason;
    QVERIFY2(read(bytes, image, reason), reason.c_str());
    QCOMPARE(QSize(image.width, image.height), size);
    QVERIFY(luminance(image.pixels.front()) > 0);
}

void EnvironmentTest::damagedPicturesAreRefusedWithAReason_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const QString ends = "ends in the middle of its data";
    QTest::newRow("another kind of file") << QByteArray("\x89PNG\r\n") << "is no Radiance picture";
    QTest::newRow("nothing") << QByteArray() << "is no Radiance picture";
    QTest::newRow("another colour space")
        << plainHdr(4, 2).replace("rle_rgbe", "rle_xyze") << "is no picture of red, green and blue";
    QTest::newRow("rows from the bottom")
        << plainHdr(4, 2).replace("-Y", "+Y") << "has rows or columns in an order that is not supported";
    QTest::newRow("no size at all") << QByteArray("#?RADIANCE\n\n")
                                    << "has rows or columns in an order that is not supported";
    QTest::newRow("a size of zero") << QByteArray("#?RADIANCE\n\n-Y 0 +X 4\n") << "has an impossible size";
    QTest::newRow("a size that nobody has")
        << QByteArray("#?RADIANCE\n\n-Y 32768 +X 32768\n") << "has an impossible size";
    QTest::newRow("a width beyond all numbers") << QByteArray("#?RADIANCE\n\n-Y 2 +X 99999999999999999999\n")
                                                << "has rows or columns in an order that is not supported";
    QTest::newRow("a row that is cut off") << plainHdr(4, 2).chopped(1) << ends;
    QTest::newRow("a run beyond its row") << runLengthHdr().replace("\x88\x40", "\x89\x40") << ends;
    QTest::newRow("a run of nothing") << runLengthHdr().replace("\x88\x40", QByteArray("\x80\x40", 2)) << ends;
    QTest::newRow("a run-length row of another width")
        << runLengthHdr().replace(QByteArray("\x02\x02\x00\x08", 4), QByteArray("\x02\x02\x00\x09", 4)) << ends;
    QTest::newRow("a repetition of nothing")
        << QByteArray("#?RADIANCE\n\n-Y 2 +X 4\n") + QByteArray("\x01\x01\x01\x04", 4) << ends;
    QTest::newRow("black") << plainHdr(4, 2, QByteArray(4, '\0')) << "holds no light";
}

void EnvironmentTest::damagedPicturesAreRefusedWithAReason()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, reason);
    EnvironmentImage image;
    std::string words;
    QVERIFY(!read(bytes, image, words));
    QCOMPARE(QString::fromStdString(words), reason);
}

void EnvironmentTest::truncatedPicturesAreRefusedAtEveryLength()
{
    const QByteArray bytes = runLengthHdr();
    for (int length = 0; length < bytes.size(); ++length) {
        EnvironmentImage image;
        std::string reason;
        QVERIFY(!read(bytes.left(length), image, reason));
        QVERIFY(!reason.empty());
    }
}

void EnvironmentTest::widePicturesAreAveragedDown()
{
    EnvironmentImage image;
    std::string reason;
    QVERIFY(read(plainHdr(2 * kMaxKeptEnvironmentWidth + 2, 8), image, reason));
    QVERIFY(image.width <= kMaxKeptEnvironmentWidth && image.width > kMaxKeptEnvironmentWidth / 2);
    for (const Light& pixel : image.pixels)
        QVERIFY(isNear(pixel.red, image.pixels.front().red, 1e-4f));
}

void EnvironmentTest::brightnessOfAFileDoesNotMatter()
{
    EnvironmentImage dim;
    EnvironmentImage bright;
    std::string reason;
    QVERIFY(read(plainHdr(8, 4, QByteArray("\x80\x40\x20\x70", 4)), dim, reason));
    QVERIFY(read(plainHdr(8, 4, QByteArray("\x80\x40\x20\xA0", 4)), bright, reason));
    QVERIFY(isNear(dim.pixels[0].red, bright.pixels[0].red, 1e-4f));
    QVERIFY(isNear(dim.pixels[0].red, 2 * dim.pixels[0].green, 1e-4f));
}

void EnvironmentTest::middleOfAPictureLiesTowardsMinusZ()
{
    // Columns: dark but for the third quarter, which is right of the middle, towards +X.
    EnvironmentImage image;
    image.width = 64;
    image.height = 32;
    image.pixels.resize(64 * 32);
    for (int y = 0; y < 32; ++y)
        for (int x = 32; x < 64; ++x)
            image.pixels[static_cast<std::size_t>(y * 64 + x)] = y < 16 ? Light{1, 1, 1} : Light{0, 0, 1};
    QVERIFY(isNear(image.at({0.6f, 0.2f, -0.7746f}).red, 1, 1e-4f));
    QVERIFY(isNear(image.at({-0.6f, 0.2f, -0.7746f}).red, 0, 1e-4f));
    QVERIFY(isNear(image.at({0.6f, -0.2f, -0.7746f}).blue, 1, 1e-4f));
    QVERIFY(isNear(image.at({0.6f, -0.2f, -0.7746f}).red, 0, 1e-4f));
}

void EnvironmentTest::changedFileIsReadAgain()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("light.hdr");
    const auto write = [&path](const QByteArray& bytes) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    };
    Environments environments;
    std::string note;
    QVERIFY(!environments.useFile({}, note));
    QVERIFY(note.empty());
    QVERIFY(!environments.useFile(path.toStdString(), note));
    QVERIFY2(note.find("light.hdr") != std::string::npos, note.c_str());

    note.clear();
    write(plainHdr(8, 4));
    QVERIFY2(environments.useFile(path.toStdString(), note), note.c_str());
    const Light grey = environments.radianceOf({MapSource::file, Sky::studio})({0, 0, 1});
    QVERIFY(isNear(grey.red, grey.blue, 1e-4f));
    write(plainHdr(16, 4, QByteArray("\x80\x10\x10\x80", 4)));
    QVERIFY(environments.useFile(path.toStdString(), note));
    const Light red = environments.radianceOf({MapSource::file, Sky::studio})({0, 0, 1});
    QVERIFY(red.red > 4 * red.blue);
}

OV3D_TEST_MAIN(EnvironmentTest)
#include "tst_environment.moc"
