#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/fbxfiles.h"
#include "viewer/renderer/import/fbxcheck.h"
#include "viewer/renderer/import/gltfcheck.h"

#include <QtEndian>

using namespace ov3d::renderer;
using namespace fbxfiles;

namespace {

constexpr int kFirstRecordAt = 27;

QString check(const QByteArray& bytes)
{
    return QString::fromStdString(
        checkFbx(reinterpret_cast<const std::uint8_t*>(bytes.constData()), static_cast<std::size_t>(bytes.size())));
}

QByteArray withNumber(QByteArray bytes, int at, quint32 value)
{
    qToLittleEndian(value, bytes.data() + at);
    return bytes;
}

Record nested(int depth)
{
    Record record{"x", {}, {}};
    for (int i = 1; i < depth; ++i)
        record = {"x", {}, {record}};
    return record;
}

Record model(qint64 id)
{
    return {"Model", {longNumber(id), text("model"), text("Mesh")}, {}};
}

Record connected(qint64 child, qint64 parent)
{
    return {"C", {text("OO"), longNumber(child), longNumber(parent)}, {}};
}

QByteArray scene(const QList<Record>& objects, const QList<Record>& connections)
{
    return file({{"Objects", {}, objects}, {"Connections", {}, connections}});
}

/// Models 1 to `count`, each of which stands `times` times in the one before it, and the first in the scene.
QByteArray chain(int count, int times = 1)
{
    QList<Record> models{model(1)};
    QList<Record> connections{connected(1, 0)};
    for (int i = 2; i <= count; ++i) {
        models << model(i);
        for (int k = 0; k < times; ++k)
            connections << connected(i, i - 1);
    }
    return scene(models, connections);
}

const QString kItself = "is damaged: a model contains itself";

} // namespace

class FbxCheckTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void soundFilesPass();
    void textFormIsRefused();
    void damagedFilesAreRefused_data();
    void damagedFilesAreRefused();
    void depthLimitIsExact();
    void truncationAnywhereIsRefused();
    void bytesBehindTheLastRecordAreNobodys();
    void modelsInThemselvesAreRefused();
    void circlesThatAreNoneOfModelsPass();
    void depthLimitOfModelsIsExact();
    void modelsThatDoubleAtEachLevelAreRefusedAtOnce();
};

void FbxCheckTest::soundFilesPass()
{
    QCOMPARE(check(polygon({0, 0, 0, 1, 0, 0, 0, 1, 0})), QString());
    const QByteArray packed = qCompress(QByteArray(80000, '\0')).mid(4);
    QCOMPARE(check(file({{"a", {packedArray('d', 10000, packed), raw("picture"), text("")}, {}}})), QString());
}

void FbxCheckTest::textFormIsRefused()
{
    QCOMPARE(check("; FBX 7.3.0 project file"), QString("is FBX in its text form; only the binary form can be read"));
    QCOMPARE(check("whatever"), QString("is no FBX file"));
}

void FbxCheckTest::damagedFilesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const QString damaged = "is damaged: the sizes of its records do not fit";
    const QByteArray one = file({{"name", {text("value"), number(1)}, {}}});
    const int propertiesAt = kFirstRecordAt + 13 + 4;
    QTest::newRow("record beyond the end of the file")
        << withNumber(one, kFirstRecordAt, 120000)
        << QString("ends in the middle of its data (at byte %1 of 120,000)").arg(one.size());
    QTest::newRow("record that ends before it begins") << withNumber(one, kFirstRecordAt, 5) << damaged;
    QTest::newRow("properties longer than their record") << withNumber(one, kFirstRecordAt + 8, 4000) << damaged;
    QTest::newRow("more properties than there are") << withNumber(one, kFirstRecordAt + 4, 3) << damaged;
    QTest::newRow("absurd number of properties") << withNumber(one, kFirstRecordAt + 4, 0xFFFFFFFFU) << damaged;
    QTest::newRow("fewer properties than there are") << withNumber(one, kFirstRecordAt + 4, 1) << damaged;
    QTest::newRow("text longer than its properties") << withNumber(one, propertiesAt + 1, 0xFFFFFFF0U) << damaged;
    QTest::newRow("picture longer than its properties")
        << withNumber(file({{"name", {raw("picture")}, {}}}), propertiesAt + 1, 5000) << damaged;
    QTest::newRow("unknown kind of property")
        << file({{"name", {"?"}, {}}}) << "is damaged: a property is of an unknown kind";
    QTest::newRow("array of another size than its data")
        << withNumber(file({{"name", {integers({1, 2, 3})}, {}}}), propertiesAt + 1, 4) << damaged;
    QTest::newRow("array that claims what its data cannot hold")
        << file({{"name", {packedArray('d', 0x40000000, "tiny")}, {}}})
        << "is damaged: an array claims more than its data can hold";
    QTest::newRow("array packed in an unknown way")
        << withNumber(file({{"name", {integers({1})}, {}}}), propertiesAt + 5, 7) << damaged;
    QTest::newRow("half a header") << one.left(24) << "ends in the middle of its header";
}

