#include "tests/support/testmain.h"
#include "tests/unit/document/documentfixture.h"
#include "tests/unit/document/zipbuilder.h"

#include <QDir>
#include <QFile>

#include <functional>
#include <random>

#include <sys/stat.h>

Q_DECLARE_METATYPE(ZipBuilder)

namespace {

constexpr int kMegabyte = 1024 * 1024;
constexpr quint32 kLink = 0120777u << 16;
constexpr quint32 kDevice = 0020666u << 16;
constexpr quint32 kPipe = 0010666u << 16;
constexpr quint32 kFolder = 0040755u << 16;

ZipBuilder emptyDocument()
{
    ZipBuilder zip;
    zip.add("document.json", emptyContentText());
    return zip;
}

ZipBuilder withEntry(const QByteArray& name, const QByteArray& bytes = "x", bool packs = false)
{
    ZipBuilder zip = emptyDocument();
    zip.add(name, bytes, packs);
    return zip;
}

ZipBuilder withChanged(const std::function<void(ZipBuilderEntry&)>& change)
{
    ZipBuilder zip = emptyDocument();
    change(zip.add("resources/1/a.stl", "model"));
    return zip;
}

ZipBuilder withText(const QByteArray& json, bool packs = false)
{
    ZipBuilder zip;
    zip.add("document.json", json, packs);
    return zip;
}

ZipBuilder withManyEntries(int count)
{
    ZipBuilder zip = emptyDocument();
    for (int i = 1; i < count; ++i)
        zip.add("resources/" + QByteArray::number(i), QByteArray());
    return zip;
}

QByteArray itemText(const QByteArray& item)
{
    return R"({"format":"ov3d-document","version":1,"pages":[{"width":10,"height":10,"items":[)" + item + "]}]}";
}

} // namespace

class HostileTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void badNameIsRefused_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("reason");
        QTest::newRow("climbing out") << QByteArray("../../x") << "its entry \"../../x\" leads out of the document";
        QTest::newRow("climbing out of the resources")
            << QByteArray("resources/../../x") << "its entry \"resources/../../x\" leads out of the document";
        QTest::newRow("absolute") << QByteArray("/tmp/x") << "its entry \"/tmp/x\" has an absolute name";
        QTest::newRow("backslashes") << QByteArray("..\\x") << "its entry \"..\\x\" has a backslash in its name";
        QTest::newRow("a drive") << QByteArray("C:x") << "its entry \"C:x\" has a name that no document has";
        QTest::newRow("escaped dots") << QByteArray("resources/%2E%2E/x")
                                      << "its entry \"resources/%2E%2E/x\" has a name that no document has";
        QTest::newRow("none") << QByteArray() << "it has an entry without a name";
        QTest::newRow("a second text") << QByteArray("document.json") << "its entry \"document.json\" stands twice";
        QTest::newRow("a folder in the text's place")
            << QByteArray("document.json/x") << "its entry \"document.json\" is a file and a folder";
    }

    void badNameIsRefused()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, reason);
        refuse(withEntry(name).build(), reason);
    }

    void untrueEntryIsRefused_data()
    {
        QTest::addColumn<ZipBuilder>("zip");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* title, const ZipBuilder& zip, const char* reason) {
            QTest::newRow(title) << zip << QString(reason);
        };
        using Entry = ZipBuilderEntry&;
        const auto typeRow = [&](const char* title, quint32 attributes, const char* reason) {
            row(title, withChanged([=](Entry e) { e.attributes = attributes; }), reason);
        };
        typeRow("a link", kLink, "its entry \"resources/1/a.stl\" is a link");
        typeRow("a device", kDevice, "its entry \"resources/1/a.stl\" is no plain file");
        typeRow("a pipe", kPipe, "its entry \"resources/1/a.stl\" is no plain file");
        typeRow("a folder named like a file", kFolder, "its entry \"resources/1/a.stl\" is no plain file");
        row("a file named like a folder", withEntry("resources/1/"), "its entry \"resources/1/\" is no plain file");
        row("encrypted", withChanged([](Entry e) { e.flags = 1; }), "its entry \"resources/1/a.stl\" is encrypted");
        row("packed otherwise", withChanged([](Entry e) { e.method = 12; }),
            "its entry \"resources/1/a.stl\" is packed in an unknown way");
        row("two sizes", withChanged([](Entry e) { e.statedSize = 4; }),
            "it is damaged (entry \"resources/1/a.stl\" has two sizes)");
        row("a size that needs 64 bits", withChanged([](Entry e) { e.statedSize = 0xffffffff; }),
            "its entry \"resources/1/a.stl\" is larger than 4 GB");
        row("data of another entry", withChanged([](Entry e) { e.statedOffset = 0; }),
            "it is damaged (entry \"document.json\" overlaps another)");
        row("data behind the end", withChanged([](Entry e) { e.statedOffset = 1000000; }),
            "it is damaged (entry \"resources/1/a.stl\" overlaps another)");
        row("unpacks to more than stated", withChanged([](Entry e) {
                e.bytes = ZipBuilder::packed(QByteArray(50 * kMegabyte, 0));
                e.method = 8;
            }),
            "its entry \"resources/1/a.stl\" holds more than its directory states");
    }

    void untrueEntryIsRefused()
    {
        QFETCH(ZipBuilder, zip);
        QFETCH(QString, reason);
        refuse(zip.build(), reason);
    }

    void entryWhoseOwnHeaderHasAnotherNameIsDamaged()
    {
        const ZipBuilder zip = withChanged([](ZipBuilderEntry& e) { e.nameInHeader = "resources/1/b.stl"; });
        writeFile(file("a.ovb"), zip.build());
        QString error;
        const auto document = COvDocumentFile::open(file("a.ovb"), error);
        QVERIFY2(document, qUtf8Printable(error));
        QCOMPARE(document->warnings(), QStringList{"its entry \"resources/1/a.stl\" is damaged"});
    }

    void tooManyEntriesAreRefused()
    {
        ZipBuilder zip = withManyEntries(100000);
        const QString tooMany = QStringLiteral("it has more than 10000 entries");
        zip.statedCount = 0xffff;
        refuse(zip.build(), tooMany);
        zip.statedCount = 60000;
        refuse(zip.build(), tooMany);
        zip.statedCount = 5;
        refuse(zip.build(), "it is damaged (its directory is cut short)");
    }

    void asManyEntriesAsAllowedOpen()
    {
        writeFile(file("a.ovb"), withManyEntries(10000).build());
        QString error;
        QVERIFY2(COvDocumentFile::open(file("a.ovb"), error), qUtf8Printable(error));
        refuse(withManyEntries(10001).build(), "it has more than 10000 entries");
    }

    void directoryIsBounded()
    {
        ZipBuilder zip = emptyDocument();
        for (int i = 0; i < 300; ++i)
            zip.add(QByteArray(60000, 'n'), QByteArray());
        refuse(zip.build(), "its directory is larger than 16 MB");
        zip = emptyDocument();
        zip.statedDirectorySize = 0xfffffff0;
        refuse(zip.build(), "its directory is larger than 16 MB");
        zip.statedDirectorySize = -1;
        zip.statedDirectoryOffset = 5;
        refuse(zip.build(), "it is damaged (its directory is not where it should be)");
        zip.statedDirectoryOffset = 0xffffffff;
        refuse(zip.build(), "it is larger than 4 GB");
    }

    void dataThatGrowsBeyondMeasureIsRefused()
    {
        const QByteArray zeros = ZipBuilder::packed(QByteArray(100 * kMegabyte, 0));
        ZipBuilder zip = emptyDocument();
        ZipBuilderEntry& bomb = zip.add("resources/1/bomb", QByteArray(), true);
        bomb.bytes = zeros;
        bomb.statedSize = 100 * kMegabyte;
        refuse(zip.build(), QStringLiteral("its entry \"resources/1/bomb\" would grow from %1 to %2 bytes")
                                .arg(zeros.size())
                                .arg(100 * kMegabyte));
    }

    void manyPartsThatGrowBeyondMeasureTogetherAreRefused()
    {
        // Ten gigabytes, none of them suspicious by itself.
        const QByteArray zeros = ZipBuilder::packed(QByteArray(60 * kMegabyte, 0));
        ZipBuilder zip = emptyDocument();
        for (int i = 0; i < 170; ++i) {
            ZipBuilderEntry& part = zip.add("resources/" + QByteArray::number(i), QByteArray(), true);
            part.bytes = zeros;
            part.statedSize = 60 * kMegabyte;
        }
        const QByteArray bytes = zip.build();
        refuse(bytes, QStringLiteral("it would grow from %1 to %2 bytes")
                          .arg(bytes.size())
                          .arg(emptyContentText().size() + 170LL * 60 * kMegabyte));
    }

    void moreThanADocumentHoldsIsRefused()
    {
        ZipBuilder zip = emptyDocument();
        for (int i = 0; i < 3; ++i) {
            ZipBuilderEntry& part = zip.add("resources/" + QByteArray::number(i), noise(20 * kMegabyte, 1));
            part.method = 8;
            part.statedSize = 0xf0000000;
        }
        writeFile(file("a.ovb"), zip.build());
        QString error;
        QVERIFY(!COvDocumentFile::open(file("a.ovb"), error));
        QVERIFY2(error.contains("would grow from"), qUtf8Printable(error));
    }

    void textBeyondMeasureIsRefused_data()
    {
        QTest::addColumn<ZipBuilder>("zip");
        QTest::addColumn<QString>("reason");
        const QByteArray large = emptyContentText() + QByteArray(17 * kMegabyte, ' ');
        QTest::newRow("large") << withText(large) << "its document.json is larger than 16 MB";
        QTest::newRow("large, packed") << withText(large, true) << "its document.json is larger than 16 MB";
        const QByteArray huge = ZipBuilder::packed(QByteArray(200 * kMegabyte, ' '));
        const auto stated = [&](quint32 size) {
            ZipBuilder zip;
            ZipBuilderEntry& text = zip.add("document.json", QByteArray(), true);
            text.bytes = huge;
            text.statedSize = size;
            return zip;
        };
        QTest::newRow("200 MB") << stated(200 * kMegabyte)
                                << QStringLiteral("its entry \"document.json\" would grow from %1 to %2 bytes")
                                       .arg(huge.size())
                                       .arg(200 * kMegabyte);
        QTest::newRow("200 MB that are said to be 100 bytes")
            << stated(100) << "its entry \"document.json\" holds more than its directory states";
        const QByteArray deep = QByteArray("[").repeated(200000) + QByteArray("]").repeated(200000);
        QTest::newRow("arrays nested 200000 deep")
            << withText(deep, true) << "its document.json is nested deeper than 100 levels";
        const QByteArray objects = QByteArray("{\"a\":").repeated(200000) + "1" + QByteArray("}").repeated(200000);
        QTest::newRow("objects nested 200000 deep")
            << withText(objects) << "its document.json is nested deeper than 100 levels";
    }

    void textBeyondMeasureIsRefused()
    {
        QFETCH(ZipBuilder, zip);
        QFETCH(QString, reason);
        refuse(zip.build(), reason);
    }

    void bracketsInTextsDoNotCountAsNesting()
    {
        QByteArray text = emptyContentText();
        text.insert(1, "\"name\": \"" + QByteArray("[{\\\"").repeated(200) + "\",");
        writeFile(file("a.ovb"), withText(text).build());
        QString error;
        QVERIFY2(COvDocumentFile::open(file("a.ovb"), error), qUtf8Printable(error));
    }

    void textThatIsNoContentIsRefused_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* title, const QByteArray& text, const char* reason) {
            QTest::newRow(title) << text << QString(reason);
        };
        const char* noDocument = "its document.json does not say that it is a document";
        row("newer", R"({"format":"ov3d-document","version":7,"future":1})",
            "it was written by a newer program: its format has version 7, and this program knows up to version 1");
        row("no JSON", "hello", "its document.json cannot be read: illegal value at byte 1");
        row("empty", "", "its document.json cannot be read: illegal value at byte 0");
        row("an array", "[]", "its document.json cannot be read: no object at byte 0");
        row("another format", R"({"format":"x","version":1})", noDocument);
        row("no version", R"({"format":"ov3d-document"})", noDocument);
        const char* noVersion = "the version of its format is no whole number from 1";
        row("version zero", R"({"format":"ov3d-document","version":0})", noVersion);
        row("a fraction", R"({"format":"ov3d-document","version":1.5})", noVersion);
        row("a version in words", R"({"format":"ov3d-document","version":"1"})", noVersion);
        row("pages that are no list", R"({"format":"ov3d-document","version":1,"pages":{}})",
            "its document.json has pages that are no list");
        row("a page that is no object", R"({"format":"ov3d-document","version":1,"pages":[1]})",
            "its document.json, page 1: is no object");
        row("a page of no size", R"({"format":"ov3d-document","version":1,"pages":[{"width":10}]})",
            "its document.json, page 1: has no size");
        row("a page of endless size", R"({"format":"ov3d-document","version":1,"pages":[{"width":1e300,"height":1}]})",
            "its document.json, page 1: is wider or higher than 1000000 units");
        row("an item that is no object", itemText("1"), "its document.json, page 1: item 1 is no object");
        row("items of wrong types", itemText(R"({"files":1})"),
            "its document.json, page 1: item 1 has a value of the wrong type");
        row("files of wrong types", itemText(R"({"files":[1]})"),
            "its document.json, page 1: item 1 has a file name that is no text");
        row("a file outside", itemText(R"({},{"files":["resources/../../etc/passwd"]})"),
            "its document.json, page 1: item 2 names the file \"resources/../../etc/passwd\", which is none of the "
            "document's");
        row("a model outside", itemText(R"({"model":"/etc/passwd"})"),
            "its document.json, page 1: item 1 names the file \"/etc/passwd\", which is none of the document's");
    }

    void textThatIsNoContentIsRefused()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, reason);
        refuse(withText(text).build(), reason);
    }

    void fileThatIsNoDocumentIsRefused()
    {
        refuse("This is a letter, and no document.", "it is no document");
        refuse(QByteArray(), "it is no document");
        refuse(ZipBuilder().build(), "it is no document (it has no document.json)");
        ZipBuilder other;
        other.add("word/document.xml", "<x/>");
        refuse(other.build(), "it is no document (it has no document.json)");
    }

    void whatIsNoFileIsRefused()
    {
        refuseAt(file("gone.ovb"), "No such file or directory");
        refuseAt(folder(), "it is a folder");
        refuseAt("/dev/null", "it is no plain file");
        QCOMPARE(::mkfifo(QFile::encodeName(file("pipe")).constData(), 0600), 0);
        refuseAt(file("pipe"), "it is no plain file");
        QVERIFY(QFile::link(file("loop"), file("loop")));
        refuseAt(file("loop"), "Too many levels of symbolic links");
    }

    void truncatedDocumentIsRefusedWhereverItEnds()
    {
        const QByteArray whole = realDocument();
        for (int i = 0; i < 64; ++i) {
            const QByteArray part = whole.left(whole.size() * i / 64);
            refuse(part, part.size() < 4 ? "it is no document" : "it is damaged (its end is missing)");
        }
        refuse(whole.left(whole.size() - 1), "it is damaged (its end is missing)");
    }

    void changedBytesNeverCrashNorLeaveAnythingOutside()
    {
        const QByteArray whole = realDocument();
        std::mt19937 generator(7);
        for (int i = 0; i < 200; ++i) {
            QByteArray bytes = whole;
            // Every second time in the directory and the end, where most meaning is.
            const int from = i % 2 == 0 ? 0 : bytes.size() - 400;
            for (int n = 0; n < 3; ++n) {
                const auto at = from + static_cast<int>(generator() % static_cast<unsigned>(bytes.size() - from));
                bytes[at] = static_cast<char>(generator() & 0xff);
            }
            writeFile(file("a.ovb"), bytes);
            QString error;
            const auto document = COvDocumentFile::open(file("a.ovb"), error);
            QVERIFY2(document || error.startsWith(QStringLiteral("cannot open \"%1\": ").arg(file("a.ovb"))),
                     qUtf8Printable(error));
            QCOMPARE(namesIn(folder()), QStringList({"a.ovb", "cache"}));
        }
    }

