#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/import/xmlscanner.h"

using namespace ov3d::renderer;

namespace {

/// Names of all tags, with "/" before closing and behind empty ones, then the reason if any.
QString scanned(const QByteArray& text, int pieceBytes)
{
    QStringList found;
    XmlScanner scanner([&found](const XmlTag& tag) {
        found << (tag.closing ? "/" : "") + QString::fromUtf8(tag.name.data(), static_cast<int>(tag.name.size())) +
                     (tag.empty ? "/" : "");
    });
    for (int at = 0; at < text.size(); at += pieceBytes)
        if (!scanner.feed({text.constData() + at, static_cast<std::size_t>(qMin(pieceBytes, text.size() - at))}))
            break;
    if (!scanner.finish())
        found << QString::fromStdString("(" + scanner.reason() + ")");
    return found.join(' ');
}

} // namespace

class XmlScannerTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void tagsAreFoundHoweverTheTextArrives_data();
    void tagsAreFoundHoweverTheTextArrives();
    void attributesAreFoundByName();
    void badTextIsRefused_data();
    void badTextIsRefused();
    void depthLimitIsExact();
};

void XmlScannerTest::tagsAreFoundHoweverTheTextArrives_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("tags");
    QTest::newRow("elements") << QByteArray("<a><b x='1'/>text<c></c></a>") << "a b/ c /c /a";
    QTest::newRow("declaration and comment")
        << QByteArray("<?xml version=\"1.0\"?><!-- <no> 'quote -- --><a/>") << "a/";
    QTest::newRow("characters") << QByteArray("<a><![CDATA[<b> ]] ]>x]]></a>") << "a /a";
    QTest::newRow("prefixes") << QByteArray("<m:a><p:b></p:b></m:a>") << "a b /b /a";
    QTest::newRow("brackets in values") << QByteArray("<a x=\"1>2\" y='\">'/>") << "a/";
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF<a/>") << "a/";
}

void XmlScannerTest::tagsAreFoundHoweverTheTextArrives()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, tags);
    for (const int pieceBytes : {1, 2, 3, 7, 1000})
        QCOMPARE(scanned(text, pieceBytes), tags);
}

void XmlScannerTest::attributesAreFoundByName()
{
    XmlTag tag;
    tag.attributes = " id=\"7\"  p:path = '/3D/a.model' empty=\"\" note='id=\"8\"'";
    QCOMPARE(std::string(tag.value("id")), std::string("7"));
    QCOMPARE(std::string(tag.value("path")), std::string("/3D/a.model"));
    QCOMPARE(std::string(tag.value("empty")), std::string());
    QCOMPARE(std::string(tag.value("missing")), std::string());
}

void XmlScannerTest::badTextIsRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("reason");
    const QString declares = "declares a document type or entities, which no model needs";
    QTest::newRow("document type") << QByteArray("<!DOCTYPE a><a/>") << declares;
    QTest::newRow("entities that multiply")
        << QByteArray("<!DOCTYPE a [<!ENTITY b \"bb\"><!ENTITY c \"&b;&b;\">]><a>&c;</a>") << declares;
    QTest::newRow("entity alone") << QByteArray("<a><!ENTITY b \"b\"></a>") << declares;
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE<\0a\0", 6) << "is not written in UTF-8";
    QTest::newRow("no XML") << QByteArray("hello") << "is not valid XML";
    QTest::newRow("nothing") << QByteArray() << "is not valid XML";
    QTest::newRow("closing too much") << QByteArray("<a></a></a>") << "is not valid XML";
    QTest::newRow("open element") << QByteArray("<a><b></b>") << "ends in the middle of its data";
    QTest::newRow("open tag") << QByteArray("<a/><b x=") << "ends in the middle of its data";
    QTest::newRow("open comment") << QByteArray("<a/><!-- ") << "ends in the middle of its data";
    QTest::newRow("endless tag") << "<a x=\"" + QByteArray(100000, 'x') + "\"/>"
                                 << "has a tag that is too long";
}

void XmlScannerTest::badTextIsRefused()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, reason);
    QVERIFY2(scanned(text, 10).endsWith("(" + reason + ")"), qPrintable(scanned(text, 10)));
}

void XmlScannerTest::depthLimitIsExact()
{
    const auto nested = [](int depth) {
        return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth);
    };
    QVERIFY(!scanned(nested(kMaxXmlDepth), 100).contains('('));
    QVERIFY(scanned(nested(kMaxXmlDepth + 1), 100).endsWith("(is nested too deeply)"));
}

OV3D_TEST_MAIN(XmlScannerTest)
#include "tst_xmlscanner.moc"
