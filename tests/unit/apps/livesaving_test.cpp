#include "apps/document/itemsettings.h"
#include "apps/document/placeholderitem.h"
#include "tests/support/testmain.h"
#include "tests/unit/apps/helddocumentfile.h"
#include "tests/unit/apps/livedocumentfixture.h"

#include <QFileInfo>

#include <csignal>
#include <thread>

#include <sys/resource.h>

using namespace ov3d::apps;

/// Saves that run while the document stays in use.
class LiveSavingTest : public LiveDocumentFixture
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void eventsAreServedWhileADocumentIsSaved();
    void changesDuringASaveAreNotInTheFile();
    void itemsRemovedDuringASaveAreInTheFile();
    void documentIsInItsNewPlaceOnceTheSaveHasEnded();
    void secondSaveWaitsForTheFirst();
    void closedDocumentWaitsForItsSave();
    void fullDiskIsToldAndTheDocumentStaysUsable();
    void itemThatCannotBeAskedBeginsNoSave();
    void itemsThatArriveWhileOthersAreAskedAreSaved();

private:
    /// A document with one item, whose saves wait at the gate when it is shut.
    std::unique_ptr<LiveDocument> createHeld()
    {
        QString error;
        auto document = LiveDocument::fromFile(
            std::make_unique<HeldDocumentFile>(COvDocumentFile::create(error), m_gate), services());
        document->addPage(kPageSize);
        connect(document.get(), &LiveDocument::saveEnded, this, [this](const QString& path, const QString& reason) {
            m_ended << path;
            m_errors << reason;
        });
        m_ended.clear();
        m_errors.clear();
        return document;
    }
    bool startHeld(LiveDocument& document)
    {
        m_gate.shut();
        QString error;
        return document.startSave(path(), error, {}) && waitFor([this] { return m_gate.isWaitedAt(); });
    }
    bool finish(const LiveDocument& document)
    {
        m_gate.open();
        return waitFor([&document] { return !document.isSaving(); });
    }

    SaveGate m_gate;
    QStringList m_ended;
    QStringList m_errors;
};

void LiveSavingTest::cleanup()
{
    m_gate.open();
    LiveDocumentFixture::cleanup();
}

void LiveSavingTest::eventsAreServedWhileADocumentIsSaved()
{
    auto document = createHeld();
    insert(*document, model(QStringLiteral("chair.stl")));
    QVERIFY(startHeld(*document));
    bool served = false;
    QMetaObject::invokeMethod(
        this, [&served] { served = true; }, Qt::QueuedConnection);
    QVERIFY(waitFor([&served] { return served; }));
    QVERIFY(document->isSaving());
    QCOMPARE(document->savingPath(), path());
    QVERIFY(m_ended.isEmpty());
    QVERIFY(!QFile::exists(path()));
    QVERIFY(finish(*document));
    QCOMPARE(m_ended, QStringList{path()});
    QCOMPARE(m_errors, QStringList{QString()});
    QVERIFY(QFile::exists(path()));
    QVERIFY(document->savingPath().isEmpty());
    close(document);
}

void LiveSavingTest::changesDuringASaveAreNotInTheFile()
{
    auto document = createHeld();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), 1}, {QStringLiteral("wireframe"), true}}),
             QString());
    save(*document);
    const QByteArray before = savedBytes();

    QVERIFY(startHeld(*document));
    QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), 4}, {QStringLiteral("wireframe"), false}}),
             QString());
    item->setObjRect(kFrame.translated(200, 100));
    document->addPage(kPageSize);
    // A copy has the item write the files beside its model anew.
    QString error;
    QVERIFY(!document->copyItems({item}, error).isEmpty());
    QVERIFY(finish(*document));
    QVERIFY(m_errors.last().isEmpty());
    QVERIFY(savedBytes() == before);

    // They are in the next one.
    save(*document);
    QVERIFY(savedBytes() != before);
    QCOMPARE(document->file().content().pages.size(), 2);
    close(document);
}

void LiveSavingTest::itemsRemovedDuringASaveAreInTheFile()
{
    auto document = createHeld();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    QVERIFY(startHeld(*document));
    QVERIFY(document->pages().page(0)->takeObject(item));
    item->m_loadTimer.invalidate();
    reapItem(item);
    QVERIFY(waitFor([] { return itemsBeingReaped() == 0; }));
    document->pages().takePage(0);
    QVERIFY(finish(*document));
    QCOMPARE(m_errors, QStringList{QString()});
    close(document);

    auto again = open();
    QVERIFY(again->warnings().isEmpty());
    QVERIFY(itemAt(*again, 0));
    close(again);
}

