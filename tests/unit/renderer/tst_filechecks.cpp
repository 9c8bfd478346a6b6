#include "src/render/viewcontext.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/import/filechecks.h"

#include <QtEndian>

using namespace ov3d::renderer;

namespace {

QByteArray number(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const QByteArray& type, const QByteArray& data)
{
    return number(static_cast<quint32>(data.size())) + type + data;
}

QByteArray glb(const QByteArray& chunks, int lengthError = 0)
{
    return "glTF" + number(2) + number(static_cast<quint32>(12 + chunks.size() + lengthError)) + chunks;
}

const QByteArray kBinary("BIN\0", 4);

QString check(std::int32_t format, const QByteArray& bytes)
{
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.constData());
    return QString::fromStdString(checkFile(format, data, static_cast<std::size_t>(bytes.size())).reason);
}

QByteArray stl(quint32 claimed, int facets)
{
    return QByteArray(80, 'x') + number(claimed) + QByteArray(50 * facets, '\0');
}

} // namespace

class FileChecksTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void brokenFilesAreRefusedInPlainWords_data();
    void brokenFilesAreRefusedInPlainWords();
    void soundFilesPass_data();
    void soundFilesPass();
    void bytesBehindAnStlAreNotShownToImporters();
    void bracketsInStringsDoNotNest();
    void nestingLimitIsExact();
};

void FileChecksTest::brokenFilesAreRefusedInPlainWords_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const int glbFormat = kFormatGlb;
    const int stlFormat = kFormatStl;
    QTest::newRow("nothing at all") << glbFormat << QByteArray() << "is empty";
    QTest::newRow("GLB: half a header") << glbFormat << QByteArray("glTF\2\0\0", 7)
                                        << "ends in the middle of its header";
    QTest::newRow("GLB: another file") << glbFormat << QByteArray(40, 'x') << "is no GLB file";
    QTest::newRow("GLB: a version of the future")
        << glbFormat << QByteArray("glTF" + number(9) + number(12)) << "is of GLB version 9, which cannot be read";
    QTest::newRow("GLB: cut off") << glbFormat << glb(chunk("JSON", "{}  "), 119976)
                                  << "ends in the middle of its data (at byte 24 of 120,000)";
    QTest::newRow("GLB: a chunk of four gigabytes")
        << glbFormat << glb(chunk("JSON", "{}  ") + number(0xFFFFFFF0U) + kBinary + "1234")
        << "has a part that reaches beyond its end";
    QTest::newRow("GLB: data before the description")
        << glbFormat << glb(chunk(kBinary, "1234")) << "does not begin with a description of its content";
    QTest::newRow("GLB: header alone") << glbFormat << glb({}) << "is empty behind its header";
    QTest::newRow("GLB: nested without end")
        << glbFormat << glb(chunk("JSON", QByteArray(200000, '['))) << "is nested too deeply";
    QTest::newRow("glTF: nested without end") << int{kFormatGltf} << QByteArray(200000, '{') << "is nested too deeply";
    QTest::newRow("FBX: another file") << int{kFormatFbx} << QByteArray("whatever") << "is no FBX file";
    QTest::newRow("OBJ in UTF-16 with a mark")
        << int{kFormatObj} << QByteArray("\xFF\xFEv\0", 4) << "is written in UTF-16; only UTF-8 text can be read";
    QTest::newRow("OBJ in UTF-16 without a mark")
        << int{kFormatObj} << QByteArray("\0v\0 ", 4) << "is written in UTF-16; only UTF-8 text can be read";
    QTest::newRow("STL: cut off") << stlFormat << stl(2400, 1)
                                  << "ends in the middle of its data (at byte 134 of 120,084)";
    QTest::newRow("STL: half a header") << stlFormat << QByteArray(40, 'x') << "ends in the middle of its header";
    QTest::newRow("STL: no facets") << stlFormat << stl(0, 0) << "holds nothing that can be drawn";
}

void FileChecksTest::brokenFilesAreRefusedInPlainWords()
{
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QTEST(check(format, bytes), "reason");
}

void FileChecksTest::soundFilesPass_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("GLB of a description alone") << int{kFormatGlb} << glb(chunk("JSON", "{}  "));
    QTest::newRow("GLB with data") << int{kFormatGlb} << glb(chunk("JSON", "{}  ") + chunk(kBinary, "1234"));
    QTest::newRow("GLB with bytes behind its end") << int{kFormatGlb} << glb(chunk("JSON", "{}  ")) + "rest";
    QTest::newRow("STL as text") << int{kFormatStl} << QByteArray("  solid x\nendsolid x\n");
    QTest::newRow("STL as bytes") << int{kFormatStl} << stl(3, 3);
    QTest::newRow("STL as bytes that begin like text") << int{kFormatStl} << "solid" + stl(2, 2).mid(5);
    QTest::newRow("STL as bytes that begin like text, with bytes behind its end")
        << int{kFormatStl} << "solid" + stl(2, 2).mid(5) + "zz";
    QTest::newRow("STL as text with a UTF-8 mark")
        << int{kFormatStl} << QByteArray("\xEF\xBB\xBFsolid x\nendsolid x\n");
    QTest::newRow("OBJ with a UTF-8 mark") << int{kFormatObj} << QByteArray("\xEF\xBB\xBFv 0 0 0\n");
}

void FileChecksTest::soundFilesPass()
{
    QFETCH(int, format);
    QFETCH(QByteArray, bytes);
    QCOMPARE(check(format, bytes), QString());
}

void FileChecksTest::bytesBehindAnStlAreNotShownToImporters()
{
    const QByteArray bytes = stl(2, 2) + "made by somebody";
    const FileCheck result = checkFile(kFormatStl, reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                                       static_cast<std::size_t>(bytes.size()));
    QVERIFY(result.reason.empty());
    QCOMPARE(result.usable_bytes, std::size_t{184});
}

void FileChecksTest::bracketsInStringsDoNotNest()
{
    const QByteArray json = "{\"name\":\"\\\"" + QByteArray(500, '[') + "\"}";
    QVERIFY(!nestsTooDeeply(json.constData(), static_cast<std::size_t>(json.size())));
}

void FileChecksTest::nestingLimitIsExact()
{
    const QByteArray allowed = QByteArray(kMaxJsonDepth, '[') + QByteArray(kMaxJsonDepth, ']');
    const QByteArray refused = "[" + allowed + "]";
    QVERIFY(!nestsTooDeeply(allowed.constData(), static_cast<std::size_t>(allowed.size())));
    QVERIFY(nestsTooDeeply(refused.constData(), static_cast<std::size_t>(refused.size())));
}

OV3D_TEST_MAIN(FileChecksTest)
#include "tst_filechecks.moc"