void FbxCheckTest::damagedFilesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QTEST(check(bytes), "reason");
}

void FbxCheckTest::depthLimitIsExact()
{
    QCOMPARE(check(file({nested(kMaxFbxDepth)})), QString());
    QCOMPARE(check(file({nested(kMaxFbxDepth + 1)})), QString("is nested too deeply"));
}

void FbxCheckTest::truncationAnywhereIsRefused()
{
    const QByteArray sound = polygon({0, 0, 0, 1, 0, 0, 0, 1, 0});
    for (int size = kFirstRecordAt; size < sound.size(); ++size)
        QVERIFY2(check(sound.left(size)).startsWith("ends in the middle of its data"),
                 qPrintable(QString::number(size) + ": " + check(sound.left(size))));
}

void FbxCheckTest::bytesBehindTheLastRecordAreNobodys()
{
    QCOMPARE(check(polygon({0, 0, 0, 1, 0, 0, 0, 1, 0}) + "made by somebody"), QString());
}

void FbxCheckTest::modelsInThemselvesAreRefused()
{
    QCOMPARE(check(scene({model(1)}, {connected(1, 0), connected(1, 1)})), kItself);
    const QList<Record> circle{connected(1, 0), connected(1, 2), connected(2, 3), connected(3, 1)};
    QCOMPARE(check(scene({model(1), model(2), model(3)}, circle)), kItself);
    // In whatever order the lists stand.
    QCOMPARE(check(file({{"Connections", {}, circle}, {"Objects", {}, {model(3), model(1), model(2)}}})), kItself);
    const Record unnamed{"C", {text("OP"), longNumber(1), longNumber(1), text("")}, {}};
    QCOMPARE(check(scene({model(1)}, {unnamed})), kItself);
}

void FbxCheckTest::circlesThatAreNoneOfModelsPass()
{
    // A bone moves a cluster of the mesh in whose model it stands.
    const Record cluster{"Deformer", {longNumber(9), text("cluster"), text("Cluster")}, {}};
    QCOMPARE(check(scene({model(1), model(2), cluster},
                         {connected(1, 0), connected(2, 1), connected(2, 9), connected(9, 1)})),
             QString());
    const Record driven{"C", {text("OP"), longNumber(1), longNumber(1), text("LookAtProperty")}, {}};
    QCOMPARE(check(scene({model(1)}, {connected(1, 0), driven})), QString());
    const Record properties{"C", {text("PP"), longNumber(1), text("a"), longNumber(1), text("b")}, {}};
    QCOMPARE(check(scene({model(1)}, {properties})), QString());
    const Record odd{"C", {text("OO"), number(1), longNumber(1)}, {}};
    QCOMPARE(check(scene({model(1), {"Model", {}, {}}}, {odd, {"C", {}, {}}})), QString());
}

void FbxCheckTest::depthLimitOfModelsIsExact()
{
    QCOMPARE(check(chain(kMaxNodeDepth)), QString());
    QCOMPARE(check(chain(kMaxNodeDepth + 1)), QString("nests its models too deeply"));
    QCOMPARE(check(chain(50000)), QString("nests its models too deeply"));
}

void FbxCheckTest::modelsThatDoubleAtEachLevelAreRefusedAtOnce()
{
    QCOMPARE(check(chain(10, 2)), QString());
    QCOMPARE(check(chain(60, 2)), QString("repeats its models too often"));
}

OV3D_TEST_MAIN(FbxCheckTest)
#include "tst_fbxcheck.moc"
