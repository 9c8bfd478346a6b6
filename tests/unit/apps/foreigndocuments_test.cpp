#include "apps/document/itemrecord.h"
#include "apps/document/pagepicture.h"
#include "apps/document/placeholderitem.h"
#include "tests/support/testmain.h"
#include "tests/unit/apps/livedocumentfixture.h"
#include "viewer/session/commands.h"

#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QThread>

#include <atomic>

#include <sys/stat.h>

using namespace ov3d::apps;

/// Documents that come from another machine, or that somebody has edited, and whatever else they do not expect.
class ForeignDocumentsTest : public LiveDocumentFixture
{
    Q_OBJECT

private Q_SLOTS:
    void modelOpensBelowALongerFolder();
    void pathThatNoViewerTakesFailsBeforeTheLoad();
    void absurdRectangleIsBoundedAndSaid_data();
    void absurdRectangleIsBoundedAndSaid();
    void failedItemIsSavedWhereItStands();
    void itemThatWaitsLooksAsItWasSaved();
    void closingDuringAListingEndsIt();
    void whatIsNoPictureIsNoEnvironment_data();
    void whatIsNoPictureIsNoEnvironment();
    void environmentOfADocumentIsAFileOfTheItem();
    void copiesThatAreTooLargeTogetherAreRefused();
    void warningsAreTold();

private:
    /// Saves a document with one item, changed as somebody might.
    void saveChanged(const std::function<void(OvDocumentItem&)>& change, const QString& name = {});
    [[nodiscard]] QString longFolder(const QString& name) const
    {
        return m_fixture->folder() + name + QString(100, QLatin1Char('l'));
    }
    static PlaceholderItem* placeholderAt(LiveDocument& document, int index)
    {
        return dynamic_cast<PlaceholderItem*>(document.items().value(index));
    }
};

void ForeignDocumentsTest::saveChanged(const std::function<void(OvDocumentItem&)>& change, const QString& name)
{
    auto document = create();
    QVERIFY(insert(*document, model(name.isEmpty() ? QStringLiteral("chair.stl") : name)));
    save(*document);
    OvDocumentContent content = document->file().content();
    change(content.pages[0].items[0]);
    QString error;
    QVERIFY2(const_cast<COvDocumentFile&>(document->file()).save(path(), content, {}, error), qPrintable(error));
    close(document);
}

void ForeignDocumentsTest::modelOpensBelowALongerFolder()
{
    saveChanged([](OvDocumentItem&) {}, QString(200, QLatin1Char('n')) + QStringLiteral(".stl"));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(longFolder(QStringLiteral("cache"))));
    auto document = open();
    QVERIFY(document->file().workingFolder().startsWith(longFolder(QStringLiteral("cache"))));
    COv3DObject* item = itemAt(*document, 0);
    QVERIFY2(item, qPrintable(document->warnings().join(QLatin1Char('\n'))));
    QVERIFY(item->m_modelPath.toLocal8Bit().size() <= 255);
    QCOMPARE(
        QFileInfo(item->m_modelPath).canonicalFilePath(),
        QFileInfo(document->file().workingFolder() + QLatin1Char('/') + itemRecord(*item).model).canonicalFilePath());
    // New models fit too, and the document is saved through the link.
    QVERIFY(insert(*document, model(QString(180, QLatin1Char('m')) + QStringLiteral(".glb"))));
    save(*document);
    const QString link = document->working().root();
    close(document);
    QVERIFY(!QFileInfo(link).isSymLink());
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_fixture->folder() + QStringLiteral("cache")));
    document = open();
    QCOMPARE(document->warnings(), QStringList());
    QVERIFY(itemAt(*document, 0) && itemAt(*document, 1));
    close(document);
}

void ForeignDocumentsTest::pathThatNoViewerTakesFailsBeforeTheLoad()
{
    saveChanged([](OvDocumentItem&) {}, QString(200, QLatin1Char('n')) + QStringLiteral(".stl"));
    // A link would be too long as well.
    const QByteArray before = qgetenv("TMPDIR");
    QVERIFY(QDir().mkpath(longFolder(QStringLiteral("temporary"))));
    qputenv("TMPDIR", QFile::encodeName(longFolder(QStringLiteral("temporary"))));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(longFolder(QStringLiteral("cache"))));
    const std::size_t starts = m_fixture->viewer.starts().size();
    auto document = open();
    before.isEmpty() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
    QVERIFY(placeholderAt(*document, 0));
    QCOMPARE(m_fixture->viewer.starts().size(), starts);
    const QString warnings = document->warnings().join(QLatin1Char('\n'));
    QVERIFY2(warnings.contains(QLatin1String("nnn.stl: has too long a path here")), qPrintable(warnings));
    close(document);
}

