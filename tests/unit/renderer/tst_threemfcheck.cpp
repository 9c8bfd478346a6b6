#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/packagefiles.h"
#include "viewer/renderer/import/threemfcheck.h"

using namespace ov3d::renderer;
using packagefiles::object;
using packagefiles::package;

namespace {

ThreeMfCheck check(const QByteArray& bytes)
{
    ZipPackage unused;
    return checkThreeMf(reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                        static_cast<std::size_t>(bytes.size()), unused);
}

QString reason(const QByteArray& bytes)
{
    return QString::fromStdString(check(bytes).reason);
}

QByteArray item(int id)
{
    return "<item objectid=\"" + QByteArray::number(id) + "\"/>";
}

QByteArray group(int id, const QList<int>& components)
{
    QByteArray text = "<object id=\"" + QByteArray::number(id) + "\" type=\"model\"><components>";
    for (const int component : components)
        text += "<component objectid=\"" + QByteArray::number(component) + "\"/>";
    return text + "</components></object>";
}

/// Objects 1 to `count`, each of which holds the one before it `times` times.
QByteArray tower(int count, int times)
{
    QByteArray text = object(1);
    for (int id = 2; id <= count; ++id) {
        QList<int> inside;
        for (int i = 0; i < times; ++i)
            inside << id - 1;
        text += group(id, inside);
    }
    return text;
}

} // namespace

class ThreeMfCheckTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void soundPackagePasses();
    void badPackagesAreRefused_data();
    void badPackagesAreRefused();
    void objectsThatDoubleAtEachLevelAreRefusedAtOnce();
    void depthLimitOfComponentsIsExact();
    void modelsAreNamedByRelationsNotBySuffix();
    void numberOfRelationsIsBounded();
    void whatIsNotShownIsNoted();
    void missingPicturesAndPreviewsAreNoFault();
    void coordinatesMustBeNumbers_data();
    void coordinatesMustBeNumbers();
    void transformationsBeyondFloatsAreNoted();
    void objectsAreNamedByNumbersAlone_data();
    void objectsAreNamedByNumbersAlone();
    void attributesOfExtensionsHideNothing();
    void verticesOfExtensionsNeedNoThirdCoordinate();
    void relationsLeadAnywhereInThePackage_data();
    void relationsLeadAnywhereInThePackage();
    void requiredExtensionsAreOfTheOutermostElement();
};

void ThreeMfCheckTest::soundPackagePasses()
{
    const ThreeMfCheck result = check(package(object(1), item(1)));
    QCOMPARE(result.reason, std::string());
    QCOMPARE(result.models, std::vector<std::string>{"3D/3dmodel.model"});
    QVERIFY(result.notes.empty());
}

void ThreeMfCheckTest::badPackagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const auto main = [](const QByteArray& text) {
        return packagefiles::zip({packagefiles::rootRelations(), {"3D/3dmodel.model", text}});
    };
    QTest::newRow("no relations") << packagefiles::zip({{"3D/3dmodel.model", "<model/>"}})
                                  << "is no 3MF package: it names no model";
    QTest::newRow("model missing") << packagefiles::zip({packagefiles::rootRelations()})
                                   << "names a model part that it does not hold";
    QTest::newRow("document type")
        << main("<!DOCTYPE m [<!ENTITY a \"a\">]>" + packagefiles::model(object(1), item(1)))
        << "cannot be understood: its part 3D/3dmodel.model declares a document type or entities, which no model needs";
    QTest::newRow("nested without end") << main(QByteArray("<a>").repeated(100000))
                                        << "cannot be understood: its part 3D/3dmodel.model is nested too deeply";
    QTest::newRow("cut off") << main(packagefiles::model(object(1), item(1)).chopped(20))
                             << "cannot be understood: its part 3D/3dmodel.model ends in the middle of its data";
    QTest::newRow("object in itself") << package(group(1, {1}), item(1)) << "contains an object that contains itself";
    QTest::newRow("circle of objects") << package(group(1, {2}) + group(2, {3}) + group(3, {1}), item(1))
                                       << "contains an object that contains itself";
}

void ThreeMfCheckTest::badPackagesAreRefused()
{
    QFETCH(QByteArray, bytes);
    QTEST(::reason(bytes), "reason");
}

void ThreeMfCheckTest::objectsThatDoubleAtEachLevelAreRefusedAtOnce()
{
    QCOMPARE(reason(package(tower(60, 2), item(60))), QString("repeats its objects too often"));
    QCOMPARE(reason(package(tower(60, 1), item(60))), QString());
}

void ThreeMfCheckTest::depthLimitOfComponentsIsExact()
{
    QCOMPARE(reason(package(tower(kMaxComponentDepth + 1, 1), item(1))), QString());
    QCOMPARE(reason(package(tower(kMaxComponentDepth + 2, 1), item(1))), QString("nests its components too deeply"));
}

