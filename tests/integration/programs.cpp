#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

/// The command line as a person uses it, on our own samples.
class Programs : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void everySampleFormatIsDrawn_data();
    void everySampleFormatIsDrawn();
    void namedColoursLandWhereTheyBelong();
    void backgroundFillsThePicture();
    void unevenWidthGivesExactlyThatWidth();
    void namesWithForeignLettersWork_data();
    void namesWithForeignLettersWork();
    void longPathsWork();
    void exitCodeTellsWhatWentWrong_data();
    void exitCodeTellsWhatWentWrong();
    void gesturesChangeThePictureAndUndoBringsTheSameBytesBack();
    void usersFolderIsLeftAlone();

private:
    [[nodiscard]] static QString sample(const QString& name)
    {
        return QDir(QStringLiteral(OV3D_SAMPLES)).absoluteFilePath(name);
    }
    [[nodiscard]] QString picturePath() const { return m_folder.filePath(QStringLiteral("picture.png")); }
    [[nodiscard]] ProgramRun render(const QString& model, const QStringList& more = {}) const
    {
        QFile::remove(picturePath());
        return runProgram(QStringLiteral(OV3D_PROGRAM),
                          QStringList{QStringLiteral("render"), model, QStringLiteral("-o"), picturePath()} + more,
                          m_folder.path());
    }
    /// A file in the test's folder with the given content.
    QString write(const QString& name, const QByteArray& content) const
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            return QString();
        return file.fileName();
    }

    QTemporaryDir m_folder;
};

void Programs::everySampleFormatIsDrawn_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name :
         {"sample.glb", "textured.glb", "textured.gltf", "textured.obj", "cube.stl", "cube_text.stl", "cube.fbx"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void Programs::everySampleFormatIsDrawn()
{
    QFETCH(QString, name);
    const ProgramRun run = render(sample(name));
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    const QImage image(picturePath());
    QCOMPARE(image.size(), QSize(1280, 960));
    QVERIFY(opaqueShare(image) > 0.05 && opaqueShare(image) < 0.9);
    QVERIFY(isNotAllBlack(image));
    QCOMPARE(keyColouredEdgePixels(image), 0);
}

/// The front side's texture has a red, a green-free blue, a yellow and a white quarter. Seen from the default view each
/// colour must be there, red left of blue and above yellow.
void Programs::namedColoursLandWhereTheyBelong()
{
    QCOMPARE(render(sample(QStringLiteral("textured.glb"))).exitCode, 0);
    const QImage image(picturePath());

    struct Region
    {
        double x = 0, y = 0;
        int count = 0;
        void add(int px, int py)
        {
            x += px;
            y += py;
            ++count;
        }
        [[nodiscard]] double meanX() const { return x / count; }
        [[nodiscard]] double meanY() const { return y / count; }
    } red, blue, yellow;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y).toHsv();
            if (colour.alpha() == 0 || colour.hsvSaturation() < 120 || colour.value() < 60)
                continue;
            if (colour.hsvHue() < 15 || colour.hsvHue() > 345)
                red.add(x, y);
            else if (colour.hsvHue() > 205 && colour.hsvHue() < 255)
                blue.add(x, y);
            else if (colour.hsvHue() > 40 && colour.hsvHue() < 70)
                yellow.add(x, y);
        }
    }
    constexpr int kEnough = 2000;
    QVERIFY(red.count > kEnough && blue.count > kEnough && yellow.count > kEnough);
    QVERIFY(red.meanX() < blue.meanX());
    QVERIFY(red.meanY() < yellow.meanY());
}

void Programs::backgroundFillsThePicture()
{
    const ProgramRun run =
        render(sample(QStringLiteral("textured.glb")), {QStringLiteral("--background"), QStringLiteral("#204060")});
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    const QImage image(picturePath());
    QCOMPARE(opaqueShare(image), 1.0);
    QCOMPARE(image.pixelColor(0, 0), QColor(0x20, 0x40, 0x60));
}

void Programs::unevenWidthGivesExactlyThatWidth()
{
    const ProgramRun run = render(sample(QStringLiteral("textured.glb")),
                                  {QStringLiteral("--size"), QStringLiteral("401x301"), QStringLiteral("--json")});
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    QCOMPARE(QImage(picturePath()).size(), QSize(401, 301));
    QCOMPARE(QImage(picturePath()).hasAlphaChannel(), true);
    const QJsonObject report = QJsonDocument::fromJson(run.output).object();
    QCOMPARE(report.value(QLatin1String("width")).toInt(), 401);
    QCOMPARE(report.value(QLatin1String("height")).toInt(), 301);
    QVERIFY(report.value(QLatin1String("hit_rectangles")).toInt() > 0);
    QVERIFY(report.value(QLatin1String("error")).isNull());
}

