#include "src/render/viewcontext.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/import/importwords.h"

using ov3d::renderer::plainReason;

class ImportWordsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void refusalsAreSaidInPlainWords_data();
    void refusalsAreSaidInPlainWords();
    void namesOfOursAndControlCharactersAreNotShown();
    void longTextsAreCutBetweenCharacters();
};

void ImportWordsTest::refusalsAreSaidInPlainWords_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("format");
    QTest::addColumn<QString>("missing");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no memory") << "std::bad_alloc" << int{kFormatObj} << ""
                               << "needs more memory than allowed";
    QTest::newRow("a missing buffer") << "GLTF: could not open referenced file \"a.bin\"" << int{kFormatGltf} << "a.bin"
                                      << "needs the file a.bin, which is missing";
    QTest::newRow("an early end") << "STL: unexpected EOF while parsing facet" << int{kFormatStl} << ""
                                  << "ends in the middle of its data";
    QTest::newRow("offsets beyond the end")
        << "FBX-Tokenize (offset 0x23) block offset is out of range" << int{kFormatFbx} << ""
        << "has a part that reaches beyond its end";
    QTest::newRow("bad JSON") << "GLTF: JSON parse error, offset 4: Invalid value." << int{kFormatGltf} << ""
                              << "is not valid JSON";
    QTest::newRow("no glTF") << "No suitable reader found for the file format of file \"x\"." << int{kFormatGltf} << ""
                             << "is not valid glTF";
    QTest::newRow("a word in an OBJ") << "Cannot parse string \"red\" as a real number" << int{kFormatObj} << ""
                                      << "holds something else where a number belongs, itself or in a material library";
    QTest::newRow("a word in an STL") << "Cannot parse string \"one\" as a real number" << int{kFormatStl} << ""
                                      << "holds something else where a number belongs";
    QTest::newRow("nothing more in an STL") << "Cannot parse string \"\" as a real number" << int{kFormatStl} << ""
                                            << "ends in the middle of its data";
    QTest::newRow("a face of words") << "OBJ: Invalid face index." << int{kFormatObj} << ""
                                     << "is damaged: a face names a corner that cannot exist";
    QTest::newRow("an FBX without objects") << "FBX-DOM no Objects dictionary found" << int{kFormatFbx} << ""
                                            << "is damaged: it holds no objects";
    QTest::newRow("a member of the wrong kind")
        << "Member \"primitives\" was not of type \"array\" when reading meshes[0]" << int{kFormatGlb} << ""
        << "is not valid glTF: its member \"primitives\" is of the wrong kind";
    QTest::newRow("damaged Draco data") << "GLTF: Invalid Draco mesh compression in mesh" << int{kFormatGltf} << ""
                                        << "is damaged: its Draco data cannot be unpacked";
    QTest::newRow("two objects of one number") << "Duplicate Resource ID" << int{kFormat3mf} << ""
                                               << "is damaged: two objects have the same number";
    QTest::newRow("words of another format") << "Duplicate Resource ID" << int{kFormatObj} << ""
                                             << "cannot be understood (Duplicate Resource ID)";
    QTest::newRow("anything else") << "Some words" << int{kFormatFbx} << ""
                                   << "cannot be understood (Some words)";
    QTest::newRow("no words") << "" << int{kFormatFbx} << ""
                              << "cannot be understood";
}

void ImportWordsTest::refusalsAreSaidInPlainWords()
{
    QFETCH(QString, message);
    QFETCH(int, format);
    QFETCH(QString, missing);
    std::vector<std::string> names;
    if (!missing.isEmpty())
        names.push_back(missing.toStdString());
    QTEST(QString::fromStdString(plainReason(message.toStdString(), format, "/made-up/x.fbx", names)), "reason");
}

void ImportWordsTest::namesOfOursAndControlCharactersAreNotShown()
{
    const std::string reason = plainReason("Odd\n\x1b[31m thing in /made-up/x.fbx", kFormatFbx, "/made-up/x.fbx", {});
    QCOMPARE(QString::fromStdString(reason), QString("cannot be understood (Odd[31m thing in the file)"));
}

void ImportWordsTest::longTextsAreCutBetweenCharacters()
{
    const QString message = "x" + QString(500, QChar(0x00E4));
    const QString reason = QString::fromStdString(plainReason(message.toStdString(), kFormatFbx, "/m", {}));
    QVERIFY(reason.size() < 200);
    QVERIFY(reason.endsWith("...)"));
    QVERIFY(!reason.contains(QChar::ReplacementCharacter));
}

OV3D_TEST_MAIN(ImportWordsTest)
#include "tst_importwords.moc"
