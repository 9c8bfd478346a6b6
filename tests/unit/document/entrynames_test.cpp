#include "host/document/entrynames.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

using namespace ov3d::document;

class EntryNamesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void nameIsPlainAsciiAndLeadsBackToThePath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("plain letters") << "resources/1/chair/chair.obj" << QByteArray("resources/1/chair/chair.obj");
        QTest::newRow("a blank and signs") << "resources/a b(1)+,@.x" << QByteArray("resources/a b(1)+,@.x");
        QTest::newRow("a per cent sign") << "resources/50%.png" << QByteArray("resources/50%25.png");
        QTest::newRow("a backslash") << "resources/a\\b" << QByteArray("resources/a%5Cb");
        QTest::newRow("a drive") << "C:x" << QByteArray("C%3Ax");
        QTest::newRow("another script") << QStringLiteral("resources/椅") << QByteArray("resources/%E6%A4%85");
        QTest::newRow("dots in names") << "a/..b/c../..." << QByteArray("a/..b/c../...");
    }

    void nameIsPlainAsciiAndLeadsBackToThePath()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, name);
        QCOMPARE(entryNameOf(path), name);
        QString back;
        QCOMPARE(readEntryName(name, back), QString());
        QCOMPARE(back, path);
    }

    void badNameIsRefused_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* title, const QByteArray& name, const QString& reason) {
            QTest::newRow(title) << name << reason;
        };
        const QString odd = QStringLiteral("its entry \"%1\" has a name that no document has");
        row("empty", "", "it has an entry without a name");
        row("absolute", "/etc/passwd", "its entry \"/etc/passwd\" has an absolute name");
        row("parent", "../../x", "its entry \"../../x\" leads out of the document");
        row("parent inside", "resources/../x", "its entry \"resources/../x\" leads out of the document");
        row("backslash", "..\\x", "its entry \"..\\x\" has a backslash in its name");
        row("drive", "C:/x", odd.arg("C:/x"));
        row("here", "./x", odd.arg("./x"));
        row("doubled separator", "resources//x", odd.arg("resources//x"));
        row("escaped dots", "resources/%2E%2E/x", odd.arg("resources/%2E%2E/x"));
        row("escaped separator", "resources%2Fx", odd.arg("resources%2Fx"));
        row("escaped zero", "a%00b", odd.arg("a%00b"));
        row("zero", QByteArray("a\0b", 3), odd.arg("a?b"));
        row("lower-case escape", "%e6%a4%85", odd.arg("%e6%a4%85"));
        row("broken escape", "50%", odd.arg("50%"));
        row("escape that is no text", "%FF", odd.arg("%FF"));
        row("bytes of another script", "\xe6\xa4\x85", odd.arg(QStringLiteral("椅")));
        row("name beyond what a file may have", QByteArray(256, 'n'), odd.arg(QString(80, QLatin1Char('n')) + "..."));
        row("path beyond what a file may have", QByteArray("nn/").repeated(1400) + "n",
            odd.arg(QString("nn/").repeated(26) + "nn..."));
    }

    void badNameIsRefused()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, reason);
        QString path;
        QCOMPARE(readEntryName(name, path), reason);
    }

    void onlyPlainPathsBelowResourcesAreTheDocuments_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("is");
        QTest::newRow("a file") << "resources/1/a.stl" << true;
        QTest::newRow("the folder itself") << "resources/" << false;
        QTest::newRow("another folder") << "resources2/a" << false;
        QTest::newRow("the text") << "document.json" << false;
        QTest::newRow("climbing out") << "resources/../document.json" << false;
        QTest::newRow("absolute") << "/resources/a" << false;
        QTest::newRow("nothing") << "" << false;
    }

    void onlyPlainPathsBelowResourcesAreTheDocuments()
    {
        QFETCH(QString, path);
        QTEST(isResourcePath(path), "is");
    }
};

OV3D_TEST_MAIN(EntryNamesTest)
#include "entrynames_test.moc"