void ThreeMfCheckTest::modelsAreNamedByRelationsNotBySuffix()
{
    const QByteArray bytes = packagefiles::zip({packagefiles::rootRelations(),
                                                packagefiles::modelRelations({"/3D/odd.bin"}, "3dmodel"),
                                                {"3D/3dmodel.model", packagefiles::model(object(1), item(1))},
                                                {"3D/odd.bin", "<!DOCTYPE x><model/>"},
                                                {"Other/unused.model", "no XML at all"}});
    QVERIFY(reason(bytes).startsWith("cannot be understood: its part 3D/odd.bin declares"));
}

void ThreeMfCheckTest::numberOfRelationsIsBounded()
{
    QByteArray text = packagefiles::rootRelations().second;
    const int at = text.indexOf("<Relationship ");
    const QByteArray relation = text.mid(at, text.indexOf("/>", at) + 2 - at);
    text.replace(relation, relation.repeated(static_cast<int>(kMaxThreeMfRelations) + 1));
    QCOMPARE(reason(packagefiles::zip({{"_rels/.rels", text}, {"3D/3dmodel.model", "<model/>"}})),
             QString("names more model parts than allowed"));
}

void ThreeMfCheckTest::whatIsNotShownIsNoted()
{
    const QByteArray attributes = "xmlns:z=\"http://example.org/z\" requiredextensions=\"m z\"";
    const QByteArray text =
        packagefiles::model("<m:multiproperties id=\"9\" pids=\"1\"/>" + object(1), item(1), attributes);
    const ThreeMfCheck result = check(packagefiles::zip({packagefiles::rootRelations(), {"3D/3dmodel.model", text}}));
    QCOMPARE(result.reason, std::string());
    const std::vector<std::string> wanted{"the extension http://example.org/z is not read",
                                          "layered materials (multiproperties) are not shown"};
    QCOMPARE(result.notes, wanted);
}

void ThreeMfCheckTest::missingPicturesAndPreviewsAreNoFault()
{
    const QByteArray bytes =
        package(object(1), item(1), {packagefiles::modelRelations({"/3D/missing.png"}, "3dtexture")});
    const ThreeMfCheck result = check(bytes);
    QCOMPARE(result.reason, std::string());
    QCOMPARE(result.relations.size(), std::size_t{1});
}

void ThreeMfCheckTest::coordinatesMustBeNumbers_data()
{
    QTest::addColumn<QByteArray>("coordinate");
    QTest::addColumn<QString>("reason");
    const QString noNumber = "holds something else where a number belongs";
    QTest::newRow("fraction") << QByteArray("x=\"0.5\"") << QString();
    QTest::newRow("power of ten, with sign") << QByteArray("x=\"+1.5E-3\"") << QString();
    QTest::newRow("blanks around it") << QByteArray("x=\" -1\n\"") << QString();
    // The reader refuses these with words of its own.
    QTest::newRow("no finite number") << QByteArray("x=\"nan\"") << QString();
    QTest::newRow("beyond doubles") << QByteArray("x=\"1e999\"") << QString();
    QTest::newRow("word") << QByteArray("x=\"one\"") << noNumber;
    QTest::newRow("nothing") << QByteArray("x=\"\"") << noNumber;
    QTest::newRow("absent") << QByteArray() << noNumber;
    QTest::newRow("with a comma") << QByteArray("x=\"0,5\"") << noNumber;
    QTest::newRow("with a unit") << QByteArray("x=\"1mm\"") << noNumber;
    QTest::newRow("sign alone") << QByteArray("x=\"+\"") << noNumber;
}

void ThreeMfCheckTest::coordinatesMustBeNumbers()
{
    QFETCH(QByteArray, coordinate);
    QTEST(::reason(package(object(1).replace("x=\"1\"", coordinate), item(1))), "reason");
}

void ThreeMfCheckTest::transformationsBeyondFloatsAreNoted()
{
    const auto moved = [](const QByteArray& x) {
        return check(package(object(1), "<item objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 1 " + x + " 0 0\"/>"));
    };
    QVERIFY(moved("1e38").notes.empty());
    for (const char* beyond : {"1e39", "-1e300", "1e999"}) {
        const ThreeMfCheck result = moved(beyond);
        QCOMPARE(result.reason, std::string());
        QCOMPARE(result.notes, std::vector<std::string>{"a transformation beyond all bounds is not followed"});
    }
}

void ThreeMfCheckTest::objectsAreNamedByNumbersAlone_data()
{
    QTest::addColumn<QByteArray>("number");
    QTest::addColumn<QString>("reason");
    const QString noNumber = "is damaged: an object has no valid number";
    QTest::newRow("as it was given") << QByteArray("1") << QString();
    QTest::newRow("with zeros before it") << QByteArray("001") << QString();
    QTest::newRow("blank before it") << QByteArray(" 1") << noNumber;
    QTest::newRow("with a sign") << QByteArray("+1") << noNumber;
    QTest::newRow("with a tail") << QByteArray("1x") << noNumber;
    QTest::newRow("of more than 32 bits") << QByteArray("4294967297") << noNumber;
    QTest::newRow("nothing") << QByteArray() << noNumber;
}