private:
    void refuse(const QByteArray& bytes, const QString& reason)
    {
        writeFile(file("a.ovb"), bytes);
        refuseAt(file("a.ovb"), reason);
        QCOMPARE(readFile(file("a.ovb")), bytes);
    }

    void refuseAt(const QString& path, const QString& reason)
    {
        const QStringList before = namesIn(folder());
        QString error;
        QVERIFY(!COvDocumentFile::open(path, error));
        QCOMPARE(error, QStringLiteral("cannot open \"%1\": %2").arg(path, reason));
        QVERIFY(namesIn(workPlace()).isEmpty());
        QStringList after = namesIn(folder());
        after.removeOne("cache");
        QStringList expected = before;
        expected.removeOne("cache");
        QCOMPARE(after, expected);
    }

    QByteArray realDocument()
    {
        QString error;
        const auto document = COvDocumentFile::create(error);
        writeFile(document->workingFolder() + "/resources/1/a.stl", QByteArray("solid ").repeated(500));
        writeFile(document->workingFolder() + "/resources/1/a.png", noise(2000, 3));
        if (!document->save(file("a.ovb"), contentWith({"resources/1/a.stl", "resources/1/a.png"}), QImage(), error))
            qFatal("%s", qUtf8Printable(error));
        return readFile(file("a.ovb"));
    }
};

OV3D_TEST_MAIN(HostileTest)
#include "hostile_test.moc"
