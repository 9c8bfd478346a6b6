#include "apps/document/itemclip.h"
#include "apps/document/itemreaper.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/livedocument.h"
#include "apps/document/placeholderitem.h"
#include "apps/document/viewercommand.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/session/commands.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QTemporaryDir>

#include <cstring>
#include <memory>

using namespace ov3d::apps;

namespace {

constexpr QSizeF kPageSize(1000, 800);
constexpr QRectF kFrame(100, 50, 400, 300);

/// A view that no fitting would give.
OV3DOBJECT::SceneStatus someView()
{
    OV3DOBJECT::SceneStatus status{};
    auto* numbers = reinterpret_cast<double*>(&status);
    for (std::size_t i = 0; i < sizeof status / sizeof(double); ++i)
        numbers[i] = 0.25 + static_cast<double>(i);
    return status;
}

bool isSame(const OV3DOBJECT::SceneStatus& one, const OV3DOBJECT::SceneStatus& other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

} // namespace

/// Open documents with the plug-in's own items and a scripted viewer.
class LiveDocumentTest : public TestBase
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
    void refusedSettingsDoNotReachTheItem();
    void lockedItemComesBackLocked();
    void modelsThatItemsDoNotHandOverComeBack();
    void equalNamesDoNotMeet();
    void twoSavesAreTheSameBytes();
    void newestStateComesBackAfterManySaves();
    void failedSaveLeavesFileAndDocumentAlone();
    void savedTextHoldsNoPathOfThisMachine();
    void copiesCarryModelViewAndSettings();
    void refusedPasteLeavesNothing();
    void environmentTravelsWithTheItem();
    void commandsReachNoLockedItem();
    void commandTextKeepsItsTerminatingZero();
    void settingsAfterACommandAreSettings();
    void lockedItemRefusesSettings();
    void resetIsClearedAtOnce();

private:
    DocumentServices services()
    {
        return {[this] {
                    auto* item = static_cast<COv3DObject*>(createObject_ov3dobject(0, 0, false));
                    m_items << item;
                    return item;
                },
                [this](const QString&, const std::function<void(const QString&)>& file) {
                    for (const QString& name : m_sideFiles)
                        file(name);
                    return true;
                },
                [this] { m_fixture->viewer.allowFirstDraw(); }};
    }
    std::unique_ptr<LiveDocument> create()
    {
        QString error;
        auto document = LiveDocument::create(services(), error);
        if (!document)
            qWarning("%s", qPrintable(error));
        else
            document->addPage(kPageSize);
        return document;
    }
    std::unique_ptr<LiveDocument> open(bool isLoaded = true)
    {
        QString error;
        auto document = LiveDocument::open(path(), services(), error);
        if (!document) {
            qWarning("%s", qPrintable(error));
            return document;
        }
        if (isLoaded) {
            document->loadAll();
            document->loader().finishAll();
        }
        return document;
    }
    COv3DObject* insert(LiveDocument& document, const QString& model, const QRectF& frame = kFrame)
    {
        CBaseObject* arrived = nullptr;
        QString error;
        document.insertModel(*document.pages().page(0), model, frame, [&](CBaseObject* item, const QString& reason) {
            arrived = item;
            error = reason;
        });
        document.loader().finishAll();
        if (!arrived)
            qWarning("%s", qPrintable(error));
        return static_cast<COv3DObject*>(arrived);
    }
    /// Ends a document without the six seconds that its items would take.
    void close(std::unique_ptr<LiveDocument>& document)
    {
        for (const QPointer<COv3DObject>& item : m_items) {
            if (item)
                item->m_loadTimer.invalidate();
        }
        document.reset();
        QVERIFY(waitFor([] { return itemsBeingReaped() == 0; }));
    }
    void save(LiveDocument& document)
    {
        QString error;
        QVERIFY2(document.save(path(), error), qPrintable(error));
    }
    [[nodiscard]] QByteArray savedBytes() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QString model(const QString& name)
    {
        return m_fixture->writeFile(QStringLiteral("originals/") + name, QByteArray("content of ") + name.toUtf8());
    }
    [[nodiscard]] QString path() const { return m_fixture->folder() + QStringLiteral("page.ovb"); }
    static COv3DObject* itemAt(LiveDocument& document, int index)
    {
        return dynamic_cast<COv3DObject*>(document.items().value(index));
    }
    static QStringList resources(LiveDocument& document)
    {
        return QDir(document.pages().root() + QStringLiteral("/resources")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<ItemFixture> m_fixture;
    QList<QPointer<COv3DObject>> m_items;
    QStringList m_sideFiles;

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture = std::make_unique<ItemFixture>();
        m_items.clear();
        m_sideFiles.clear();
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_fixture->folder() + QStringLiteral("cache")));
        m_fixture->viewer.setCommandResult(0);
    }
    void cleanup()
    {
        QVERIFY(waitFor([] { return itemsBeingReaped() == 0; }));
        m_fixture.reset();
        TestBase::cleanup();
    }
};

