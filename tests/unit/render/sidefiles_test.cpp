#include "src/render/sidefiles.h"

#include "src/render/viewcontext.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

using Texts = QVector<QString>;

class SideFilesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void listSplitsIntoNamesAndFolders_data();
    void listSplitsIntoNamesAndFolders();
    void listsOnlyGrow();
    void unterminatedListEndsWithItsMemory();
};

void SideFilesTest::listSplitsIntoNamesAndFolders_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<Texts>("names");
    QTest::addColumn<Texts>("folders");
    QTest::newRow("nothing") << QByteArray("") << Texts{} << Texts{};
    QTest::newRow("duplicate and empty part dropped")
        << QByteArray("a/b.png@a/b.png@@c.png") << Texts{"b.png", "c.png"} << Texts{"a/", ""};
    QTest::newRow("separators alone") << QByteArray("@@@") << Texts{} << Texts{};
    QTest::newRow("folders of any depth") << QByteArray("a/b/c/d.bin") << Texts{"d.bin"} << Texts{"a/b/c/"};
    QTest::newRow("backslashes become slashes") << QByteArray("a\\b\\c.png") << Texts{"c.png"} << Texts{"a/b/"};
    QTest::newRow("two backslashes become two slashes") << QByteArray("a\\\\c.png") << Texts{"c.png"} << Texts{"a//"};
    QTest::newRow("duplicates are found before backslashes are replaced")
        << QByteArray("a\\b.png@a/b.png") << Texts{"b.png", "b.png"} << Texts{"a/", "a/"};
    QTest::newRow("absolute path") << QByteArray("/tmp/x.png") << Texts{"x.png"} << Texts{"/tmp/"};
    QTest::newRow("entry that ends in a slash has an empty name") << QByteArray("a/") << Texts{""} << Texts{"a/"};
    QTest::newRow("the first of equal entries counts for the order")
        << QByteArray("z@a@z@b") << Texts{"z", "a", "b"} << Texts{"", "", ""};
    QTest::newRow("UTF-8") << QByteArray("\xe4\xb8\xad/\xc3\xbc.png") << Texts{QString::fromUtf8("\xc3\xbc.png")}
                           << Texts{QString::fromUtf8("\xe4\xb8\xad/")};
    QTest::newRow("blanks and percent signs stay") << QByteArray("a b/c%20.png") << Texts{"c%20.png"} << Texts{"a b/"};
}

void SideFilesTest::listSplitsIntoNamesAndFolders()
{
    QFETCH(QByteArray, text);
    QFETCH(Texts, names);
    QFETCH(Texts, folders);
    Texts foundNames;
    Texts foundFolders;
    appendSideFiles(text.constData(), static_cast<std::size_t>(text.size()) + 1, foundNames, foundFolders);
    QCOMPARE(foundNames, names);
    QCOMPARE(foundFolders, folders);
}

void SideFilesTest::listsOnlyGrow()
{
    Texts names{"old.png"};
    Texts folders{"old/"};
    appendSideFiles("new.png", 8, names, folders);
    appendSideFiles("new.png", 8, names, folders);
    QCOMPARE(names, (Texts{"old.png", "new.png", "new.png"}));
    QCOMPARE(folders, (Texts{"old/", "", ""}));
}

void SideFilesTest::unterminatedListEndsWithItsMemory()
{
    ViewContext context{};
    constexpr int size = sizeof context.file_list;
    std::fill(std::begin(context.file_list), std::end(context.file_list), 'x');
    // What follows the list in the record would otherwise be read as a part of it.
    std::fill(std::begin(context.app_path), std::end(context.app_path), 'y');
    context.progress_callback = reinterpret_cast<void (*)(int)>(0x7a7a7a7a7a7a7a7a);
    Texts names;
    Texts folders;
    appendSideFiles(context.file_list, size, names, folders);
    QCOMPARE(names, Texts{QString(size, QLatin1Char('x'))});
    QCOMPARE(folders, Texts{""});
}

OV3D_TEST_MAIN(SideFilesTest)
#include "sidefiles_test.moc"
