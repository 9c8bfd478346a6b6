#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/mutexprobe.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/loadprobe.h"

#include <QDataStream>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonObject>

#include <new>

namespace {

const QString kKey = QStringLiteral("3D_OBJECT_KEY");

/// A host's document without memory.
struct ExhaustedDocument : IOvDocument
{
    void transferResourceFile(QJsonArray&, QString&, QString, bool, QString&) override { throw std::bad_alloc(); }
};

/// A host's path service without memory.
struct ExhaustedFramework : FrameworkStub
{
    ::IOvPathService* getPathService() override { throw std::bad_alloc(); }
};

/// What lies behind a stream has no memory.
class ExhaustedDevice : public QIODevice
{
public:
    ExhaustedDevice() { open(QIODevice::ReadWrite | QIODevice::Unbuffered); }

protected:
    qint64 readData(char*, qint64) override { throw std::bad_alloc(); }
    qint64 writeData(const char*, qint64) override { throw std::bad_alloc(); }
};

QJsonObject saveOf(const QString& path)
{
    QJsonArray entries;
    entries.append(DocumentStub::entryFor(path));
    QJsonArray saves;
    saves.append(entries);
    return {{kKey, saves}};
}

} // namespace

/// A host knows no exceptions of the plug-in's: whatever runs out of memory ends in a warning and the answer "failed".
class BoundaryTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ItemTestBase::init();
        m_item = m_fixture->adopt(new LoadProbe);
    }

    void failedSaveLeavesTheObjectWithoutEntries()
    {
        ExhaustedDocument document;
        m_fixture->framework.currentDocument = &document;
        m_item->m_modelPath = m_fixture->writeFile(QStringLiteral("m.stl"));
        expect("Saving a 3D object");
        QJsonObject object;
        QVERIFY(!m_item->saveJson(object));
        QVERIFY(!object.contains(kKey));
        QVERIFY(isFree(m_item->m_viewMutex));
        QVERIFY(wasWarned());
        // The next save finds everything as it should be.
        m_fixture->framework.currentDocument = &m_fixture->document;
        m_item->m_belongDoc = nullptr;
        QVERIFY(m_item->saveJson(object));
        QCOMPARE(object.value(kKey).toArray().size(), 1);
    }

    void failedRestoreIsAnswered()
    {
        ExhaustedDocument document;
        m_fixture->framework.currentDocument = &document;
        expect("Restoring a 3D object");
        QJsonObject object = saveOf(QStringLiteral("/a.stl"));
        QVERIFY(!m_item->loadJson(object));
        QVERIFY(wasWarned());
        m_fixture->framework.currentDocument = nullptr;
        m_item->m_belongDoc = nullptr;
    }

    void restoreWhoseLoadFailsIsAnswered()
    {
        m_item->onLoad = [] { throw std::bad_alloc(); };
        expect("Restoring a 3D object");
        QJsonObject object = saveOf(QStringLiteral("/a.stl"));
        QVERIFY(!m_item->loadJson(object));
        QVERIFY(wasWarned());
        QCOMPARE(m_item->m_modelPath, QStringLiteral("/a.stl"));
    }

    void streamThatFailsIsAnswered()
    {
        ExhaustedDevice device;
        QDataStream stream(&device);
        expect("Writing a 3D object");
        QVERIFY(!m_item->save(stream));
        QVERIFY(wasWarned());
        expect("Reading a 3D object");
        QVERIFY(!m_item->load(stream));
        QVERIFY(wasWarned());
    }

    void propertiesThatCannotBeExchangedAreAnswered()
    {
        ItemFixture::makeReady(m_item);
        ExhaustedDevice device;
        QDataStream stream(&device);
        expect("Reporting a property of a 3D object");
        QVERIFY(!m_item->GetSpecialProperty(104, stream));
        QVERIFY(!m_item->GetSpecialProperty(101, stream));
        QVERIFY(wasWarned());
        expect("Setting a property of a 3D object");
        QVERIFY(!m_item->SetSpecialProperty(101, stream, false));
        QVERIFY(wasWarned());
    }

    void loadThatFailsIsOver()
    {
        COv3DObject* item = m_fixture->createItem();
        ExhaustedFramework framework;
        SetFramework(&framework);
        g_app_path.clear(); // so that the log asks for it
        g_progress = 40;
        expect("Loading a 3D model");
        QVERIFY(!item->loadFromFile(m_fixture->writeFile(QStringLiteral("m.stl"))));
        SetFramework(&m_fixture->framework);
        QVERIFY(wasWarned());
        QCOMPARE(g_progress, 100);
        QVERIFY(!item->m_isLoaded);
    }

private:
    void expect(const char* work)
    {
        m_warning = QLatin1String(work) + QStringLiteral(" failed: std::bad_alloc");
        expectMessage(m_warning);
    }

    [[nodiscard]] bool wasWarned() const { return messages().contains(m_warning); }

    LoadProbe* m_item = nullptr;
    QString m_warning;
};

OV3D_TEST_MAIN(BoundaryTest)
#include "boundary_test.moc"