void ForeignDocumentsTest::absurdRectangleIsBoundedAndSaid_data()
{
    QTest::addColumn<QJsonArray>("kept");
    QTest::addColumn<QRectF>("taken");
    QTest::newRow("a million square") << QJsonArray{5, 6, 1e6, 1e6} << QRectF(5, 6, 8192, 8192);
    QTest::newRow("its shape stays") << QJsonArray{0, 0, 16384, 8192} << QRectF(0, 0, 8192, 4096);
    QTest::newRow("a line") << QJsonArray{0, 0, 8192 * 4, 1} << QRectF(0, 0, 8192, 1);
    QTest::newRow("beyond any page") << QJsonArray{1e9, 0, 400, 300} << QRectF(0, 0, 1280, 960);
    QTest::newRow("no rectangle") << QJsonArray{1, 2} << QRectF(0, 0, 1280, 960);
}

void ForeignDocumentsTest::absurdRectangleIsBoundedAndSaid()
{
    QFETCH(QJsonArray, kept);
    QFETCH(QRectF, taken);
    saveChanged([&kept](OvDocumentItem& item) { item.entries.insert(QStringLiteral("obj_rect"), kept); });
    auto document = open();
    COv3DObject* item = itemAt(*document, 0);
    QVERIFY(item);
    QCOMPARE(item->getObjRect(), taken);
    QVERIFY(m_fixture->viewer.starts().back().context.width <= 8192);
    QCOMPARE(document->warnings().size(), 1);
    QVERIFY(document->warnings().first().contains(QLatin1String("chair.stl: its rectangle")));
    close(document);
}

void ForeignDocumentsTest::failedItemIsSavedWhereItStands()
{
    saveChanged([](OvDocumentItem& item) { item.model = QStringLiteral("resources/1/chair/gone.stl"); });
    auto document = open();
    QVERIFY(placeholderAt(*document, 0));
    QCOMPARE(placeholderAt(*document, 0)->state(), PlaceholderItem::State::failed);
    constexpr QRectF kMoved(7, 8, 200, 150);
    placeholderAt(*document, 0)->setObjRect(kMoved);
    save(*document);
    close(document);
    document = open(false);
    QCOMPARE(document->items().value(0)->getObjRect(), kMoved);
    close(document);
}

void ForeignDocumentsTest::itemThatWaitsLooksAsItWasSaved()
{
    QImage picture(40, 30, QImage::Format_ARGB32);
    picture.fill(QColor(200, 30, 60));
    {
        auto document = create();
        QVERIFY(insert(*document, model(QStringLiteral("chair.stl"))));
        save(*document);
        const QString preview =
            document->file().workingFolder() + QStringLiteral("/resources/1/chair/chair_3dpreview.png");
        QVERIFY(QFileInfo(preview).isFile());
        QVERIFY(picture.save(preview));
        OvDocumentContent content = document->file().content();
        QString error;
        QVERIFY2(const_cast<COvDocumentFile&>(document->file()).save(path(), content, {}, error), qPrintable(error));
        close(document);
    }
    auto document = open(false);
    const auto colourInItem = [&document] {
        return pagePreview(*document->pages().page(0)).pixelColor(QPoint(200, 110) * 512 / 1000);
    };
    QCOMPARE(colourInItem(), QColor(200, 30, 60));
    // What has failed says so.
    placeholderAt(*document, 0)->showFailure(QStringLiteral("is broken"));
    QVERIFY(colourInItem() != QColor(200, 30, 60));
    close(document);
}

void ForeignDocumentsTest::closingDuringAListingEndsIt()
{
    std::atomic<bool> isListing{false};
    DocumentServices waiting = services();
    waiting.listFiles = [&isListing](const QString&, const std::function<void(const QString&)>&,
                                     const std::function<bool()>& cancelled) {
        isListing = true;
        // For ever, unless somebody says so.
        while (!cancelled())
            QThread::yieldCurrentThread();
        return false;
    };
    QString error;
    auto document = LiveDocument::create(waiting, error);
    QVERIFY2(document, qPrintable(error));
    document->insertModel(*document->addPage(kPageSize), model(QStringLiteral("chair.stl")), kFrame,
                          [&error](CBaseObject*, const QString& reason) { error = reason; });
    QVERIFY(waitFor([&isListing] { return isListing.load(); }));
    close(document);
    QVERIFY2(error.contains(QLatin1String("was cancelled")), qPrintable(error));
}

