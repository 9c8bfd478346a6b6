#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

/// "ov3d check" on files of the corpus: what it says, and the exit code.
class CorpusCheck : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void lineSaysWhatIsWrong_data();
    void lineSaysWhatIsWrong();
    void severalFilesGiveALineEachAndTheWorstCode();
    void longPathsAreCheckedToo();

private:
    [[nodiscard]] static ProgramRun check(const QStringList& files)
    {
        return runProgram(QStringLiteral(OV3D_PROGRAM), QStringList{QStringLiteral("check")} + files,
                          QStringLiteral(OV3D_CORPUS));
    }
};

void CorpusCheck::lineSaysWhatIsWrong_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("line");
    const auto row = [](const char* name, const char* file, int exitCode, const char* line) {
        QTest::newRow(name) << QString::fromLatin1(file) << exitCode << QString::fromLatin1(line);
    };
    row("a good file is accepted", "gltf/materials.gltf", 0, "gltf/materials.gltf: glTF 2.0, accepted");
    row("without a content check the suffix decides", "stl/text.stl", 0,
        "stl/text.stl: STL, accepted by its suffix alone");
    row("what is missing is named", "glb/texture-missing.glb", 0,
        "glb/texture-missing.glb: binary glTF, accepted by its suffix alone, shown without gone.png");
    row("what was left out is said", "stl/binary-some-nan.stl", 0,
        "stl/binary-some-nan.stl: STL, accepted by its suffix alone (*left out*)");
    row("what cannot be shown has its reason", "glb/cut-at-50-percent.glb", 1,
        "glb/cut-at-50-percent.glb: binary glTF, accepted by its suffix alone, cannot be shown: ends in the middle of "
        "its "
        "data (at byte *");
    row("what is refused has its reason", "fbx/text.fbx", 3,
        "fbx/text.fbx: FBX, refused: does not begin with the signature of a binary FBX file");
    row("what is not there cannot be read", "glb/none.glb", 4, "glb/none.glb: cannot be read: *");
}

void CorpusCheck::lineSaysWhatIsWrong()
{
    QFETCH(QString, file);
    QFETCH(int, exitCode);
    QFETCH(QString, line);
    const ProgramRun run = check({file});
    QVERIFY2(run.exitCode == exitCode, run.output + run.errors);
    QCOMPARE(run.errors, QByteArray());
    const QString found = QString::fromUtf8(run.output);
    QVERIFY2(found.endsWith(QLatin1Char('\n')) && found.count(QLatin1Char('\n')) == 1, run.output.constData());
    // A star in the expected line stands for words that may be any.
    QString pattern = QRegularExpression::escape(line);
    pattern.replace(QLatin1String("\\*"), QLatin1String(".*"));
    QVERIFY2(QRegularExpression(QRegularExpression::anchoredPattern(pattern)).match(found.trimmed()).hasMatch(),
             run.output.constData());
}

void CorpusCheck::severalFilesGiveALineEachAndTheWorstCode()
{
    const QStringList files = {QStringLiteral("glb/materials.glb"), QStringLiteral("glb/empty.glb"),
                               QStringLiteral("obj/materials.obj"), QStringLiteral("fbx/materials.fbx")};
    const ProgramRun run = check(files);
    QCOMPARE(run.exitCode, 1);
    const QList<QByteArray> lines = run.output.trimmed().split('\n');
    QCOMPARE(lines.size(), files.size());
    for (int i = 0; i < files.size(); ++i)
        QVERIFY2(lines[i].startsWith(files[i].toUtf8() + ": "), lines[i].constData());
    QVERIFY(lines[1].contains("cannot be shown: is empty"));
    QVERIFY(lines[3].endsWith("accepted"));
}

void CorpusCheck::longPathsAreCheckedToo()
{
    QTemporaryDir folder;
    const QString deep = folder.path() + QLatin1Char('/') + QString(120, QLatin1Char('a')) + QLatin1Char('/') +
                         QString(120, QLatin1Char('b')) + QLatin1Char('/') + QString(120, QLatin1Char('c'));
    QVERIFY(QDir().mkpath(deep));
    const QString copy = deep + QLatin1String("/materials.glb");
    QVERIFY(QFile::copy(QStringLiteral(OV3D_CORPUS "/glb/materials.glb"), copy));
    const ProgramRun run = check({copy});
    QVERIFY2(run.exitCode == 0, run.output + run.errors);
}

OV3D_TEST_MAIN(CorpusCheck)
#include "corpuscheck.moc"