void LiveDocumentTest::insertedModelLivesInTheDocument()
{
    auto document = create();
    const QString original = model(QStringLiteral("chair.STL"));
    COv3DObject* item = insert(*document, original);
    QVERIFY(item);
    QVERIFY(QFile::remove(original));
    QCOMPARE(item->m_modelPath, document->pages().root() + QStringLiteral("/resources/1/chair/chair.stl"));
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
    OvDocumentContent content;
    QString error;
    QVERIFY(document->collect(content, error));
    QVERIFY(content.pages.first().items.isEmpty());

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

void LiveDocumentTest::refusedSettingsDoNotReachTheItem()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    m_fixture->viewer.clearCalls();
    const QString error = changeSettings(*item, {{QStringLiteral("point_size"), 1000}});
    QVERIFY2(error.contains(QLatin1String("point_size")), qPrintable(error));
    QCOMPARE(m_fixture->viewer.callsWithOp(kOperationRedraw).size(), std::size_t{0});

    // Nor those of a document that somebody has edited.
    save(*document);
    OvDocumentContent content = document->file().content();
    content.pages[0].items[0].parameters.insert(QStringLiteral("point_size"), 1000);
    content.pages[0].items[0].parameters.insert(QStringLiteral("light_profile"), 2);
    QString saveError;
    QVERIFY2(const_cast<COvDocumentFile&>(document->file()).save(path(), content, {}, saveError),
             qPrintable(saveError));
    close(document);
    document = open();
    item = itemAt(*document, 0);
    QVERIFY(item);
    QCOMPARE(readSettings(*item)->value(QLatin1String("light_profile")).toInt(), 2);
    QVERIFY(readSettings(*item)->value(QLatin1String("point_size")).toInt() <= 3);
    QVERIFY(document->warnings().join(QLatin1Char(' ')).contains(QLatin1String("point_size")));
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
        QCOMPARE(document->file().content().pages[0].items[0].entries.value(QLatin1String("3D_OBJECT_KEY")).toArray().size(),
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

void LiveDocumentTest::savedTextHoldsNoPathOfThisMachine()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    QString error;
    // Copying writes the model's path among the item's named values.
    QVERIFY2(!document->copyItems({item}, error).isEmpty(), qPrintable(error));
    save(*document);
    const OvDocumentItem saved = document->file().content().pages[0].items[0];
    const QByteArray text = QJsonDocument(saved.entries).toJson() + QJsonDocument(saved.host).toJson();
    QVERIFY(!text.contains(document->pages().root().toUtf8()));
    QVERIFY(!text.contains("model_path"));
    close(document);
}

void LiveDocumentTest::copiesCarryModelViewAndSettings()
{
    const OV3DOBJECT::SceneStatus view = someView();
    ScriptedViewer::Script script;
    script.sceneStatus = view;
    m_fixture->viewer.setScript(script);
    m_sideFiles << QStringLiteral("textures/wood.png");
    model(m_sideFiles.first());
    auto source = create();
    COv3DObject* item = insert(*source, model(QStringLiteral("chair.stl")));
    QCOMPARE(changeSettings(*item, {{QStringLiteral("light_profile"), 2}, {QStringLiteral("point_size"), 9}}),
             QString());
    const QJsonObject settings = *readSettings(*item);
    QString error;
    const QByteArray bytes = source->copyItems({item}, error);
    QVERIFY2(!bytes.isEmpty(), qPrintable(error));
    close(source);

    m_fixture->viewer.setScript({});
    auto target = create();
    insert(*target, model(QStringLiteral("other.stl")));
    CBaseObject* pasted = nullptr;
    error = target->pasteItems(*target->pages().page(0), bytes, QPointF(30, 40),
                               [&pasted](CBaseObject* arrived, const QString&) { pasted = arrived; });
    QVERIFY2(error.isEmpty(), qPrintable(error));
    target->loader().finishAll();
    QVERIFY(pasted);
    auto* copy = static_cast<COv3DObject*>(pasted);
    QCOMPARE(copy->getObjRect(), kFrame.translated(30, 40));
    QCOMPARE(copy->pos(), kFrame.translated(30, 40).topLeft());
    QCOMPARE(copy->m_modelPath, target->pages().root() + QStringLiteral("/resources/2/chair/chair.stl"));
    QVERIFY(QFileInfo(target->pages().root() + QStringLiteral("/resources/2/chair/textures/wood.png")).isFile());
    QVERIFY(isSame(m_fixture->viewer.starts().back().context.scene_status, view));
    QCOMPARE(*readSettings(*copy), settings);
    QCOMPARE(target->items().last(), pasted);

    // It is saved like any other.
    save(*target);
    close(target);
    auto reopened = open();
    QVERIFY(itemAt(*reopened, 1));
    QCOMPARE(*readSettings(*itemAt(*reopened, 1)), settings);
    close(reopened);
}

void LiveDocumentTest::refusedPasteLeavesNothing()
{
    auto document = create();
    COvPage& page = *document->pages().page(0);
    QVERIFY(!document->pasteItems(page, "words", {}, {}).isEmpty());

    ClippedItem clip;
    clip.stream = "no item";
    clip.model = QStringLiteral("chair/chair.stl");
    clip.files = {{clip.model, "x"}};
    QString error;
    QCOMPARE(document->pasteItems(page, writeClip({clip}), {},
                                  [&error](CBaseObject*, const QString& reason) { error = reason; }),
             QString());
    document->loader().finishAll();
    QVERIFY2(error.contains(QLatin1String("damaged")), qPrintable(error));
    QVERIFY(document->items().isEmpty());
    QVERIFY(resources(*document).isEmpty());
    close(document);
}

void LiveDocumentTest::environmentTravelsWithTheItem()
{
    const QString picture = m_fixture->writeFile(QStringLiteral("sky.hdr"), "#?RADIANCE");
    const auto sentPath = [this] {
        const auto calls = m_fixture->viewer.callsWithOp(ov3d::kCommandSetEnvironment);
        return calls.empty() ? QString() : QString::fromUtf8(calls.back().context.command_text);
    };
    {
        auto document = create();
        COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
        QVERIFY(document->setEnvironment(*item, QStringLiteral("/nowhere/sky.hdr")).contains(QLatin1String("/nowhere")));
        QCOMPARE(sentPath(), QString());
        QCOMPARE(document->setEnvironment(*item, picture), QString());
        QVERIFY(sentPath().startsWith(document->pages().root() + QLatin1Char('/')));
        QVERIFY(QFile::remove(picture));
        save(*document);
        close(document);
    }
    m_fixture->viewer.clearCalls();
    auto document = open();
    QFile restored(sentPath());
    QVERIFY(restored.open(QIODevice::ReadOnly));
    QCOMPARE(restored.readAll(), QByteArray("#?RADIANCE"));

    QCOMPARE(document->setEnvironment(*itemAt(*document, 0), QString()), QString());
    QCOMPARE(sentPath(), QString());
    save(*document);
    QVERIFY(!document->file().content().pages[0].items[0].host.contains(QLatin1String("environment")));
    close(document);
}

void LiveDocumentTest::commandsReachNoLockedItem()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    item->setLocked(true);
    QVERIFY(sendViewerCommand(*item, ov3d::kCommandReset, {}).contains(QLatin1String("locked")));
    QCOMPARE(m_fixture->viewer.callsWithOp(ov3d::kCommandReset).size(), std::size_t{0});
    item->setLocked(false);
    QCOMPARE(sendViewerCommand(*item, ov3d::kCommandReset, {}), QString());
    m_fixture->viewer.setCommandResult(1);
    QVERIFY(!sendViewerCommand(*item, ov3d::kCommandReset, {}).isEmpty());
    // The contract's own operations are no commands.
    QVERIFY(!sendViewerCommand(*item, -1, {}).isEmpty());
    QCOMPARE(m_fixture->viewer.runningCount(), 1);
    close(document);
}

