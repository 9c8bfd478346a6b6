#include "apps/document/itemclip.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

using namespace ov3d::apps;

class ItemClipTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void bytesBringEverythingBack();
    void foreignBytesAreRefused_data();
    void foreignBytesAreRefused();
    void everyCutIsRefused();
    void newerVersionIsNamed();
    void namesThatLeaveTheFolderAreRefused_data();
    void namesThatLeaveTheFolderAreRefused();
    void namedFilesMustBeThere();

private:
    static ClippedItem sample()
    {
        ClippedItem item;
        item.stream = QByteArray("stream\0bytes", 12);
        item.model = QStringLiteral("chair/ch\u00e4ir.glb");
        item.environment = QStringLiteral("environment1.hdr");
        item.state << QStringLiteral("chair/chair.opt");
        item.files = {{item.model, QByteArray(3000, 'm')},
                      {item.environment, QByteArray("#?RADIANCE")},
                      {item.state.first(), QByteArray(384, '\0')},
                      {QStringLiteral("chair/textures/a.png"), QByteArray()}};
        item.parameters = {{QStringLiteral("point_size"), 7}};
        item.host = {{QStringLiteral("locked"), true}};
        return item;
    }
    static bool isRefused(const ClippedItem& item, QString& error) { return !readClip(writeClip({item}), error); }
};

void ItemClipTest::bytesBringEverythingBack()
{
    QString error;
    const auto items = readClip(writeClip({sample(), sample()}), error);
    QVERIFY2(items, qPrintable(error));
    QCOMPARE(items->size(), 2);
    const ClippedItem& item = items->last();
    const ClippedItem expected = sample();
    QCOMPARE(item.stream, expected.stream);
    QCOMPARE(item.model, expected.model);
    QCOMPARE(item.environment, expected.environment);
    QCOMPARE(item.state, expected.state);
    QCOMPARE(item.parameters, expected.parameters);
    QCOMPARE(item.host, expected.host);
    QCOMPARE(item.files.size(), expected.files.size());
    for (int i = 0; i < item.files.size(); ++i) {
        QCOMPARE(item.files[i].name, expected.files[i].name);
        QCOMPARE(item.files[i].content, expected.files[i].content);
    }
}

void ItemClipTest::foreignBytesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a text") << QByteArray("the quick brown fox jumps over the lazy dog");
    QTest::newRow("zeros") << QByteArray(100, '\0');
}

void ItemClipTest::foreignBytesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QString error;
    QVERIFY(!readClip(bytes, error));
    QVERIFY2(error.contains(QLatin1String("no items")), qPrintable(error));
}

void ItemClipTest::everyCutIsRefused()
{
    const QByteArray bytes = writeClip({sample()});
    for (int length = 0; length < bytes.size(); length += length < 200 ? 1 : 97) {
        QString error;
        QVERIFY2(!readClip(bytes.left(length), error), qPrintable(QString::number(length)));
        QVERIFY(!error.isEmpty());
    }
}

void ItemClipTest::newerVersionIsNamed()
{
    QByteArray bytes = writeClip({sample()});
    bytes[5] = 2;
    QString error;
    QVERIFY(!readClip(bytes, error));
    QVERIFY2(error.contains(QLatin1String("newer")), qPrintable(error));
}

void ItemClipTest::namesThatLeaveTheFolderAreRefused_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"../a.png", "/etc/passwd", "a/../../b", "a//b", "./a", "", "a/"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void ItemClipTest::namesThatLeaveTheFolderAreRefused()
{
    QFETCH(QString, name);
    ClippedItem item = sample();
    item.files[3].name = name;
    QString error;
    QVERIFY(isRefused(item, error));
    QVERIFY2(error.contains(QLatin1String("damaged")), qPrintable(error));
}

void ItemClipTest::namedFilesMustBeThere()
{
    QString error;
    ClippedItem item = sample();
    item.model = QStringLiteral("other.glb");
    QVERIFY(isRefused(item, error));
    item = sample();
    item.state << QStringLiteral("chair/missing.opt");
    QVERIFY(isRefused(item, error));
    item = sample();
    item.environment = QStringLiteral("missing.hdr");
    QVERIFY(isRefused(item, error));
    item = sample();
    item.files[3].name = item.model;
    QVERIFY(isRefused(item, error));
}

OV3D_TEST_MAIN(ItemClipTest)
#include "itemclip_test.moc"
