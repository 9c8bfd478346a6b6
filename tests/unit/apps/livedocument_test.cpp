#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/placeholderitem.h"
#include "tests/support/testmain.h"
#include "tests/unit/apps/livedocumentfixture.h"

#include <QFileInfo>
#include <QJsonArray>

using namespace ov3d::apps;

/// How models come into documents, and back out of their files.
class LiveDocumentTest : public LiveDocumentFixture
{
    Q_OBJECT

private Q_SLOTS:
    void insertedModelLivesInTheDocument();
    void placeholderStandsInWhileAModelArrives();
    void refusedInsertionLeavesNothing();
    void cancelledInsertionLeavesNothing();
    void cancelledOpeningLeavesWhatWaits();
    void savedItemComesBackAsItWas();
    void recordIsSetBeforeTheItemIsShown();
    void itemsKeepTheirOrderWhateverIsLoaded();
    void itemsThatAreNotLoadedAreSavedAsTheyWere();
    void missingModelIsSaidAndTheRestOpens();
    void keysOfOthersSurvive();
    void lockedItemComesBackLocked();
    void modelsThatItemsDoNotHandOverComeBack();
    void equalNamesDoNotMeet();
    void twoSavesAreTheSameBytes();
    void newestStateComesBackAfterManySaves();
    void failedSaveLeavesFileAndDocumentAlone();
};

void LiveDocumentTest::insertedModelLivesInTheDocument()
{
    auto document = create();
    const QString original = model(QStringLiteral("chair.STL"));
    COv3DObject* item = insert(*document, original);
    QVERIFY(item);
    QVERIFY(QFile::remove(original));
    QCOMPARE(item->m_modelPath, document->working().root() + QStringLiteral("/resources/1/chair/chair.stl"));
    QVERIFY(QFileInfo(item->m_modelPath).isFile());
    QCOMPARE(item->getObjRect(), kFrame);
    QCOMPARE(item->pos(), kFrame.topLeft());
    QCOMPARE(item->scene(), document->pages().page(0)->scene());
    // What the item saves is written into the document too.
    save(*document);
    QVERIFY(QDir(QFileInfo(original).path()).isEmpty());
    close(document);
}

void LiveDocumentTest::placeholderStandsInWhileAModelArrives()
{
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    m_fixture->viewer.setScript(script);
    auto document = create();
    CBaseObject* arrived = nullptr;
    document->insertModel(*document->pages().page(0), model(QStringLiteral("chair.stl")), kFrame,
                          [&arrived](CBaseObject* item, const QString&) { arrived = item; });
    QVERIFY(waitFor([this] { return m_fixture->viewer.starts().size() == 1; }));
    auto* placeholder = dynamic_cast<PlaceholderItem*>(document->items().value(0));
    QVERIFY(placeholder);
    QCOMPARE(placeholder->getObjRect(), kFrame);
    QVERIFY(placeholder->text().contains(QLatin1String("chair.stl")));
    // What is not there yet is no part of the document.
    OvDocumentSnapshot snapshot;
    QString error;
    QVERIFY(document->collect(snapshot, error, {}));
    QVERIFY(snapshot.content.pages.first().items.isEmpty());

    m_fixture->viewer.allowFirstDraw();
    QVERIFY(waitFor([&arrived] { return arrived != nullptr; }));
    QCOMPARE(document->items(), QList<CBaseObject*>{arrived});
    close(document);
}

void LiveDocumentTest::refusedInsertionLeavesNothing()
{
    auto document = create();
    QString error;
    const QString text = m_fixture->writeFile(QStringLiteral("text.fbx"), "; FBX 7.4.0 project file\n");
    document->insertModel(*document->pages().page(0), text, kFrame,
                          [&error](CBaseObject*, const QString& reason) { error = reason; });
    document->loader().finishAll();
    QVERIFY2(error.contains(QLatin1String("text.fbx")), qPrintable(error));
    QVERIFY(document->items().isEmpty());
    QVERIFY(resources(*document).isEmpty());
    close(document);
}

