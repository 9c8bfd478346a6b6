#include "tests/integration/documentsarchive.h"
#include "tests/integration/documentsfixture.h"
#include "tests/support/testmain.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

/// Environment pictures that cannot be used, of models and of documents: one line says so, and names the file as the
/// user wrote it.
class DocumentsEnvironments : public DocumentsFixture
{
    Q_OBJECT

private Q_SLOTS:
    void pipeIsNoEnvironment_data();
    void pipeIsNoEnvironment();
    void damagedPictureIsNamedAsItWasWritten_data();
    void damagedPictureIsNamedAsItWasWritten();
    void goodPictureIsNotMentioned();
    void damagedPictureOfADocumentIsNamedByItsEntry_data();
    void damagedPictureOfADocumentIsNamedByItsEntry();
    void pictureThatKillsTheRendererIsNamed();

private:
    void makeCube() const
    {
        make(QStringLiteral("a.ovb"), {QStringLiteral("cube.stl")});
        QVERIFY(QFile::copy(QStringLiteral(OV3D_SAMPLES "/cube.stl"), at(QStringLiteral("cube.stl"))));
    }
};

namespace {

constexpr const char* kEntry = "resources/1/environment1.hdr";

/// A Radiance picture of one colour, 32 x 16.
QByteArray picture()
{
    constexpr int kPixels = 32 * 16;
    QByteArray bytes = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 16 +X 32\n";
    for (int i = 0; i < kPixels; ++i)
        bytes += QByteArray("\xC8\x64\x32\x80", 4);
    return bytes;
}

} // namespace

void DocumentsEnvironments::pipeIsNoEnvironment_data()
{
    QTest::addColumn<QString>("words");
    QTest::newRow("of a document") << QStringLiteral("set a.ovb 1 environment=");
    QTest::newRow("of a model") << QStringLiteral("render cube.stl -o a.png --set environment=");
}

void DocumentsEnvironments::pipeIsNoEnvironment()
{
    QFETCH(QString, words);
    makeCube();
    QCOMPARE(::mkfifo(QFile::encodeName(at(QStringLiteral("pipe.hdr"))).constData(), 0600), 0);
    QVERIFY(write(QStringLiteral("text.hdr"), "words"));
    const auto reasonFor = [&](const QString& path) {
        const ProgramRun refused = run(words + path);
        return QByteArray::number(refused.exitCode) + ' ' + refused.errors;
    };
    const auto isOneLine = [](const QByteArray& text, const QString& end) {
        return text.startsWith("4 ov3d: ") && text.endsWith(": " + end.toUtf8() + '\n') && text.count('\n') == 1;
    };
    for (const QString& path :
         {QStringLiteral("pipe.hdr"), at(QStringLiteral("pipe.hdr")), QStringLiteral("/dev/zero")}) {
        const QByteArray reason = reasonFor(path);
        QVERIFY2(isOneLine(reason, path + QStringLiteral(": is not a regular file")), reason.constData());
    }
    const QByteArray reason = reasonFor(QStringLiteral("text.hdr"));
    QVERIFY2(isOneLine(reason, QStringLiteral("text.hdr: is no Radiance picture")), reason.constData());
}

void DocumentsEnvironments::damagedPictureIsNamedAsItWasWritten_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("beside the model") << QString();
    QTest::newRow("in a folder") << QStringLiteral("skies/");
    QTest::newRow("with a detour") << QStringLiteral("skies/../skies/");
    QTest::newRow("in the folder, by its whole path") << QStringLiteral("/");
}

