#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/import/jsontree.h"

using namespace ov3d::renderer;

namespace {

QString parseReason(const QByteArray& text)
{
    JsonTree tree;
    std::string reason;
    const bool parsed = tree.parse({text.constData(), static_cast<std::size_t>(text.size())}, reason);
    return parsed ? QString() : QString::fromStdString(reason);
}

} // namespace

class JsonTreeTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void valuesAreReachedByNameAndOrder();
    void firstOfTwoMembersCounts();
    void escapesAreUndone();
    void noneAnswersEverythingWithNone();
    void badTextIsRefused_data();
    void badTextIsRefused();
    void numberOfValuesIsBounded();
};

void JsonTreeTest::valuesAreReachedByNameAndOrder()
{
    JsonTree tree;
    std::string reason;
    QVERIFY(tree.parse(R"( {"a": [1, 2.5, -3e2, true, null, "x"], "b": {"c": {}}} )", reason));
    const JsonValue list = tree.root()["a"];
    QVERIFY(list.isArray());
    QCOMPARE(list.size(), std::size_t{6});
    JsonValue element = list.first();
    QCOMPARE(element.index(9), std::uint64_t{1});
    element = element.next();
    QCOMPARE(element.number(0), 2.5);
    QCOMPARE(element.index(9), std::uint64_t{9});
    element = element.next();
    QCOMPARE(element.number(0), -300.0);
    QCOMPARE(element.index(9), std::uint64_t{9});
    element = element.next().next().next();
    QCOMPARE(element.text(), std::string("x"));
    QVERIFY(!element.next());
    QVERIFY(tree.root()["b"]["c"].isObject());
}

void JsonTreeTest::firstOfTwoMembersCounts()
{
    JsonTree tree;
    std::string reason;
    QVERIFY(tree.parse(R"({"a":1,"a":2})", reason));
    QCOMPARE(tree.root()["a"].index(0), std::uint64_t{1});
}

void JsonTreeTest::escapesAreUndone()
{
    JsonTree tree;
    std::string reason;
    QVERIFY(tree.parse(R"({"n\u006fdes":"\"\\\/\n\u00e4\u20ac\ud83d\ude00"})", reason));
    QCOMPARE(tree.root()["nodes"].text(), std::string("\"\\/\n\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
}

void JsonTreeTest::noneAnswersEverythingWithNone()
{
    const JsonValue none;
    QVERIFY(!none["a"]["b"].first().next());
    QCOMPARE(none.index(7), std::uint64_t{7});
    QCOMPARE(none.text(), std::string());
    QCOMPARE(none.size(), std::size_t{0});
}

void JsonTreeTest::badTextIsRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    for (const char* text : {"", "{", "[1", "[1,", "[1,]", "{\"a\"}", "{\"a\":}", "{a:1}", "\"open", "\"open\\", "tru",
                             "{}x", "[1 2]", "}", "nul"})
        QTest::newRow(qPrintable(QString("\"%1\"").arg(text))) << QByteArray(text);
}

void JsonTreeTest::badTextIsRefused()
{
    QFETCH(QByteArray, text);
    QCOMPARE(parseReason(text), QString("is not valid JSON"));
}

void JsonTreeTest::numberOfValuesIsBounded()
{
    const auto numbers = [](std::size_t count) {
        return "[0" + QByteArray(",0").repeated(static_cast<int>(count) - 1) + "]";
    };
    QCOMPARE(parseReason(numbers(kMaxJsonValues - 1)), QString());
    QCOMPARE(parseReason(numbers(kMaxJsonValues)), QString("holds more values than allowed"));
}

OV3D_TEST_MAIN(JsonTreeTest)
#include "tst_jsontree.moc"