void LiveDocumentTest::cancelledInsertionLeavesNothing()
{
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    m_fixture->viewer.setScript(script);
    auto document = create();
    QString error;
    const auto id = document->insertModel(*document->pages().page(0), model(QStringLiteral("chair.stl")), kFrame,
                                          [&error](CBaseObject*, const QString& reason) { error = reason; });
    QVERIFY(waitFor([this] { return m_fixture->viewer.starts().size() == 1; }));
    m_items.first()->m_loadTimer.invalidate();
    document->loader().cancel(id);
    document->loader().finishAll();
    QVERIFY2(error.contains(QLatin1String("was cancelled")), qPrintable(error));
    QVERIFY(document->items().isEmpty());
    QVERIFY(resources(*document).isEmpty());
    close(document);
}

void LiveDocumentTest::cancelledOpeningLeavesWhatWaits()
{
    {
        auto document = create();
        insert(*document, model(QStringLiteral("a.stl")));
        insert(*document, model(QStringLiteral("b.stl")));
        save(*document);
        close(document);
    }
    ScriptedViewer::Script script;
    script.setsFirstDraw = false;
    m_fixture->viewer.setScript(script);
    const auto started = m_fixture->viewer.starts().size();
    auto document = open(false);
    document->loadAll();
    QVERIFY(waitFor([&] { return m_fixture->viewer.starts().size() == started + 1; }));
    document->loader().cancelAll();
    document->loader().finishAll();
    QCOMPARE(document->items().size(), 2);
    for (CBaseObject* item : document->items()) {
        auto* placeholder = dynamic_cast<PlaceholderItem*>(item);
        QVERIFY(placeholder);
        QCOMPARE(placeholder->state(), PlaceholderItem::State::waiting);
    }
    m_fixture->viewer.setScript({});
    document->loadAll();
    document->loader().finishAll();
    QVERIFY(itemAt(*document, 0) && itemAt(*document, 1));
    close(document);
}

void LiveDocumentTest::savedItemComesBackAsItWas()
{
    const OV3DOBJECT::SceneStatus view = someView();
    ScriptedViewer::Script script;
    script.sceneStatus = view;
    m_fixture->viewer.setScript(script);
    m_sideFiles << QStringLiteral("a/wood.png") << QStringLiteral("b/wood.png");
    for (const QString& name : m_sideFiles)
        model(name);
    const QRectF frame(10.5, 20.25, 640, 480);
    QJsonObject settings{{QStringLiteral("light_profile"), 3},
                         {QStringLiteral("point_size"), 0},
                         {QStringLiteral("material_color"), QJsonArray{10 / 255.0, 77 / 255.0, 254 / 255.0}},
                         {QStringLiteral("bg_color"), QJsonArray{1 / 255.0, 2 / 255.0, 3 / 255.0}},
                         {QStringLiteral("ibl_intensity"), 12345},
                         {QStringLiteral("view_type"), 3},
                         {QStringLiteral("wireframe"), true}};
    QJsonObject before;
    {
        auto document = create();
        COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")), frame);
        QCOMPARE(changeSettings(*item, settings), QString());
        before = *readSettings(*item);
        save(*document);
        close(document);
    }
    // A viewer that would fit the model anew.
    m_fixture->viewer.setScript({});
    QVERIFY(QDir(m_fixture->folder() + QStringLiteral("originals")).removeRecursively());
    auto document = open();
    COv3DObject* item = itemAt(*document, 0);
    QVERIFY(item);
    QCOMPARE(document->warnings(), QStringList());
    QCOMPARE(item->getObjRect(), frame);
    QCOMPARE(*readSettings(*item), before);
    const auto starts = m_fixture->viewer.starts();
    QVERIFY(isSame(starts.back().context.scene_status, view));
    QCOMPARE(starts.back().context.width, 640);
    QCOMPARE(starts.back().context.height, 480);
    for (const QString& name : m_sideFiles)
        QVERIFY2(QFileInfo(QFileInfo(item->m_modelPath).path() + QLatin1Char('/') + name).isFile(), qPrintable(name));
    close(document);
}

void LiveDocumentTest::recordIsSetBeforeTheItemIsShown()
{
    {
        auto document = create();
        QCOMPARE(changeSettings(*insert(*document, model(QStringLiteral("chair.stl"))),
                                {{QStringLiteral("light_profile"), 4}}),
                 QString());
        save(*document);
        close(document);
    }
    m_fixture->viewer.clearCalls();
    auto document = open(false);
    int profileWhenShown = -1;
    connect(document.get(), &LiveDocument::itemShown, this, [&](CBaseObject*, CBaseObject*) {
        const auto calls = m_fixture->viewer.callsWithOp(kOperationRedraw);
        profileWhenShown = calls.empty() ? -1 : calls.back().display.light_profile;
    });
    document->loadAll();
    document->loader().finishAll();
    QCOMPARE(profileWhenShown, 4);
    close(document);
}