void DocumentsEnvironments::damagedPictureIsNamedAsItWasWritten()
{
    QFETCH(QString, folder);
    makeCube();
    QVERIFY(write(QStringLiteral("cut.hdr"), picture().left(300)));
    QVERIFY(write(QStringLiteral("skies/cut.hdr"), picture().left(300)));
    const QString name =
        (folder == QLatin1String("/") ? m_folder->path() + folder : folder) + QStringLiteral("cut.hdr");
    const QByteArray note = "environment " + name.toUtf8() + " ends in the middle of its data";

    const ProgramRun drawn = run(QStringLiteral("render cube.stl -o a.png --json --set environment=") + name);
    QCOMPARE(drawn.errors, "ov3d: cube.stl: " + note + '\n');
    QCOMPARE(drawn.exitCode, 0); // the model is shown all the same, as without a texture
    const QJsonArray notes = QJsonDocument::fromJson(drawn.output).object()[QLatin1String("notes")].toArray();
    QCOMPARE(notes, QJsonArray{QString::fromUtf8(note)});

    const QByteArray before = bytesOf(QStringLiteral("a.ovb"));
    const ProgramRun set = run(QStringLiteral("set a.ovb 1 environment=") + name);
    QCOMPARE(set.errors, "ov3d: a.ovb: item 1: cube.stl: " + note + '\n');
    QCOMPARE(set.exitCode, 4);
    QVERIFY(bytesOf(QStringLiteral("a.ovb")) == before);
}

void DocumentsEnvironments::goodPictureIsNotMentioned()
{
    makeCube();
    QVERIFY(write(QStringLiteral("good.hdr"), picture()));
    const ProgramRun drawn = run(QStringLiteral("render cube.stl -o a.png --set environment=good.hdr"));
    QCOMPARE(drawn.errors, QByteArray());
    QCOMPARE(drawn.exitCode, 0);
}

void DocumentsEnvironments::damagedPictureOfADocumentIsNamedByItsEntry_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("cut") << picture().left(300)
                         << QByteArray("cube.stl: environment ") + kEntry + " ends in the middle of its data\n";
    QTest::newRow("text") << QByteArray("words") << QByteArray("cube.stl: ") + kEntry + ": is no Radiance picture\n";
}

void DocumentsEnvironments::damagedPictureOfADocumentIsNamedByItsEntry()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, line);
    makeCube();
    QVERIFY(write(QStringLiteral("good.hdr"), picture()));
    const ProgramRun lit = run(QStringLiteral("set a.ovb 1 environment=good.hdr"));
    QVERIFY2(lit.exitCode == 0, lit.errors.constData());
    QVERIFY(copyArchive(at(QStringLiteral("a.ovb")), at(QStringLiteral("b.ovb")),
                        [&content](const QString& path, QByteArray& bytes) {
                            if (path == QLatin1String(kEntry))
                                bytes = content;
                            return true;
                        }));

    const ProgramRun drawn = run(QStringLiteral("render b.ovb -o b.png"));
    QCOMPARE(drawn.errors, "ov3d: b.ovb: " + line);
    QCOMPARE(drawn.exitCode, 0);
    QVERIFY(opaqueShare(QImage(at(QStringLiteral("b.png")))) > 0.02);
    const ProgramRun set = run(QStringLiteral("set b.ovb 1 wireframe=on"));
    QCOMPARE(set.errors, "ov3d: b.ovb: item 1: " + line);
    QCOMPARE(set.exitCode, 0);
}

void DocumentsEnvironments::pictureThatKillsTheRendererIsNamed()
{
    // The scripted renderer does what the model's name says.
    QVERIFY(QFile::copy(QStringLiteral(OV3D_SAMPLES "/textured.glb"), at(QStringLiteral("crashhdr.glb"))));
    QVERIFY(write(QStringLiteral("poison.hdr"), picture()));
    qputenv("OV3D_RENDERER", OV3D_FAKE_RENDERER);
    const ProgramRun drawn = run(QStringLiteral("render crashhdr.glb -o a.png --set environment=poison.hdr"));
    qunsetenv("OV3D_RENDERER");
    QCOMPARE(drawn.exitCode, 0);
    QCOMPARE(drawn.errors.count('\n'), 1);
    QVERIFY2(drawn.errors.startsWith("ov3d: crashhdr.glb: ") &&
                 drawn.errors.endsWith("; shown without the environment picture poison.hdr\n"),
             drawn.errors.constData());
}

OV3D_TEST_MAIN(DocumentsEnvironments)
#include "documentsenvironments.moc"
