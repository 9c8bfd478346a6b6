#include "host/document/temporaryfolder.h"
#include "tests/support/testmain.h"
#include "tests/unit/document/documentfixture.h"

#include <QDir>
#include <QFileInfo>

#include <unistd.h>

using ov3d::document::temporaryFolder;

/// Where documents are unpacked when the user's cache folder cannot be used.
class TemporaryFolderTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        DocumentTestBase::init();
        for (const char* name : kVariables) {
            m_kept << qgetenv(name);
            qunsetenv(name);
        }
    }
    void cleanup()
    {
        for (const char* name : kVariables)
            qputenv(name, m_kept.takeFirst());
        DocumentTestBase::cleanup();
    }

    void folderOfTheEnvironmentIsUsed()
    {
        qputenv("TMPDIR", QFile::encodeName(folder()));
        QCOMPARE(temporaryFolder(), QFileInfo(folder()).canonicalFilePath());
        QString error;
        const auto document = COvDocumentFile::create(error);
        QVERIFY2(document, qUtf8Printable(error));
        QVERIFY2(document->workingFolder().startsWith(folder() + ownFolder()),
                 qUtf8Printable(document->workingFolder()));
    }

    void folderThatIsNotThereGivesWayToTmp()
    {
        const QString rootFolder = QString(ownFolder()).chopped(1);
        const bool wasThere = QFileInfo::exists(rootFolder);
        qputenv("TMPDIR", "/nowhere/at/all");
        QCOMPARE(temporaryFolder(), QStringLiteral("/tmp"));
        QString error;
        auto document = COvDocumentFile::create(error);
        QVERIFY2(document, qUtf8Printable(error));
        QVERIFY2(document->workingFolder().startsWith("/tmp" + ownFolder()), qUtf8Printable(document->workingFolder()));
        QCOMPARE(QFileInfo::exists(rootFolder), wasThere); // nothing in the root of the file system
        document.reset();
        QDir().rmdir("/tmp" + ownFolder()); // unless others have their documents there
    }

    void fileInPlaceOfTheFolderIsNamed()
    {
        writeFile(file("plain"), "x");
        qputenv("TMPDIR", QFile::encodeName(file("plain")));
        QString error;
        QVERIFY(!COvDocumentFile::create(error));
        QVERIFY2(error.contains(file("plain")), qUtf8Printable(error));
    }

private:
    static constexpr const char* kVariables[] = {"TMPDIR", "HOME", "XDG_CACHE_HOME"};

    static QString ownFolder() { return QStringLiteral("/ov3d-documents-%1/").arg(::geteuid()); }

    QList<QByteArray> m_kept;
};

OV3D_TEST_MAIN(TemporaryFolderTest)
#include "temporaryfolder_test.moc"