void LiveDocumentTest::itemsKeepTheirOrderWhateverIsLoaded()
{
    {
        auto document = create();
        for (const char* name : {"a.stl", "b.stl", "c.stl"})
            QVERIFY(insert(*document, model(QLatin1String(name))));
        save(*document);
        close(document);
    }
    const auto names = [](LiveDocument& document) {
        QStringList list;
        for (CBaseObject* item : document.items())
            list << itemName(itemRecord(*item));
        return list.join(QLatin1Char(' '));
    };
    auto document = open(false);
    QCOMPARE(names(*document), QStringLiteral("a.stl b.stl c.stl"));
    document->load(*dynamic_cast<PlaceholderItem*>(document->items()[1]));
    document->loader().finishAll();
    QVERIFY(itemAt(*document, 1));
    QVERIFY(!itemAt(*document, 0));
    QCOMPARE(names(*document), QStringLiteral("a.stl b.stl c.stl"));
    save(*document);
    QCOMPARE(itemName(document->file().content().pages[0].items[1]), QStringLiteral("b.stl"));
    document->loadAll();
    document->loader().finishAll();
    QCOMPARE(names(*document), QStringLiteral("a.stl b.stl c.stl"));
    close(document);
}

void LiveDocumentTest::itemsThatAreNotLoadedAreSavedAsTheyWere()
{
    {
        auto document = create();
        insert(*document, model(QStringLiteral("chair.stl")));
        save(*document);
        close(document);
    }
    auto document = open(false);
    const OvDocumentItem before = document->file().content().pages[0].items[0];
    save(*document);
    const OvDocumentItem after = document->file().content().pages[0].items[0];
    QCOMPARE(after.entries, before.entries);
    QCOMPARE(after.parameters, before.parameters);
    QCOMPARE(after.host, before.host);
    QCOMPARE(after.files, before.files);
    close(document);
    document = open();
    QVERIFY(itemAt(*document, 0));
    close(document);
}

void LiveDocumentTest::missingModelIsSaidAndTheRestOpens()
{
    {
        auto document = create();
        insert(*document, model(QStringLiteral("gone.stl")));
        insert(*document, model(QStringLiteral("here.stl")));
        QVERIFY(QFile::remove(itemAt(*document, 0)->m_modelPath));
        save(*document);
        close(document);
    }
    auto document = open();
    auto* placeholder = dynamic_cast<PlaceholderItem*>(document->items().value(0));
    QVERIFY(placeholder);
    QCOMPARE(placeholder->state(), PlaceholderItem::State::failed);
    QCOMPARE(placeholder->text(), QStringLiteral("gone.stl is missing from the document"));
    QVERIFY(placeholder->flags() & QGraphicsItem::ItemIsSelectable);
    QVERIFY(itemAt(*document, 1));
    QVERIFY(document->warnings().join(QLatin1Char(' ')).contains(QLatin1String("gone.stl")));
    // Saving keeps what is known of it.
    save(*document);
    QCOMPARE(itemName(document->file().content().pages[0].items[0]), QStringLiteral("gone.stl"));
    close(document);
}

void LiveDocumentTest::keysOfOthersSurvive()
{
    {
        auto document = create();
        COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
        OvDocumentItem record = itemRecord(*item);
        record.parameters.insert(QStringLiteral("glitter"), 3);
        record.host.insert(QStringLiteral("owner"), QStringLiteral("somebody"));
        record.unknown.insert(QStringLiteral("animation"), QStringLiteral("walk"));
        setItemRecord(*item, record);
        save(*document);
        close(document);
    }
    auto document = open();
    QVERIFY(itemAt(*document, 0));
    save(*document);
    const OvDocumentItem& item = document->file().content().pages[0].items[0];
    QCOMPARE(item.parameters.value(QLatin1String("glitter")).toInt(), 3);
    QCOMPARE(item.parameters.value(QLatin1String("point_size")).toInt(), 3);
    QCOMPARE(item.host.value(QLatin1String("owner")).toString(), QStringLiteral("somebody"));
    QCOMPARE(item.unknown.value(QLatin1String("animation")).toString(), QStringLiteral("walk"));
    close(document);
}

