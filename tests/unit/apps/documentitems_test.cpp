#include "apps/document/itemclip.h"
#include "apps/document/itemsettings.h"
#include "apps/document/viewercommand.h"
#include "tests/support/testmain.h"
#include "tests/unit/apps/livedocumentfixture.h"
#include "viewer/session/commands.h"

#include <QFileInfo>
#include <QJsonDocument>

using namespace ov3d::apps;

/// What a document does with single items: copies, settings, commands.
class DocumentItemsTest : public LiveDocumentFixture
{
    Q_OBJECT

private Q_SLOTS:
    void refusedSettingsDoNotReachTheItem();
    void savedTextHoldsNoPathOfThisMachine();
    void copiesCarryModelViewAndSettings();
    void refusedPasteLeavesNothing();
    void environmentTravelsWithTheItem();
    void commandsReachNoLockedItem();
    void commandTextKeepsItsTerminatingZero();
    void settingsAfterACommandAreSettings();
    void lockedItemRefusesSettings();
    void resetIsClearedAtOnce();
};

void DocumentItemsTest::refusedSettingsDoNotReachTheItem()
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

void DocumentItemsTest::savedTextHoldsNoPathOfThisMachine()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    QString error;
    // Copying writes the model's path among the item's named values.
    QVERIFY2(!document->copyItems({item}, error).isEmpty(), qPrintable(error));
    save(*document);
    const OvDocumentItem saved = document->file().content().pages[0].items[0];
    const QByteArray text = QJsonDocument(saved.entries).toJson() + QJsonDocument(saved.host).toJson();
    QVERIFY(!text.contains(document->working().root().toUtf8()));
    QVERIFY(!text.contains("model_path"));
    close(document);
}

void DocumentItemsTest::copiesCarryModelViewAndSettings()
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
    QCOMPARE(copy->m_modelPath, target->working().root() + QStringLiteral("/resources/2/chair/chair.stl"));
    QVERIFY(QFileInfo(target->working().root() + QStringLiteral("/resources/2/chair/textures/wood.png")).isFile());
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

void DocumentItemsTest::refusedPasteLeavesNothing()
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

void DocumentItemsTest::environmentTravelsWithTheItem()
{
    const QString picture = m_fixture->writeFile(QStringLiteral("sky.hdr"), "#?RADIANCE");
    const auto sentPath = [this] {
        const auto calls = m_fixture->viewer.callsWithOp(ov3d::kCommandSetEnvironment);
        return calls.empty() ? QString() : QString::fromUtf8(calls.back().context.command_text);
    };
    {
        auto document = create();
        COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
        QVERIFY(
            document->setEnvironment(*item, QStringLiteral("/nowhere/sky.hdr")).contains(QLatin1String("/nowhere")));
        QCOMPARE(sentPath(), QString());
        QCOMPARE(document->setEnvironment(*item, picture), QString());
        QVERIFY(sentPath().startsWith(document->working().root() + QLatin1Char('/')));
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

void DocumentItemsTest::commandsReachNoLockedItem()
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

void DocumentItemsTest::commandTextKeepsItsTerminatingZero()
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

void DocumentItemsTest::settingsAfterACommandAreSettings()
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

void DocumentItemsTest::lockedItemRefusesSettings()
{
    auto document = create();
    COv3DObject* item = insert(*document, model(QStringLiteral("chair.stl")));
    item->setLocked(true);
    QVERIFY(changeSettings(*item, {{QStringLiteral("wireframe"), true}}).contains(QLatin1String("locked")));
    QVERIFY(!item->m_materialSettings.wireframe);
    close(document);
}

void DocumentItemsTest::resetIsClearedAtOnce()
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

OV3D_TEST_MAIN(DocumentItemsTest)
#include "documentitems_test.moc"