void LiveSavingTest::documentIsInItsNewPlaceOnceTheSaveHasEnded()
{
    auto document = createHeld();
    insert(*document, model(QStringLiteral("chair.stl")));
    QVERIFY(startHeld(*document));
    QVERIFY(document->file().path().isEmpty());
    QVERIFY(finish(*document));
    QCOMPARE(document->file().path(), path());

    // With its lock.
    QString error;
    const auto second = COvDocumentFile::open(path(), error);
    QVERIFY(second && second->isReadOnly());
    close(document);
}

void LiveSavingTest::secondSaveWaitsForTheFirst()
{
    auto document = createHeld();
    insert(*document, model(QStringLiteral("chair.stl")));
    QVERIFY(startHeld(*document));
    const QString other = m_fixture->folder() + QStringLiteral("other.ovb");
    std::thread opener([this] {
        // The first save is at the gate; the second must not get there before it has ended.
        m_gate.open();
    });
    QString error;
    QVERIFY(document->startSave(other, error, {}));
    opener.join();
    QCOMPARE(m_ended, QStringList{path()});
    QVERIFY(QFile::exists(path()));
    QVERIFY(finish(*document));
    QCOMPARE(m_ended, QStringList({path(), other}));
    QCOMPARE(document->file().path(), other);
    close(document);
}

void LiveSavingTest::closedDocumentWaitsForItsSave()
{
    auto document = createHeld();
    insert(*document, model(QStringLiteral("chair.stl")));
    QVERIFY(startHeld(*document));
    std::thread opener([this] { m_gate.open(); });
    close(document);
    opener.join();
    QCOMPARE(m_ended, QStringList{path()});
    auto again = open();
    QVERIFY(again && again->warnings().isEmpty());
    QVERIFY(itemAt(*again, 0));
    close(again);
}

void LiveSavingTest::fullDiskIsToldAndTheDocumentStaysUsable()
{
    auto document = createHeld();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    save(*document);
    const QByteArray before = savedBytes();
    QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), 3}}), QString());

    QVERIFY(startHeld(*document));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit unlimited{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    rlimit limit = unlimited;
    limit.rlim_cur = 500;
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const bool isFinished = finish(*document);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    QVERIFY(isFinished);
    QCOMPARE(m_errors.last(), QStringLiteral("cannot save \"%1\": File too large").arg(path()));
    QVERIFY(savedBytes() == before);
    QCOMPARE(document->file().path(), path());

    // The item still answers, its view's lock included, and the next save works.
    QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), 2}}), QString());
    QVERIFY(waitFor([item] { return item->m_viewMutex.tryLock(); }));
    item->m_viewMutex.unlock();
    QString error;
    QVERIFY(document->startSave(path(), error, {}));
    QVERIFY(finish(*document));
    QCOMPARE(m_errors.last(), QString());
    QVERIFY(savedBytes() != before);
    close(document);
}

void LiveSavingTest::itemThatCannotBeAskedBeginsNoSave()
{
    auto document = createHeld();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    QVERIFY(QDir().mkpath(QFileInfo(item->m_modelPath).path() + QStringLiteral("/chair.opt")));
    QString error;
    QVERIFY(!document->startSave(path(), error, {}));
    QVERIFY2(error.contains(QLatin1String("chair.stl")), qPrintable(error));
    QVERIFY(!document->isSaving());
    QVERIFY(m_ended.isEmpty());
    QVERIFY(!QFile::exists(path()));
    close(document);
}

void LiveSavingTest::itemsThatArriveWhileOthersAreAskedAreSaved()
{
    {
        auto document = createHeld();
        for (const char* name : {"chair.stl", "table.stl"})
            insert(*document, model(QString::fromLatin1(name)));
        save(*document);
        close(document);
    }
    // One of them is loaded in the pause after it has been asked as a placeholder, and a third one arrives.
    auto document = open(false);
    document->load(*dynamic_cast<PlaceholderItem*>(document->items().first()));
    const auto third = model(QStringLiteral("lamp.stl"));
    int pauses = 0;
    bool isRefused = false;
    QString error;
    const auto pause = [&] {
        if (++pauses > 1)
            return;
        isRefused = !document->startSave(path(), error, {});
        insert(*document, third);
    };
    QVERIFY(document->startSave(path(), error, pause));
    QVERIFY(isRefused);
    QVERIFY(pauses > 3); // the first of them was asked again
    document->finishSave();
    close(document);

    auto again = open();
    QCOMPARE(again->items().size(), 3);
    QVERIFY(again->warnings().isEmpty());
    for (int i = 0; i < 3; ++i)
        QVERIFY(itemAt(*again, i));
    close(again);
}

OV3D_TEST_MAIN(LiveSavingTest)
#include "livesaving_test.moc"