void LiveDocumentTest::lockedItemComesBackLocked()
{
    {
        auto document = create();
        COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
        QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), 5}}), QString());
        item->setLocked(true);
        save(*document);
        close(document);
    }
    auto document = open();
    QVERIFY(itemAt(*document, 0)->isLocked());
    QCOMPARE(readSettings(*itemAt(*document, 0))->value(QLatin1String("light_profile")).toInt(), 5);
    close(document);
}

void LiveDocumentTest::modelsThatItemsDoNotHandOverComeBack()
{
    {
        auto document = create();
        for (const char* name : {"one.3MF", "two.3mf", "three.GLB"})
            QVERIFY(insert(*document, model(QLatin1String(name))));
        save(*document);
        close(document);
    }
    auto document = open();
    QCOMPARE(document->items().size(), 3);
    for (int i = 0; i < 3; ++i)
        QVERIFY(itemAt(*document, i));
    QVERIFY(itemAt(*document, 0)->m_modelPath.endsWith(QLatin1String("/one.3mf")));
    QVERIFY(itemAt(*document, 1)->m_modelPath.endsWith(QLatin1String("/two.3mf")));
    QVERIFY(itemAt(*document, 2)->m_modelPath.endsWith(QLatin1String("/three.glb")));
    close(document);
}

void LiveDocumentTest::equalNamesDoNotMeet()
{
    const QStringList names = {QStringLiteral("a/chair.stl"), QStringLiteral("b/chair.stl"),
                               QStringLiteral("c/chair0.stl"), QStringLiteral("a/chair.stl")};
    {
        auto document = create();
        for (const QString& name : names)
            QVERIFY(insert(*document, model(name)));
        save(*document);
        close(document);
    }
    auto document = open();
    for (int i = 0; i < names.size(); ++i) {
        QVERIFY(itemAt(*document, i));
        QFile file(itemAt(*document, i)->m_modelPath);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("content of ") + names[i].toUtf8());
    }
    close(document);
}

void LiveDocumentTest::twoSavesAreTheSameBytes()
{
    auto document = create();
    insert(*document, model(QStringLiteral("chair.stl")));
    save(*document);
    const QByteArray first = savedBytes();
    save(*document);
    QCOMPARE(savedBytes(), first);
    close(document);
}

void LiveDocumentTest::newestStateComesBackAfterManySaves()
{
    {
        auto document = create();
        COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
        for (int profile = 1; profile <= 4; ++profile) {
            QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), profile},
                                            {QStringLiteral("material_type_a"), profile}}),
                     QString());
            save(*document);
        }
        // One inner array, whatever was saved before.
        QCOMPARE(
            document->file().content().pages[0].items[0].entries.value(QLatin1String("3D_OBJECT_KEY")).toArray().size(),
            1);
        close(document);
    }
    auto document = open();
    QCOMPARE(readSettings(*itemAt(*document, 0))->value(QLatin1String("light_profile")).toInt(), 4);
    QCOMPARE(itemAt(*document, 0)->m_materialSettings.material_type_a, 4);
    close(document);
}

void LiveDocumentTest::failedSaveLeavesFileAndDocumentAlone()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    save(*document);
    const QByteArray first = savedBytes();

    // Where the view would be written stands a folder.
    const QString obstacle = QFileInfo(item->m_modelPath).path() + QStringLiteral("/chair.opt");
    QVERIFY(QFile::remove(obstacle));
    QVERIFY(QDir().mkpath(obstacle));
    QString error;
    QVERIFY(!document->save(path(), error));
    QVERIFY2(error.contains(QLatin1String("chair.stl")), qPrintable(error));
    QCOMPARE(savedBytes(), first);

    // The item still takes settings, and the next save works.
    QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), 2}}), QString());
    QVERIFY(QDir().rmdir(obstacle));
    save(*document);
    QVERIFY(savedBytes() != first);
    close(document);
}

OV3D_TEST_MAIN(LiveDocumentTest)
#include "livedocument_test.moc"
