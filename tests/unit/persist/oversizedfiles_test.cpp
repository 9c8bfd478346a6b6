#include "src/persist/previewpicture.h"
#include "src/persist/settingsfile.h"
#include "src/plugin/ov3dobject.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/loadprobe.h"
#include "tests/unit/persist/settingsblocks.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QtEndian>

#include <cstddef>
#include <cstring>

namespace {

const QString kKey = QStringLiteral("3D_OBJECT_KEY");
constexpr int kLongestObjLine = 1 << 20; ///< the first length that is too long
constexpr qint64 kGigabyte = 1 << 30;

quint32 checksum(const QByteArray& bytes)
{
    quint32 sum = 0xffffffffu;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xedb88320u : 0u);
    }
    return ~sum;
}

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

/// A PNG file that claims another size than its pixels have.
QByteArray pictureThatClaims(int width, int height)
{
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::red);
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    image.save(&file, "PNG");
    // Behind the signature and the length: the header's name, and the two sizes first in it.
    constexpr int name = 12;
    QByteArray bytes = file.data();
    bytes.replace(name + 4, 8, bigEndian(static_cast<quint32>(width)) + bigEndian(static_cast<quint32>(height)));
    bytes.replace(name + 17, 4, bigEndian(checksum(bytes.mid(name, 17))));
    return bytes;
}

QString leftOut(const QString& path, int width, int height)
{
    return QStringLiteral("The preview \"%1\" is left out: %2 x %3 pixels, more than 8192 a side")
        .arg(path)
        .arg(width)
        .arg(height);
}

} // namespace

