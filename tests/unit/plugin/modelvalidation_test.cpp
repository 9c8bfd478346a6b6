#include "src/import/modelvalidation.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>
#include <QTest>

#include <cstdio>

#include <unistd.h>

namespace {

const QByteArray kSignature("Kaydara FBX Binary ");

/// Points one of the process's descriptors at a file while it lives. Nothing is flushed for the writer's sake, so what
/// was written and not flushed is missing.
class Capture
{
public:
    Capture(int descriptor, FILE* stream)
        : m_descriptor(descriptor)
    {
        std::fflush(stream);
        m_saved = ::dup(descriptor);
        if (!m_file.open() || m_saved < 0)
            qFatal("no file to capture a stream in");
        ::dup2(m_file.handle(), descriptor);
    }

    ~Capture()
    {
        ::dup2(m_saved, m_descriptor);
        ::close(m_saved);
    }

    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    [[nodiscard]] QByteArray text() const
    {
        QFile file(m_file.fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }

private:
    int m_descriptor;
    int m_saved = -1;
    QTemporaryFile m_file;
};

struct Verdict
{
    bool valid = false;
    QByteArray out;
    QByteArray err;
};

template <typename Check> Verdict run(Check check)
{
    const Capture out(STDOUT_FILENO, stdout);
    const Capture err(STDERR_FILENO, stderr);
    Verdict verdict;
    verdict.valid = check();
    verdict.out = out.text();
    verdict.err = err.text();
    return verdict;
}

Verdict checkFbx(const QString& path)
{
    return run([&] { return isValidFBXFile(path.toLocal8Bit().toStdString()); });
}

Verdict checkObj(const QString& path)
{
    return run([&] { return isValidOBJFile(path.toLocal8Bit().toStdString()); });
}

Verdict checkGltf(const QString& path)
{
    return run([&] { return isValidGLTFFile(path); });
}

} // namespace

class ModelValidationTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void fbxIsJudgedByItsFirst23Bytes_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("valid");
        const QByteArray usual = kSignature + QByteArray("\x20\x00\x1a\x00", 4);
        QTest::newRow("signature and four bytes") << usual << true;
        QTest::newRow("22 bytes") << usual.left(22) << false;
        QTest::newRow("the signature alone") << kSignature << false;
        QTest::newRow("other bytes behind the signature") << kSignature + "abcd" << true;
        QTest::newRow("zero bytes behind the signature") << kSignature + QByteArray(4, '\0') << true;
        QTest::newRow("a whole file") << usual + QByteArray(5000, 'x') << true;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("text form") << QByteArray("; FBX 7.4.0 project file\n; more of it\n") << false;
        QTest::newRow("no blank at the signature's end") << QByteArray("Kaydara FBX Binary\0\0\0\0\0\0", 24) << false;
        QTest::newRow("lower case") << QByteArray("kaydara fbx binary     xxxx") << false;
        QTest::newRow("signature after a blank") << " " + usual + "x" << false;
        QTest::newRow("line ends are bytes like others") << kSignature + "\r\n\r\n" << true;
    }

    void fbxIsJudgedByItsFirst23Bytes()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, valid);
        const Verdict verdict = checkFbx(m_fixture->writeFile(QStringLiteral("model.fbx"), content));
        QCOMPARE(verdict.valid, valid);
        QCOMPARE(verdict.out, valid ? QByteArray("Valid FBX file\n") : QByteArray());
        QCOMPARE(verdict.err, valid ? QByteArray() : QByteArray("Not a valid FBX file\n"));
    }

    void missingFbxFileIsRefusedWithAnError()
    {
        const Verdict verdict = checkFbx(m_fixture->folder() + QStringLiteral("missing.fbx"));
        QVERIFY(!verdict.valid);
        QCOMPARE(verdict.out, QByteArray());
        QCOMPARE(verdict.err, QByteArray("Error opening file\n"));
    }

    void directoryInAnFbxFilesPlaceIsNoFbxFile()
    {
        const Verdict verdict = checkFbx(m_fixture->folder());
        QVERIFY(!verdict.valid);
        QCOMPARE(verdict.out, QByteArray());
        QCOMPARE(verdict.err, QByteArray("Not a valid FBX file\n"));
    }

    void objIsJudgedByItsFirst30CountedLines_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("valid");
        const QByteArray names = QByteArray("o one\ng two\n").repeated(15);
        QTest::newRow("a vertex") << QByteArray("v 1 2 3\n") << true;
        QTest::newRow("a normal") << QByteArray("vn 0 0 1\n") << true;
        QTest::newRow("a texture coordinate") << QByteArray("vt 0 1\n") << true;
        QTest::newRow("a face") << QByteArray("f 1 2 3\n") << true;
        QTest::newRow("the statement's letters and a blank alone") << QByteArray("v ") << true;
        QTest::newRow("a last line without line feed") << QByteArray("o a\nv 1 2 3") << true;
        QTest::newRow("a carriage return at the end") << QByteArray("v 1 2 3\r\n") << true;
        QTest::newRow("vertex as line 30") << names.left(29 * 6) + "v 1 2 3\n" << true;
        QTest::newRow("vertex as line 31") << names.left(30 * 6) + "v 1 2 3\n" << false;
        QTest::newRow("vertex as line 30 without line feed") << names.left(29 * 6) + "f 1 2 3" << true;
        QTest::newRow("comment lines are not counted") << QByteArray("# comment\n").repeated(1000) + "v 1 2 3\n"
                                                       << true;
        QTest::newRow("empty lines are not counted") << QByteArray("\n").repeated(1000) + "v 1 2 3\n" << true;
        QTest::newRow("lines of a carriage return alone are counted") << QByteArray("\r\n").repeated(30) + "v 1 2 3\n"
                                                                      << false;
        QTest::newRow("29 lines of a carriage return alone") << QByteArray("\r\n").repeated(29) + "v 1 2 3\n" << true;
        QTest::newRow("lines of blanks are counted") << QByteArray("  \n").repeated(30) + "v 1 2 3\n" << false;
        QTest::newRow("trailing comments hide every statement")
            << QByteArray("v 1 2 3 # corner\nvn 0 0 1 # up\n").repeated(40) << false;
        QTest::newRow("a face beside commented vertices") << QByteArray("v 1 2 3 # corner\nf 1 2 3\n") << true;
        QTest::newRow("a # far behind the statement") << "v 1 2 3" + QByteArray(100000, ' ') + "#\no name\n" << false;
        QTest::newRow("upper case") << QByteArray("V 1 2 3\nVN 0 0 1\nF 1 2 3\n") << false;
        QTest::newRow("tab instead of the blank") << QByteArray("v\t1 2 3\nvn\t0 0 1\nf\t1 2 3\n") << false;
        QTest::newRow("leading blank") << QByteArray(" v 1 2 3\n") << false;
        QTest::newRow("vp and free-form statements") << QByteArray("vp 0 1\ncurv 0 1 1 2\n") << false;
        QTest::newRow("names only") << QByteArray("mtllib a.mtl\no cube\n") << false;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("a byte-order mark before the vertex") << QByteArray("\xef\xbb\xbfv 1 2 3\n") << false;
        QTest::newRow("zero bytes before the vertex") << QByteArray("\0\0v 1 2 3\n", 10) << false;
        QTest::newRow("old Mac line ends make one line") << QByteArray("o a\rv 1 2 3\r") << false;
    }

    void objIsJudgedByItsFirst30CountedLines()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, valid);
        const Verdict verdict = checkObj(m_fixture->writeFile(QStringLiteral("model.obj"), content));
        QCOMPARE(verdict.valid, valid);
        QCOMPARE(verdict.out, QByteArray());
        QCOMPARE(verdict.err, QByteArray());
    }

    void unreadableObjFileIsRefusedSilently_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing file") << "missing.obj";
        QTest::newRow("a directory") << "resources";
    }

    void unreadableObjFileIsRefusedSilently()
    {
        QFETCH(QString, name);
        const Verdict verdict = checkObj(m_fixture->folder() + name);
        QVERIFY(!verdict.valid);
        QCOMPARE(verdict.out, QByteArray());
        QCOMPARE(verdict.err, QByteArray());
    }

    void gltfIsJudgedByItsAssetVersion_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("valid");
        QTest::newRow("nothing but the asset") << QByteArray(R"({"asset":{"version":"2.0"}})") << true;
        QTest::newRow("2.0.1") << QByteArray(R"({"asset":{"version":"2.0.1"}})") << true;
        QTest::newRow("2.05") << QByteArray(R"({"asset":{"version":"2.05"}})") << true;
        QTest::newRow("2") << QByteArray(R"({"asset":{"version":"2"}})") << false;
        QTest::newRow("2.1") << QByteArray(R"({"asset":{"version":"2.1"}})") << false;
        QTest::newRow("1.0") << QByteArray(R"({"asset":{"version":"1.0"}})") << false;
        QTest::newRow("a blank before the version") << QByteArray(R"({"asset":{"version":" 2.0"}})") << false;
        QTest::newRow("the number 2") << QByteArray(R"({"asset":{"version":2}})") << false;
        QTest::newRow("the number 2.0") << QByteArray(R"({"asset":{"version":2.0}})") << false;
        QTest::newRow("no version") << QByteArray(R"({"asset":{"generator":"2.0"}})") << false;
        QTest::newRow("minVersion alone") << QByteArray(R"({"asset":{"minVersion":"2.0"}})") << false;
        QTest::newRow("no asset") << QByteArray(R"({"version":"2.0"})") << false;
        QTest::newRow("asset in capitals") << QByteArray(R"({"Asset":{"version":"2.0"}})") << false;
        QTest::newRow("asset is a text") << QByteArray(R"({"asset":"2.0"})") << false;
        QTest::newRow("asset is a list") << QByteArray(R"({"asset":[{"version":"2.0"}]})") << false;
        QTest::newRow("the top level is a list") << QByteArray(R"([{"asset":{"version":"2.0"}}])") << false;
        QTest::newRow("an empty object") << QByteArray("{}") << false;
        QTest::newRow("a byte-order mark is skipped")
            << QByteArray("\xef\xbb\xbf{\"asset\":{\"version\":\"2.0\"}}") << true;
        QTest::newRow("buffers are not looked at")
            << QByteArray(R"({"asset":{"version":"2.0"},"buffers":[{"uri":"missing.bin"}]})") << true;
    }

    void gltfIsJudgedByItsAssetVersion()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, valid);
        const Verdict verdict = checkGltf(m_fixture->writeFile(QStringLiteral("model.gltf"), content));
        QCOMPARE(verdict.valid, valid);
        QCOMPARE(verdict.out, valid ? QByteArray("Valid glTF 2.0 file\n") : QByteArray());
        QCOMPARE(verdict.err, valid ? QByteArray() : QByteArray("Not a valid glTF file\n"));
    }

    void gltfThatIsNoJsonIsRefusedWithTheParsersText_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("parserText");
        QTest::newRow("empty") << QByteArray() << QByteArray("illegal value");
        QTest::newRow("cut off") << QByteArray(R"({"asset":{"version":"2.0"})") << QByteArray("unterminated object");
        QTest::newRow("a number") << QByteArray("42") << QByteArray("illegal value");
        QTest::newRow("rest behind the document")
            << QByteArray(R"({"asset":{"version":"2.0"}} x)") << QByteArray("garbage at the end of the document");
        QTest::newRow("binary form") << QByteArray("glTF\x02\x00\x00\x00", 8) << QByteArray("illegal value");
        QTest::newRow("nested too deep") << QByteArray("[").repeated(5000) << QByteArray("too deeply nested document");
    }

    void gltfThatIsNoJsonIsRefusedWithTheParsersText()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, parserText);
        const Verdict verdict = checkGltf(m_fixture->writeFile(QStringLiteral("model.gltf"), content));
        QVERIFY(!verdict.valid);
        QCOMPARE(verdict.out, QByteArray());
        QCOMPARE(verdict.err, "JSON parse error: " + parserText + "\n");
    }

    void gltfFileThatCannotBeOpenedIsRefusedWithAnError_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing file") << "missing.gltf";
        QTest::newRow("a directory") << "resources";
    }

    void gltfFileThatCannotBeOpenedIsRefusedWithAnError()
    {
        QFETCH(QString, name);
        const Verdict verdict = checkGltf(m_fixture->folder() + name);
        QVERIFY(!verdict.valid);
        QCOMPARE(verdict.out, QByteArray());
        QCOMPARE(verdict.err, QByteArray("Error opening file\n"));
    }

    void unusualFileNamesAreOpened()
    {
        const QString name = QString::fromUtf8("Größe 50% 模型");
        const QString fbx = m_fixture->writeFile(name + QStringLiteral(".fbx"), kSignature + "1234");
        const QString obj = m_fixture->writeFile(name + QStringLiteral(".obj"), "f 1 2 3");
        const QString gltf = m_fixture->writeFile(name + QStringLiteral(".gltf"), R"({"asset":{"version":"2.0"}})");
        QVERIFY(run([&] { return isValidFBXFile(QFile::encodeName(fbx).toStdString()); }).valid);
        QVERIFY(run([&] { return isValidOBJFile(QFile::encodeName(obj).toStdString()); }).valid);
        QVERIFY(checkGltf(gltf).valid);
    }

    void checksWriteNothingToTheLog()
    {
        const QString path = m_fixture->writeFile(QStringLiteral("model"), "nothing");
        checkFbx(path);
        checkObj(path);
        checkGltf(path);
        QVERIFY(g_app_path.isEmpty());
        QVERIFY(m_fixture->logEntries().isEmpty());
        QVERIFY(messages().isEmpty());
    }

    /// A file that could never be read through: the checks read only as much as they need.
    void endlessFilesAreJudgedByTheirBeginning()
    {
        const QString path = m_fixture->folder() + QStringLiteral("sparse");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write("v 1 2 3\n") == 8 && file.resize(qint64{1} << 33));
        file.close();
        QVERIFY(checkObj(path).valid);
        QVERIFY(!checkFbx(path).valid);
    }
};

OV3D_TEST_MAIN(ModelValidationTest)
#include "modelvalidation_test.moc"
