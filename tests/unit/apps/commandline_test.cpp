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
    void documentsAreRenderedByPage();
    void settingsAreReadAsTheyCome();
    void newTakesADocumentAndModels();
    void infoTakesADocument();
    void setTakesAnItemAndItsChanges();
    void extractTakesAFolder();
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
    QVERIFY(!render.size);
    QCOMPARE(kDefaultPictureSize, QSize(1280, 960));
    QVERIFY(!render.page);
    QVERIFY(!render.background);
    QVERIFY(!render.json);
    QVERIFY(render.gestures.empty());
}

void CommandLineTest::renderTakesEveryOption()
{
    const auto render =
        parsed<RenderCommand>(words("render --json --size 401x300 --background #102030 -o a.png b.stl --gesture undo"));
    QCOMPARE(render.model, QStringLiteral("b.stl"));
    QCOMPARE(render.size.value(), QSize(401, 300));
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
    QCOMPARE(render.size.value(), QSize(1, 8192));
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

void CommandLineTest::documentsAreRenderedByPage()
{
    const auto render = parsed<RenderCommand>(words("render a.OVB --page 12 -o a.png --background red"));
    QVERIFY(isDocumentName(render.model));
    QCOMPARE(render.page.value(), 12);
    QVERIFY(!isDocumentName(QStringLiteral("ovb.glb")));
}

void CommandLineTest::settingsAreReadAsTheyCome()
{
    const auto render = parsed<RenderCommand>(
        words("render a.glb -o a.png --set wireframe=1 --set=point_size=9 --set view=top --set environment=sky.hdr"));
    QCOMPARE(render.changes.settings,
             (QJsonObject{{QStringLiteral("wireframe"), true}, {QStringLiteral("point_size"), 9}}));
    QCOMPARE(render.changes.view.value(), QStringLiteral("top"));
    QCOMPARE(render.changes.environment.value(), QStringLiteral("sky.hdr"));
}

void CommandLineTest::newTakesADocumentAndModels()
{
    const auto create = parsed<NewCommand>(words("new a.ovb b.glb c.obj b.glb"));
    QCOMPARE(create.document, QStringLiteral("a.ovb"));
    QCOMPARE(create.models, words("b.glb c.obj b.glb"));
}

void CommandLineTest::infoTakesADocument()
{
    QCOMPARE(parsed<InfoCommand>(words("info a.ovb")).json, false);
    const auto info = parsed<InfoCommand>(words("info --json a.ovb"));
    QCOMPARE(info.document, QStringLiteral("a.ovb"));
    QCOMPARE(info.json, true);
}

void CommandLineTest::setTakesAnItemAndItsChanges()
{
    const auto set = parsed<SetCommand>(words("set a.ovb 3 bg_color=1,0.5,0 orbit=-30,10 environment="));
    QCOMPARE(set.document, QStringLiteral("a.ovb"));
    QCOMPARE(set.item, 3);
    QCOMPARE(set.changes.settings.keys(), QStringList(QStringLiteral("bg_color")));
    QCOMPARE(set.changes.orbit.value(), QStringLiteral("-30 10"));
    QCOMPARE(set.changes.environment.value(), QString());
    QVERIFY(!set.changes.view);
}

void CommandLineTest::extractTakesAFolder()
{
    const auto extract = parsed<ExtractCommand>(words("extract a.ovb 2 out"));
    QCOMPARE(extract.document, QStringLiteral("a.ovb"));
    QCOMPARE(extract.item, 2);
    QCOMPARE(extract.folder, QStringLiteral("out"));
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
    QTest::newRow("output of another format") << "render a.glb -o a.jpg"
                                              << "a.jpg is not the name of a PNG";
    QTest::newRow("output to the standard output") << "render a.glb -o /dev/stdout"
                                                   << "/dev/stdout is not the name of a PNG";
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
    const auto row = [](const char* name, const char* line, const char* reason) {
        QTest::newRow(name) << QString::fromLatin1(line) << QString::fromLatin1(reason);
    };
    row("a page of a model", "render a.glb -o a.png --page 1", "--page is for documents");
    row("a size of a document", "render a.ovb -o a.png --size 4x4", "are for models");
    row("a setting of a whole document", "render a.ovb -o a.png --set wireframe=1", "are for models");
    row("page zero", "render a.ovb -o a.png --page 0", "not a number from 1");
    row("an unknown setting", "render a.glb -o a.png --set glitter=1", "glitter");
    row("new without a model", "new a.ovb", "at least one model");
    row("new with a model alone", "new a.glb b.glb", "not the name of a document");
    row("new with an option", "new a.ovb b.glb --json", "--json");
    row("info of two documents", "info a.ovb b.ovb", "one document");
    row("info of a model", "info a.glb", "not the name of a document");
    row("set without a change", "set a.ovb 1", "at least one key=value");
    row("set of item zero", "set a.ovb 0 wireframe=1", "not a number from 1");
    row("set out of range", "set a.ovb 1 point_size=1000", "from 0 to 100");
    row("an orbit of one angle", "set a.ovb 1 orbit=30", "AZIMUTH,ELEVATION");
    row("a view that does not exist", "set a.ovb 1 view=inside", "inside");
    row("extract without a folder", "extract a.ovb 1", "a folder");
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
    for (const char* word : {"render",    "check",  "new",       "info", "set",    "extract",      "--page",
                             "--set",     "--help", "--version", "-o",   "--size", "--background", "--json",
                             "--gesture", "drag:",  "wheel:",    "undo", "redo",   "Exit codes"})
        QVERIFY2(help.contains(QLatin1String(word)), word);
}

OV3D_TEST_MAIN(CommandLineTest)
#include "commandline_test.moc"