void LiveDocumentTest::commandTextKeepsItsTerminatingZero()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    const QString longest(255, QLatin1Char('n'));
    QCOMPARE(sendViewerCommand(*item, ov3d::kCommandKeepView, longest), QString());
    QCOMPARE(QString::fromUtf8(m_fixture->viewer.lastCall().context.command_text), longest);
    m_fixture->viewer.clearCalls();
    QVERIFY(!sendViewerCommand(*item, ov3d::kCommandKeepView, longest + QLatin1Char('n')).isEmpty());
    QCOMPARE(m_fixture->viewer.callsWithOp(ov3d::kCommandKeepView).size(), std::size_t{0});
    close(document);
}

/// The command flag of an earlier text sticks to the record.
void LiveDocumentTest::settingsAfterACommandAreSettings()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    QCOMPARE(sendViewerCommand(*item, ov3d::kCommandReset, {}), QString());
    m_fixture->viewer.clearCalls();
    QCOMPARE(changeSettings(*item, {{QStringLiteral("wireframe"), true}}), QString());
    QCOMPARE(m_fixture->viewer.callsWithOp(ov3d::kCommandReset).size(), std::size_t{0});
    QVERIFY(item->m_materialSettings.wireframe);
    QCOMPARE(readSettings(*item)->value(QLatin1String("command")).toBool(), false);
    close(document);
}

void LiveDocumentTest::lockedItemRefusesSettings()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    item->setLocked(true);
    QVERIFY(changeSettings(*item, {{QStringLiteral("wireframe"), true}}).contains(QLatin1String("locked")));
    QVERIFY(!item->m_materialSettings.wireframe);
    close(document);
}

void LiveDocumentTest::resetIsClearedAtOnce()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    m_fixture->viewer.clearCalls();
    QCOMPARE(changeSettings(*item, {{QStringLiteral("reset_camera"), true}}), QString());
    const auto calls = m_fixture->viewer.callsWithOp(kOperationRedraw);
    QCOMPARE(calls.size(), std::size_t{2});
    QVERIFY(calls[0].view.reset_camera);
    QVERIFY(!calls[1].view.reset_camera);
    close(document);
}

OV3D_TEST_MAIN(LiveDocumentTest)
#include "livedocument_test.moc"
