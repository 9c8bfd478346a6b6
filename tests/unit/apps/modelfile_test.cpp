#include "apps/common/modelfile.h"
#include "apps/common/plaintext.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

using namespace ov3d::apps;
using Verdict = ModelFileReport::Verdict;

class ModelFileTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void suffixAndContentDecide_data();
    void suffixAndContentDecide();
    void missingFileIsUnreadable();
    void folderIsUnreadable();
    void pipeIsUnreadableAndNotWaitedFor();
    void brokenJsonIsRefusedWithItsPlace();
    void oneLineHasNoControlCharacters();

private:
    QString write(const QString& name, const QByteArray& content)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qWarning("cannot write %s", qPrintable(name));
        return file.fileName();
    }

    QTemporaryDir m_folder;
};

void ModelFileTest::suffixAndContentDecide_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("format");
    QTest::addColumn<bool>("accepted");
    const QByteArray fbx("Kaydara FBX Binary  \0\x1a\0", 23);
    QTest::newRow("binary FBX") << "a.fbx" << fbx << "fbx" << true;
    QTest::newRow("text FBX") << "b.FBX" << QByteArray("; FBX 7.4.0 project file\n") << "fbx" << false;
    QTest::newRow("OBJ with a vertex") << "a.obj" << QByteArray("v 0 0 0\n") << "obj" << true;
    QTest::newRow("empty OBJ") << "b.OBJ" << QByteArray() << "obj" << false;
    QTest::newRow("glTF 2.0") << "a.gltf" << QByteArray("{\"asset\":{\"version\":\"2.0\"}}") << "gltf" << true;
    QTest::newRow("glTF 1.0") << "b.gltf" << QByteArray("{\"asset\":{\"version\":\"1.0\"}}") << "gltf" << false;
    QTest::newRow("GLB is not looked into") << "a.glb" << QByteArray() << "glb" << true;
    QTest::newRow("STL is not looked into") << "a.STL" << QByteArray() << "stl" << true;
    QTest::newRow("3MF is not looked into") << "a.3mf" << QByteArray() << "3mf" << true;
    QTest::newRow("a mixed suffix is refused") << "a.Stl" << QByteArray() << "" << false;
    QTest::newRow("an unknown suffix is refused") << "a.blend" << QByteArray("x") << "" << false;
    QTest::newRow("no suffix is refused") << "model" << QByteArray("x") << "" << false;
    QTest::newRow("a name with blanks, percent, umlaut and Chinese")
        << "a b%20 ü 中.obj" << QByteArray("v 0 0 0") << "obj" << true;
}

void ModelFileTest::suffixAndContentDecide()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QString, format);
    QFETCH(bool, accepted);
    const ModelFileReport report = examineModelFile(write(name, content));
    QCOMPARE(report.format, format);
    QCOMPARE(report.description.isEmpty(), format.isEmpty());
    QCOMPARE(report.verdict, accepted ? Verdict::accepted : Verdict::refused);
    QCOMPARE(report.reason.isEmpty(), accepted);
}

void ModelFileTest::missingFileIsUnreadable()
{
    for (const char* name : {"none.glb", "none.fbx", "none.xyz"}) {
        const ModelFileReport report = examineModelFile(m_folder.filePath(QLatin1String(name)));
        QCOMPARE(report.verdict, Verdict::unreadable);
        QVERIFY(!report.reason.isEmpty());
    }
}

void ModelFileTest::folderIsUnreadable()
{
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("folder.stl")));
    const ModelFileReport report = examineModelFile(m_folder.filePath(QStringLiteral("folder.stl")));
    QCOMPARE(report.verdict, Verdict::unreadable);
    QCOMPARE(report.reason, QStringLiteral("is a folder"));
}

void ModelFileTest::pipeIsUnreadableAndNotWaitedFor()
{
    const QString path = m_folder.filePath(QStringLiteral("pipe.obj"));
    QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    QCOMPARE(examineModelFile(path).verdict, Verdict::unreadable);
}

void ModelFileTest::brokenJsonIsRefusedWithItsPlace()
{
    const ModelFileReport report = examineModelFile(write(QStringLiteral("c.gltf"), "{\"asset\": }"));
    QCOMPARE(report.verdict, Verdict::refused);
    QVERIFY2(report.reason.contains(QLatin1String("JSON")) && report.reason.contains(QLatin1String("byte 1")),
             qPrintable(report.reason));
}

void ModelFileTest::oneLineHasNoControlCharacters()
{
    QCOMPARE(oneLine(QStringLiteral("a\nb\tc\x1b[0m\u2028d ü中")), QStringLiteral("a?b?c?[0m?d ü中"));
}

OV3D_TEST_MAIN(ModelFileTest)
#include "modelfile_test.moc"