/// Files of a document, and models, that are far larger than anything that is written by people or programs.
class OversizedFilesTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ItemTestBase::init();
        m_item = m_fixture->adopt(new LoadProbe);
    }

    // Models

    void lineWithoutEndDoesNotKeepAModelFromBeingSaved()
    {
        QVERIFY(writeSparse(QStringLiteral("m.obj"), "#", kGigabyte + kGigabyte / 2, "\nv 0 0 0\nmtllib m.mtl\n"));
        QVERIFY(saveModel());
        QCOMPARE(storedNames(), (QStringList{QStringLiteral("m.obj"), QStringLiteral("m_3dpreview.png"),
                                             QStringLiteral("m_view.json"), QStringLiteral("m.opt")}));
    }

    void longestLineStillNamesItsLibrary_data()
    {
        QTest::addColumn<int>("characters");
        QTest::addColumn<QString>("library");
        QTest::newRow("the longest line before it") << kLongestObjLine - 1 << "m.mtl";
        QTest::newRow("a longer line before it") << kLongestObjLine << "";
        QTest::newRow("a much longer line before it") << 5 * kLongestObjLine << "";
    }

    void longestLineStillNamesItsLibrary()
    {
        QFETCH(int, characters);
        QFETCH(QString, library);
        m_fixture->writeFile(QStringLiteral("m.obj"), QByteArray(characters, '#') + "\r\nmtllib m.mtl\r\n");
        QVERIFY(saveModel());
        QCOMPARE(storedNames().value(1) == QLatin1String("m.mtl"), !library.isEmpty());
        QCOMPARE(storedNames().size(), library.isEmpty() ? 4 : 5);
    }

    void tenLongLinesAreStillTenLines()
    {
        const QByteArray line = QByteArray(kLongestObjLine - 1, '#') + '\n';
        m_fixture->writeFile(QStringLiteral("m.obj"), line.repeated(9) + "mtllib m.mtl\n");
        QVERIFY(saveModel());
        QCOMPARE(storedNames().value(1), QStringLiteral("m.mtl"));
    }

    // Settings

    void settingsFileThatIsTooLargeIsLeftOut_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::newRow("by one byte") << kMostSettingsBytes + 1;
        QTest::newRow("by far") << 2 * kGigabyte;
    }

    void settingsFileThatIsTooLargeIsLeftOut()
    {
        QFETCH(qint64, bytes);
        const QStringList before = SettingsBlocks::ofItem(*m_item).lines();
        const QByteArray begin = "{\"view_type\":4}";
        QVERIFY(writeSparse(QStringLiteral("m_view.json"), begin, bytes - begin.size(), {}));
        const QString path = m_fixture->folder() + QStringLiteral("m_view.json");
        expectMessage(QStringLiteral("The settings file \"%1\" is left out: it has more than 1048576 bytes").arg(path));
        QVERIFY(restore({path}));
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), before);
        QVERIFY(!m_item->m_viewSettingsLoaded);
        QCOMPARE(messages().filter(QStringLiteral("is left out")).size(), 1);
        QCOMPARE(m_item->loads.size(), 1);
    }

    void largestSettingsFileIsRead()
    {
        const QByteArray begin = "{\"view_type\":4";
        const QByteArray blanks(static_cast<int>(kMostSettingsBytes) - begin.size() - 1, ' ');
        QVERIFY(restore({m_fixture->writeFile(QStringLiteral("m_view.json"), begin + blanks + '}')}));
        QCOMPARE(m_item->m_viewSettings.view_type, 4);
        QVERIFY(m_item->m_viewSettingsLoaded);
    }

    // Scene status

    void lastRecordOfAHugeStatusFileWinsAtOnce()
    {
        const QByteArray record(384, 'r');
        // Behind it stands a part of another one.
        QVERIFY(writeSparse(QStringLiteral("m.opt"), {}, 384LL * (kGigabyte / 48), record + "rest"));
        QVERIFY(restore({m_fixture->folder() + QStringLiteral("m.opt")}));
        OV3DOBJECT::SceneStatus expected;
        std::memset(static_cast<void*>(&expected), 'r', sizeof expected);
        QCOMPARE(std::memcmp(&m_item->m_context.scene_status, &expected, sizeof expected), 0);
    }

    // Previews

    void previewThatIsTooLargeIsLeftOut_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("too wide by a pixel") << kMostPreviewSide + 1 << 1;
        QTest::newRow("too high by a pixel") << 1 << kMostPreviewSide + 1;
        QTest::newRow("of more than a thousand million pixels") << 40000 << 30000;
        QTest::newRow("as large as its format's readers let a picture be") << 1000000 << 1000000;
    }

    void previewThatIsTooLargeIsLeftOut()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        m_item->m_image = QImage(1, 1, QImage::Format_ARGB32);
        const QString path =
            m_fixture->writeFile(QStringLiteral("m/m_3dpreview.png"), pictureThatClaims(width, height));
        expectMessage(leftOut(path, width, height));
        QVERIFY(restore({path}));
        QVERIFY(m_item->m_image.isNull());
        QCOMPARE(m_item->loads.size(), 1);
    }

    void largestPreviewIsTaken_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("the widest") << QSize(kMostPreviewSide, 2);
        QTest::newRow("the highest") << QSize(2, kMostPreviewSide);
    }

    void largestPreviewIsTaken()
    {
        QFETCH(QSize, size);
        QImage image(size, QImage::Format_ARGB32);
        image.fill(Qt::blue);
        const QString path = m_fixture->writeFile(QStringLiteral("m/m_3dpreview.png"));
        QVERIFY(image.save(path, "PNG"));
        QVERIFY(restore({path}));
        QCOMPARE(m_item->m_image.size(), size);
    }

private:
    /// Writes a file with a hole, which takes no room on the disk.
    bool writeSparse(const QString& name, const QByteArray& begin, qint64 hole, const QByteArray& end) const
    {
        QFile file(m_fixture->folder() + name);
        return file.open(QIODevice::WriteOnly) && file.write(begin) == begin.size() &&
               file.resize(begin.size() + hole) && file.seek(begin.size() + hole) && file.write(end) == end.size();
    }

    /// Saves the item with the model "m.obj". @return what the item answered
    bool saveModel()
    {
        m_item->m_modelPath = m_fixture->folder() + QStringLiteral("m.obj");
        QJsonObject object;
        return m_item->saveJson(object) && object.contains(kKey);
    }

    [[nodiscard]] QStringList storedNames() const
    {
        QStringList names;
        for (const QString& path : m_fixture->document.storedPaths())
            names << path.section(QLatin1Char('/'), -1);
        return names;
    }

    /// Restores a save of these files. @return what the item answered
    bool restore(const QStringList& paths)
    {
        QJsonArray entries;
        for (const QString& path : paths)
            entries.append(DocumentStub::entryFor(path));
        QJsonArray saves;
        saves.append(entries);
        QJsonObject object{{kKey, saves}};
        return m_item->loadJson(object);
    }

    LoadProbe* m_item = nullptr;
};

OV3D_TEST_MAIN(OversizedFilesTest)
#include "oversizedfiles_test.moc"