void ForeignDocumentsTest::whatIsNoPictureIsNoEnvironment_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("reason");
    QTest::newRow("a pipe") << QStringLiteral("pipe.hdr") << QStringLiteral("is not a regular file");
    QTest::newRow("a device") << QStringLiteral("/dev/zero") << QStringLiteral("is not a regular file");
    QTest::newRow("a folder") << QStringLiteral("originals") << QStringLiteral("is a folder");
    QTest::newRow("text") << QStringLiteral("text.hdr") << QStringLiteral("is no Radiance picture");
    QTest::newRow("far too large") << QStringLiteral("large.hdr") << QStringLiteral("has more than 513 MB");
    QTest::newRow("refused by the viewer") << QStringLiteral("cut.hdr") << QStringLiteral("is no Radiance picture");
}

void ForeignDocumentsTest::whatIsNoPictureIsNoEnvironment()
{
    QFETCH(QString, path);
    QFETCH(QString, reason);
    const QString whole = QDir(m_fixture->folder()).absoluteFilePath(path);
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    QVERIFY(item);
    QCOMPARE(::mkfifo(QFile::encodeName(m_fixture->folder() + QStringLiteral("pipe.hdr")).constData(), 0600), 0);
    m_fixture->writeFile(QStringLiteral("text.hdr"), "words");
    m_fixture->writeFile(QStringLiteral("cut.hdr"), "#?RADIANCE\n");
    QFile large(m_fixture->writeFile(QStringLiteral("large.hdr"), "#?RADIANCE\n"));
    QVERIFY(large.resize(600LL << 20)); // a hole
    m_fixture->viewer.setCommandResult(1);
    QCOMPARE(document->setEnvironment(*item, whole), whole + QStringLiteral(": ") + reason);
    QVERIFY(!itemRecord(*item).host.contains(QLatin1String("environment")));
    QCOMPARE(QDir(document->working().root() + QStringLiteral("/resources/1")).entryList({QStringLiteral("*.hdr")}),
             QStringList());
    close(document);
}

void ForeignDocumentsTest::environmentOfADocumentIsAFileOfTheItem()
{
    const QString secret = m_fixture->writeFile(QStringLiteral("secret.hdr"), "#?RADIANCE\n");
    saveChanged([&secret](OvDocumentItem& item) {
        item.host.insert(QStringLiteral("environment"),
                         QStringLiteral("resources/1/../../../../../../../../../../../..") + secret);
    });
    auto document = open();
    QVERIFY(itemAt(*document, 0));
    QCOMPARE(m_fixture->viewer.callsWithOp(ov3d::kCommandSetEnvironment).size(), std::size_t{0});
    QCOMPARE(document->warnings().size(), 1);
    QVERIFY(document->warnings().first().endsWith(QLatin1String("is no file of the item")));
    close(document);
}

void ForeignDocumentsTest::copiesThatAreTooLargeTogetherAreRefused()
{
    auto document = create();
    QList<CBaseObject*> items;
    for (const char* name : {"a.stl", "b.stl"}) {
        m_sideFiles = QStringList{QString::fromLatin1(name) + QStringLiteral(".bin")};
        model(m_sideFiles.first());
        items << insert(*document, model(QString::fromLatin1(name)));
        QVERIFY(items.last());
        // Holes: each alone would be copied.
        QFile file(document->working().root() + QLatin1Char('/') + itemRecord(*items.last()).files.last());
        QVERIFY(file.resize(1'200'000'000));
    }
    QString error;
    QVERIFY(document->copyItems(items, error).isEmpty());
    QVERIFY2(error.startsWith(QLatin1String("b.stl: is too large")), qPrintable(error));
    close(document);
}

void ForeignDocumentsTest::warningsAreTold()
{
    saveChanged([](OvDocumentItem& item) { item.parameters.insert(QStringLiteral("point_size"), 1000); });
    QString error;
    auto file = COvDocumentFile::open(path(), error);
    QVERIFY2(file, qPrintable(error));
    auto document = LiveDocument::fromFile(std::move(file), services());
    QStringList told;
    connect(document.get(), &LiveDocument::warned, this, [&told](const QString& text) { told << text; });
    document->loadAll();
    document->loader().finishAll();
    QCOMPARE(told.size(), 1);
    QVERIFY(told.first().contains(QLatin1String("point_size")));
    QCOMPARE(document->warnings(), told);
    close(document);
}

OV3D_TEST_MAIN(ForeignDocumentsTest)
#include "foreigndocuments_test.moc"
