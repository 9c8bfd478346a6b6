#include "apps/cli/commandline.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

using namespace ov3d::apps;

class CommandLineTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void renderNeedsOnlyModelAndOutput();
    void renderTakesEveryOption();
    void optionsMayFollowAnEqualsSign();
    void doubleDashEndsTheOptions();
    void gesturesKeepTheirOrder();
    void checkTakesManyFiles();
    void helpWinsOverEverythingElse();
    void versionStandsAlone();
    void wrongUsageIsRefusedWithAReason_data();
    void wrongUsageIsRefusedWithAReason();
    void helpNamesEveryCommandAndOption();
};

namespace {

template <typename Kind> Kind parsed(const QStringList& words)
{
    Command command;
    QString error;
    // A warning fails the test.
    if (!parseCommandLine(words, command, error) || !std::holds_alternative<Kind>(command)) {
        qWarning("not understood: %s", qPrintable(error));
        return {};
    }
    return std::get<Kind>(command);
}

QStringList words(const char* line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

void CommandLineTest::renderNeedsOnlyModelAndOutput()
{
    const auto render = parsed<RenderCommand>(words("render chair.glb -o chair.png"));
    QCOMPARE(render.model, QStringLiteral("chair.glb"));
    QCOMPARE(render.output, QStringLiteral("chair.png"));
    QCOMPARE(render.size, QSize(1280, 960));
    QVERIFY(!render.background);
    QVERIFY(!render.json);
    QVERIFY(render.gestures.empty());
}

void CommandLineTest::renderTakesEveryOption()
{
    const auto render =
        parsed<RenderCommand>(words("render --json --size 401x300 --background #102030 -o a.png b.stl --gesture undo"));
    QCOMPARE(render.model, QStringLiteral("b.stl"));
    QCOMPARE(render.size, QSize(401, 300));
    QCOMPARE(render.background.value(), QColor(0x10, 0x20, 0x30));
    QVERIFY(render.json);
    QCOMPARE(render.gestures.size(), std::size_t{1});
}

void CommandLineTest::optionsMayFollowAnEqualsSign()
{
    const auto render =
        parsed<RenderCommand>(words("render m=1.glb --output=x=y.png --size=1x8192 --background=white"));
    QCOMPARE(render.model, QStringLiteral("m=1.glb"));
    QCOMPARE(render.output, QStringLiteral("x=y.png"));
    QCOMPARE(render.size, QSize(1, 8192));
    QCOMPARE(render.background.value(), QColor(Qt::white));
}

void CommandLineTest::doubleDashEndsTheOptions()
{
    QCOMPARE(parsed<RenderCommand>(words("render -o a.png -- --help")).model, QStringLiteral("--help"));
    QCOMPARE(parsed<CheckCommand>(words("check -- -a --b")).files,
             QStringList({QStringLiteral("-a"), QStringLiteral("--b")}));
}

void CommandLineTest::gesturesKeepTheirOrder()
{
    const auto render = parsed<RenderCommand>(
        words("render a.glb -o a.png --gesture wheel:1@2,3 --gesture drag:1,2-3,4 --gesture undo"));
    QCOMPARE(render.gestures.size(), std::size_t{3});
    QVERIFY(std::holds_alternative<WheelGesture>(render.gestures[0]));
    QVERIFY(std::holds_alternative<DragGesture>(render.gestures[1]));
    QVERIFY(std::holds_alternative<UndoGesture>(render.gestures[2]));
}

void CommandLineTest::checkTakesManyFiles()
{
    const QStringList files = {QStringLiteral("a b.obj"), QStringLiteral("ü.fbx"), QStringLiteral("中.gltf")};
    QCOMPARE(parsed<CheckCommand>(QStringList(QStringLiteral("check")) + files).files, files);
}

void CommandLineTest::helpWinsOverEverythingElse()
{
    parsed<HelpCommand>(words("--help"));
    parsed<HelpCommand>(words("render --nonsense --help"));
}

void CommandLineTest::versionStandsAlone()
{
    parsed<VersionCommand>(words("--version"));
}

void CommandLineTest::wrongUsageIsRefusedWithAReason_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("reason");
    QTest::newRow("nothing") << ""
                             << "command is missing";
    QTest::newRow("unknown command") << "draw a.glb"
                                     << "draw";
    QTest::newRow("render without a model") << "render -o a.png"
                                            << "needs a model";
    QTest::newRow("render without output") << "render a.glb"
                                           << "-o";
    QTest::newRow("two models") << "render a.glb b.glb -o a.png"
                                << "one model";
    QTest::newRow("unknown option") << "render a.glb -o a.png --fast"
                                    << "--fast";
    QTest::newRow("option without its value") << "render a.glb -o"
                                              << "-o needs a value";
    QTest::newRow("size without height") << "render a.glb -o a.png --size 640"
                                         << "640";
    QTest::newRow("size of zero") << "render a.glb -o a.png --size 0x480"
                                  << "0x480";
    QTest::newRow("size beyond the limit") << "render a.glb -o a.png --size 8193x480"
                                           << "8192";
    QTest::newRow("negative size") << "render a.glb -o a.png --size -1x480"
                                   << "-1x480";
    QTest::newRow("no such colour") << "render a.glb -o a.png --background whitish"
                                    << "whitish";
    QTest::newRow("no such gesture") << "render a.glb -o a.png --gesture wave"
                                     << "wave";
    QTest::newRow("json with a value") << "render a.glb -o a.png --json=yes"
                                       << "--json";
    QTest::newRow("check without files") << "check"
                                         << "at least one file";
    QTest::newRow("check with an option") << "check --json a.glb"
                                          << "--json";
}

void CommandLineTest::wrongUsageIsRefusedWithAReason()
{
    QFETCH(QString, line);
    QFETCH(QString, reason);
    Command command;
    QString error;
    QVERIFY(!parseCommandLine(words(line.toUtf8().constData()), command, error));
    QVERIFY2(error.contains(reason), qPrintable(error));
    QVERIFY(!error.contains(QLatin1Char('\n')));
}

void CommandLineTest::helpNamesEveryCommandAndOption()
{
    const QString help = helpText();
    for (const char* word : {"render", "check", "--help", "--version", "-o", "--size", "--background", "--json",
                             "--gesture", "drag:", "wheel:", "undo", "redo", "Exit codes"})
        QVERIFY2(help.contains(QLatin1String(word)), word);
}

OV3D_TEST_MAIN(CommandLineTest)
#include "commandline_test.moc"
