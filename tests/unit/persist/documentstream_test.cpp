#include "src/plugin/ov3dobject.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/loadprobe.h"
#include "tests/unit/persist/rectrecorder.h"
#include "tests/unit/persist/settingsblocks.h"

#include <QDataStream>

namespace {

const QString kParameter = QStringLiteral("model_path");

/// What the host's base alone writes for an item with this rectangle and these parameters.
class PlainItem : public CBaseObject
{
public:
    PlainItem()
        : CBaseObject(1, false, nullptr, nullptr)
    {
    }
    bool loadFromFile(const QString&) override { return false; }
};

QByteArray savedBytes(COVRootObject& item)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    return item.save(stream) ? bytes : QByteArray("refused");
}

} // namespace

class DocumentStreamTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ItemTestBase::init();
        m_item = m_fixture->adopt(new LoadProbe);
        ItemFixture::deliverPosted();
    }

    void streamCarriesTheBaseWithTheModelPathAndNothingElse_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("a path") << "/x/m.glb";
        QTest::newRow("other letters") << QString::fromUtf8("/ü 模/m 100%.glb");
        QTest::newRow("no model") << "";
    }

    void streamCarriesTheBaseWithTheModelPathAndNothingElse()
    {
        QFETCH(QString, path);
        PlainItem plain;
        plain.setObjRect(m_item->getObjRect());
        plain.setOtherParams(kParameter, path);
        m_item->m_modelPath = path;
        QCOMPARE(savedBytes(*m_item), savedBytes(plain));
        QCOMPARE(m_item->getOtherParams(kParameter), QVariant(path));
    }

    void settingsDoNotChangeTheStream()
    {
        m_item->m_modelPath = QStringLiteral("/x/m.glb");
        const QByteArray before = savedBytes(*m_item);
        const SettingsBlocks unusual = unusualSettings();
        unusual.putInto(*m_item);
        m_item->m_context.scene_status.focal_point[0] = 3.0;
        QCOMPARE(savedBytes(*m_item), before);
    }

    void savingToABrokenStreamIsStillASuccess()
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::ReadOnly);
        m_item->m_modelPath = QStringLiteral("/x/m.glb");
        QVERIFY(stream.device()->isOpen());
        expectMessage(QStringLiteral("QIODevice::write (QBuffer): ReadOnly device"));
        QVERIFY(m_item->save(stream));
        QVERIFY(bytes.isEmpty());
    }

    void loadRestoresThePathAndLoadsTheModel()
    {
        COv3DObject* saved = m_fixture->createItem();
        saved->m_modelPath = QStringLiteral("/x/m.glb");
        saved->setObjRect(QRectF(1, 2, 3, 4));
        QDataStream stream(savedBytes(*saved));
        const RectRecorder recorder(m_item);
        QVERIFY(m_item->load(stream));
        ItemFixture::deliverPosted();
        QVERIFY(stream.atEnd());
        QCOMPARE(m_item->m_modelPath, QStringLiteral("/x/m.glb"));
        QCOMPARE(m_item->loads, QStringList{QStringLiteral("/x/m.glb")});
        QVERIFY(m_item->wasMarkedLoaded);
        QCOMPARE(recorder.rects.count(QRectF(1, 2, 3, 4)), 1);
        QCOMPARE(m_item->getObjRect(), QRectF(1, 2, 3, 4));
    }

    void loadFindsTheDocument()
    {
        IOvDocument* atLoad = nullptr;
        m_item->onLoad = [&] { atLoad = m_item->m_belongDoc; };
        QDataStream stream(savedBytes(*m_item));
        QVERIFY(m_item->load(stream));
        QCOMPARE(atLoad, &m_fixture->document);
        QVERIFY(m_fixture->document.transfers.isEmpty());
    }

    void streamWithoutThePathEmptiesIt()
    {
        PlainItem plain;
        QDataStream stream(savedBytes(plain));
        m_item->m_modelPath = QStringLiteral("/old.glb");
        QVERIFY(m_item->load(stream));
        QCOMPARE(m_item->m_modelPath, QString());
        QCOMPARE(m_item->loads, QStringList{QString()});
        QVERIFY(m_item->isLoadedFlag());
    }

    void foreignStreamIsStillASuccess()
    {
        m_item->m_modelPath = QStringLiteral("/old.glb");
        QDataStream stream(QByteArray("something else entirely"));
        QVERIFY(m_item->load(stream));
        QCOMPARE(m_item->loads, QStringList{QString()});
        QVERIFY(m_item->isLoadedFlag());
    }

    void pathThatIsNoTextIsEmpty()
    {
        PlainItem plain;
        plain.setOtherParams(kParameter, QVariantList{1, 2});
        QDataStream stream(savedBytes(plain));
        QVERIFY(m_item->load(stream));
        QCOMPARE(m_item->loads, QStringList{QString()});
    }

    void loadTouchesNoSetting()
    {
        const SettingsBlocks unusual = unusualSettings();
        unusual.putInto(*m_item);
        PlainItem plain;
        QDataStream stream(savedBytes(plain));
        m_item->load(stream);
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), unusual.lines());
        QVERIFY(!m_item->m_viewSettingsLoaded);
    }

    void savedItemShowsItsModelAgain()
    {
        COv3DObject* saved = m_fixture->createItem();
        QVERIFY(m_fixture->load(saved));
        COv3DObject* restored = m_fixture->createItem();
        QDataStream stream(savedBytes(*saved));
        QVERIFY(restored->load(stream));
        QVERIFY(restored->m_isLoaded);
        QCOMPARE(restored->m_modelPath, saved->m_modelPath);
        QCOMPARE(m_fixture->viewer.starts().size(), std::size_t(2));
    }

    void refusedModelIsStillASuccess()
    {
        COv3DObject* saved = m_fixture->createItem();
        saved->m_modelPath = m_fixture->folder() + QStringLiteral("gone.gltf");
        COv3DObject* restored = m_fixture->createItem();
        QDataStream stream(savedBytes(*saved));
        QVERIFY(restored->load(stream));
        QVERIFY(!restored->m_isLoaded);
        QCOMPARE(restored->m_modelPath, saved->m_modelPath);
    }

private:
    LoadProbe* m_item = nullptr;
};

OV3D_TEST_MAIN(DocumentStreamTest)
#include "documentstream_test.moc"