void ThreeMfCheckTest::objectsAreNamedByNumbersAlone()
{
    QFETCH(QByteArray, number);
    QTEST(::reason(package(object(1), "<item objectid=\"" + number + "\"/>")), "reason");
    QTEST(
        ::reason(package(object(1) + group(2, {1}).replace("objectid=\"1\"", "objectid=\"" + number + "\""), item(2))),
        "reason");
    // A reader sees through the spelling, and so must the check.
    const QByteArray circle = group(2, {2}).replace("objectid=\"2\"", "objectid=\"02\"");
    QCOMPARE(::reason(package(object(1) + circle, item(2))), QString("contains an object that contains itself"));
}

void ThreeMfCheckTest::attributesOfExtensionsHideNothing()
{
    const QByteArray decoys = tower(60, 2).replace("<component ", "<component m:objectid=\"777\" ");
    QCOMPARE(reason(package(decoys, item(60))), QString("repeats its objects too often"));
    const QByteArray twoPaths = "<item objectid=\"1\" m:path=\"/3D/a.model\" p:path=\"/3D/b.model\"/>";
    QCOMPARE(reason(package(object(1), twoPaths)), QString("is damaged: an object has no valid number"));
}

void ThreeMfCheckTest::verticesOfExtensionsNeedNoThirdCoordinate()
{
    const QByteArray slices =
        "<s:slicestack id=\"20\" zbottom=\"0\"><s:slice ztop=\"1\"><s:vertices>"
        "<s:vertex x=\"0\" y=\"0\"/><s:vertex x=\"1\" y=\"0\"/></s:vertices></s:slice></s:slicestack>";
    const QByteArray attributes = "xmlns:s=\"http://schemas.microsoft.com/3dmanufacturing/slice/2015/07\"";
    const QByteArray sound = packagefiles::model(slices + object(1), item(1), attributes);
    QCOMPARE(reason(packagefiles::zip({packagefiles::rootRelations(), {"3D/3dmodel.model", sound}})), QString());
    // The name space of models may have a prefix of its own.
    QByteArray prefixed = packagefiles::model(object(1).replace("x=\"1\"", ""), item(1));
    prefixed.replace("</", "</c:").replace("xmlns=", "xmlns:c=");
    for (const char* name : {"model", "resources", "object", "mesh", "vertices", "vertex", "triangles", "triangle"})
        prefixed.replace(QByteArray("<") + name, QByteArray("<c:") + name);
    QCOMPARE(reason(packagefiles::zip({packagefiles::rootRelations(), {"3D/3dmodel.model", prefixed}})),
             QString("holds something else where a number belongs"));
}

void ThreeMfCheckTest::relationsLeadAnywhereInThePackage_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("name");
    const QByteArray usual = "3D/3dmodel.model";
    QTest::newRow("absolute") << QByteArray("/3D/3dmodel.model") << usual;
    QTest::newRow("relative") << QByteArray("3D/3dmodel.model") << usual;
    QTest::newRow("through dots") << QByteArray("/3D/../3D/./3dmodel.model") << usual;
    QTest::newRow("beyond the root") << QByteArray("/../../3D/3dmodel.model") << usual;
    QTest::newRow("percent escapes") << QByteArray("/3D/3dm%6Fdel.model") << usual;
    QTest::newRow("percent escapes in both") << QByteArray("/3D/a%20b.model") << QByteArray("3D/a%20b.model");
    QTest::newRow("percent escapes of a blank") << QByteArray("/3D/a%20b.model") << QByteArray("3D/a b.model");
    QTest::newRow("percent sign alone") << QByteArray("/3D/100%.model") << QByteArray("3D/100%.model");
}

void ThreeMfCheckTest::relationsLeadAnywhereInThePackage()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, name);
    QPair<QByteArray, QByteArray> relations = packagefiles::rootRelations();
    relations.second.replace("/3D/3dmodel.model", target);
    const ThreeMfCheck result = check(packagefiles::zip({relations, {name, packagefiles::model(object(1), item(1))}}));
    QCOMPARE(result.reason, std::string());
    QCOMPARE(result.models, std::vector<std::string>{name.toStdString()});
}

void ThreeMfCheckTest::requiredExtensionsAreOfTheOutermostElement()
{
    const auto notes = [](const QByteArray& attributes, const QByteArray& inside) {
        const QByteArray text = packagefiles::model(inside + object(1), item(1), attributes);
        return check(packagefiles::zip({packagefiles::rootRelations(), {"3D/3dmodel.model", text}})).notes;
    };
    const QByteArray space = "xmlns:z=\"http://example.org/z\" ";
    QVERIFY(notes({}, "<model " + space + "requiredextensions=\"z\"/>").empty());
    const int most = kMaxRequiredExtensions;
    const auto required = [](int others) {
        return "requiredextensions=\"" + QByteArray("q ").repeated(others) + "z\"";
    };
    QCOMPARE(notes(space + required(most - 1), {}).size(), std::size_t{1});
    QVERIFY(notes(space + required(most), {}).empty());
    // An attribute that only looks like the address of a name space.
    QCOMPARE(notes("z=\"http://example.org/other\" " + space + required(0), {}),
             std::vector<std::string>{"the extension http://example.org/z is not read"});
}

OV3D_TEST_MAIN(ThreeMfCheckTest)
#include "tst_threemfcheck.moc"