void Programs::namesWithForeignLettersWork_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << QStringLiteral("my old chair.glb");
    QTest::newRow("percent signs") << QStringLiteral("100%20chair.glb");
    QTest::newRow("umlauts") << QString::fromUtf8("St\xC3\xBChle.glb");
    QTest::newRow("Chinese characters") << QString::fromUtf8("\xE6\xA4\x85\xE5\xAD\x90.glb");
}

void Programs::namesWithForeignLettersWork()
{
    QFETCH(QString, name);
    const QString copy = m_folder.filePath(name);
    QVERIFY(QFile::copy(sample(QStringLiteral("textured.glb")), copy));
    const ProgramRun run = render(copy);
    QVERIFY2(run.exitCode == 0, run.errors.constData());
}

void Programs::longPathsWork()
{
    QString folder = m_folder.path();
    for (int i = 0; i < 3; ++i)
        folder += QLatin1Char('/') + QString(100, QLatin1Char('a' + static_cast<char>(i)));
    QVERIFY(QDir().mkpath(folder));
    const QString copy = folder + QLatin1String("/textured.glb");
    QVERIFY(QFile::copy(sample(QStringLiteral("textured.glb")), copy));
    const ProgramRun run = render(copy);
    QVERIFY2(run.exitCode == 0, run.errors.constData());
}

void Programs::exitCodeTellsWhatWentWrong_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    const auto row = [](const char* name, const QStringList& arguments, int exitCode) {
        QTest::newRow(name) << arguments << exitCode;
    };
    const QString out = picturePath();
    const QString good = sample(QStringLiteral("textured.glb"));
    const QString render = QStringLiteral("render");
    const QString check = QStringLiteral("check");
    const QString o = QStringLiteral("-o");
    row("no command is a matter of usage", {}, 2);
    row("an unknown option is a matter of usage", {render, good, o, out, QStringLiteral("--nonsense")}, 2);
    row("a size of nothing is a matter of usage",
        {render, good, o, out, QStringLiteral("--size"), QStringLiteral("0x4")}, 2);
    row("an unlisted suffix is refused", {render, write(QStringLiteral("a.Glb"), "glTF"), o, out}, 3);
    row("an empty fbx is refused", {render, write(QStringLiteral("a.fbx"), ""), o, out}, 3);
    row("a text gltf is refused", {check, write(QStringLiteral("a.gltf"), "words")}, 3);
    row("a missing glb cannot be read", {render, QStringLiteral("/nowhere/a.glb"), o, out}, 4);
    row("a missing stl cannot be read by check", {check, QStringLiteral("/nowhere/a.stl")}, 4);
    row("an output in no folder cannot be written", {render, good, o, QStringLiteral("/nowhere/picture.png")}, 4);
    row("a glb cut short ends in a card", {render, write(QStringLiteral("cut.glb"), "glTF"), o, out}, 1);
    row("a good file checks as good", {check, good}, 0);
}

void Programs::exitCodeTellsWhatWentWrong()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    const ProgramRun run = runProgram(QStringLiteral(OV3D_PROGRAM), arguments, m_folder.path());
    QVERIFY2(run.exitCode == exitCode, run.errors + run.output);
    if (exitCode == 1 || exitCode == 4)
        QCOMPARE((run.errors + run.output).trimmed().count('\n'), 0);
    if (exitCode == 1)
        QVERIFY(opaqueShare(QImage(picturePath())) > 0.05);
}

void Programs::gesturesChangeThePictureAndUndoBringsTheSameBytesBack()
{
    const QString model = sample(QStringLiteral("sample.glb"));
    const auto bytesAfter = [&](const QStringList& gestures) {
        QStringList options;
        for (const QString& gesture : gestures)
            options << QStringLiteral("--gesture") << gesture;
        QFile file(picturePath());
        return render(model, options).exitCode == 0 && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QString drag = QStringLiteral("drag:400,400-700,500");
    const QString wheel = QStringLiteral("wheel:1@640,480");
    const QString undo = QStringLiteral("undo");

    const QByteArray still = bytesAfter({});
    const QByteArray dragged = bytesAfter({drag});
    QVERIFY(!still.isEmpty() && !dragged.isEmpty());
    QVERIFY(dragged != still);
    QCOMPARE(bytesAfter({drag, wheel, undo}), dragged);
    QCOMPARE(bytesAfter({drag, wheel, undo, undo}), still);
    QCOMPARE(bytesAfter({drag, wheel, undo, undo, QStringLiteral("redo")}), dragged);
}

void Programs::usersFolderIsLeftAlone()
{
    QTemporaryDir folder;
    QCOMPARE(runProgram(QStringLiteral(OV3D_PROGRAM),
                        {QStringLiteral("render"), sample(QStringLiteral("textured.obj")), QStringLiteral("-o"),
                         QStringLiteral("picture.png")},
                        folder.path())
                 .exitCode,
             0);
    QCOMPARE(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("picture.png")});
}

OV3D_TEST_MAIN(Programs)
#include "programs.moc"
