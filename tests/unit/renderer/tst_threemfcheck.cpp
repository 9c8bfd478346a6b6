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

OV3D_TEST_MAIN(ThreeMfCheckTest)
#include "tst_threemfcheck.moc"
