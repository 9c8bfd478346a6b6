#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/modelfiles.h"
#include "tests/unit/renderer/modelfolder.h"
#include "tests/unit/renderer/rendererclient.h"

#include <QDir>
#include <cmath>
#include <cstdlib>

class RendererProcessTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void progressRisesToItsEnd();
    void sideFilesAndMissingOnesAreReported();
    void listOnlyGivesTheFilesAndDrawsNothing();
    void missingBufferIsNamed();
    void brokenFilesAreRefusedAndTheProcessLivesOn_data();
    void brokenFilesAreRefusedAndTheProcessLivesOn();
    void namesOfAnyKindAreOpened();
    void filesOutsideTheFolderAreNotRead();
    void deepNodeChainsEndInAnAnswer();
    void memoryLimitEndsInAnAnswer();
    void closedSocketEndsTheProcess();
    void closedSocketEndsAnEndlessImport();
    void wrongArgumentsAreAnsweredWithTheUsage();

private:
    QScopedPointer<ModelFolder> m_folder;
};

void RendererProcessTest::init()
{
    TestBase::init();
    m_folder.reset(new ModelFolder);
}

void RendererProcessTest::cleanup()
{
    m_folder.reset();
    TestBase::cleanup();
}

void RendererProcessTest::progressRisesToItsEnd()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    QVERIFY(client.progress().size() >= 3);
    for (int i = 1; i < client.progress().size(); ++i)
        QVERIFY(client.progress()[i] >= client.progress()[i - 1]);
    QVERIFY(client.progress().first() < 80);
    QCOMPARE(client.progress().last(), 95);
}

void RendererProcessTest::sideFilesAndMissingOnesAreReported()
{
    m_folder->write(
        "colours.mtl",
        "newmtl front\nKd 1 1 1\nmap_Kd C:\\work\\wood.png\nnewmtl right\nmap_Kd gone\\away.png\n"
        "newmtl top\nmap_Kd gone\\away.png\nnewmtl rest\nmap_Bump bumps.png\nnewmtl unused\nmap_Kd no.png\n");
    QImage wood(4, 4, QImage::Format_RGB32);
    wood.fill(Qt::darkYellow);
    QVERIFY(QDir().mkpath(m_folder->path("textures")));
    QVERIFY(wood.save(m_folder->path("textures/wood.png")));
    m_folder->write("bumps.png", "no picture");
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY2(client.load(m_folder->write("cube.obj", modelfiles::cubeObj() + "vt 0 0\n")),
             qPrintable(client.failure()));
    QCOMPARE(client.loaded().files, (std::vector<std::string>{"colours.mtl", "textures/wood.png", "bumps.png"}));
    QCOMPARE(client.loaded().missing, (std::vector<std::string>{"gone\\away.png"}));
    QVERIFY(!client.draw(64, 64).isNull());
}

void RendererProcessTest::listOnlyGivesTheFilesAndDrawsNothing()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube(), true));
    QCOMPARE(client.loaded().files, (std::vector<std::string>{"colours.mtl"}));
    QVERIFY(client.draw(64, 64).isNull());
    QCOMPARE(client.failure(), QString("no model is loaded"));
}

void RendererProcessTest::missingBufferIsNamed()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY(!client.load(m_folder->write("triangle.gltf", modelfiles::triangleGltf("data%20one.bin"))));
    QCOMPARE(client.failure(), QString("needs the file data%20one.bin, which is missing"));
    m_folder->write("data one.bin", modelfiles::triangleBuffer());
    QVERIFY2(client.load(m_folder->path("triangle.gltf")), qPrintable(client.failure()));
    QCOMPARE(client.loaded().files, (std::vector<std::string>{"data one.bin"}));
}

void RendererProcessTest::brokenFilesAreRefusedAndTheProcessLivesOn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const QByteArray glb = modelfiles::triangleGlb();
    QTest::newRow("an empty file") << "x.glb" << QByteArray() << "is empty";
    QTest::newRow("GLB cut off") << "x.glb" << glb.left(glb.size() / 2) << "ends in the middle of its data";
    QTest::newRow("no glTF at all") << "x.gltf" << QByteArray("{ \"asset\": ") << "is not valid JSON";
    QTest::newRow("a face without vertices") << "x.obj" << QByteArray("f 1 2 3\n") << "";
    QTest::newRow("an OBJ of remarks") << "x.obj" << QByteArray("# nothing\n") << "";
    QTest::newRow("positions that are no numbers")
        << "x.obj" << QByteArray("v nan 0 0\nv nan 1 0\nv nan 0 1\nf 1 2 3\n") << "holds nothing that can be drawn";
    QTest::newRow("FBX cut off") << "x.fbx" << QByteArray("Kaydara FBX Binary  \0\x1a\0\xE8\x1C\0\0\xFF\0\0\0", 31)
                                 << "";
    QTest::newRow("STL as text, cut off")
        << "x.stl" << QByteArray("solid x\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1") << "";
    QTest::newRow("3MF cut off") << "x.3mf" << QByteArray("PK\3\4") << "ends in the middle of its data";
    QTest::newRow("a format that is none") << "x.txt" << QByteArray("text") << "is of no format that can be read";
}

void RendererProcessTest::brokenFilesAreRefusedAndTheProcessLivesOn()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, reason);
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    QVERIFY(!client.load(m_folder->write(name, bytes)));
    QVERIFY(client.failure() != "no answer");
    QVERIFY2(client.failure().startsWith(reason), qPrintable(client.failure()));
    QVERIFY(!client.failure().contains("/"));
    QVERIFY2(client.load(m_folder->writeCube()), qPrintable(client.failure()));
    QVERIFY(!client.draw(100, 100).isNull());
}

void RendererProcessTest::namesOfAnyKindAreOpened()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    for (const QString& name :
         {QString("a b.obj"), QString("50%25 100%.obj"), QString::fromUtf8("\u6a21\u578b \u00fc.OBJ"),
          QString("two.dots.obj"), QString("back\\slash.obj")}) {
        m_folder->write("sub folder/colours.mtl", modelfiles::cubeMtl());
        QVERIFY2(client.load(m_folder->write("sub folder/" + name, modelfiles::cubeObj())), qPrintable(name));
        QCOMPARE(client.loaded().files, (std::vector<std::string>{"colours.mtl"}));
    }
    QVERIFY(!client.load(m_folder->path("not there.obj")));
    QCOMPARE(client.failure(), QString("cannot be read: no such file or directory"));
}

void RendererProcessTest::filesOutsideTheFolderAreNotRead()
{
    m_folder->write("secret.bin", modelfiles::triangleBuffer());
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    for (const QByteArray& uri :
         {QByteArray("../secret.bin"), QByteArray("..%2Fsecret.bin"), m_folder->path("secret.bin").toUtf8()}) {
        QVERIFY(!client.load(m_folder->write("model/triangle.gltf", modelfiles::triangleGltf(uri))));
        QCOMPARE(client.failure(), "needs the file " + QString::fromUtf8(uri) + ", which is missing");
    }
}

void RendererProcessTest::deepNodeChainsEndInAnAnswer()
{
    constexpr int depth = 50000;
    QByteArray nodes;
    for (int i = 0; i < depth; ++i)
        nodes += "{\"children\":[" + QByteArray::number(i + 1) + "]},";
    const QByteArray gltf = modelfiles::triangleGltf("triangle.bin").replace("{\"mesh\":0}", nodes + "{\"mesh\":0}");
    m_folder->write("triangle.bin", modelfiles::triangleBuffer());
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    const bool loaded = client.load(m_folder->write("deep.gltf", gltf));
    QVERIFY2(loaded || client.failure() != "no answer", qPrintable(client.failure()));
}

void RendererProcessTest::memoryLimitEndsInAnAnswer()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("sanitizers need more memory than any limit leaves");
#endif
    // Room for the process and its drivers, not for a million faces.
    RendererClient client(600);
    QVERIFY(client.waitUntilReady());
    QByteArray text;
    for (int i = 0; i < 1000000; ++i)
        text += "v " + QByteArray::number(i) + " 0 " + QByteArray::number(i % 7) + "\n";
    for (int i = 1; i < 999998; ++i)
        text += "f " + QByteArray::number(i) + " " + QByteArray::number(i + 1) + " " + QByteArray::number(i + 2) + "\n";
    QVERIFY(!client.load(m_folder->write("large.obj", text)));
    QCOMPARE(client.failure(), QString("needs more memory than allowed"));
    QVERIFY2(client.load(m_folder->writeCube()), qPrintable(client.failure()));
}

void RendererProcessTest::closedSocketEndsTheProcess()
{
    RendererClient client;
    QVERIFY(client.waitUntilReady() && client.load(m_folder->writeCube()));
    client.closeSocket();
    QVERIFY(client.waitUntilEnded(5000));
}

void RendererProcessTest::closedSocketEndsAnEndlessImport()
{
    // Cutting one polygon of this many corners into triangles takes minutes.
    constexpr int corners = 100000;
    QByteArray text;
    QByteArray face = "f";
    for (int i = 0; i < corners; ++i) {
        const double a = 2 * M_PI * i / corners;
        const double r = i % 2 == 0 ? 1.0 : 0.99;
        text += "v " + QByteArray::number(r * std::cos(a), 'f', 7) + " " + QByteArray::number(r * std::sin(a), 'f', 7) +
                " 0\n";
        face += " " + QByteArray::number(i + 1);
    }
    RendererClient client;
    QVERIFY(client.waitUntilReady());
    client.startLoading(m_folder->write("polygon.obj", text + face + "\n"));
    QVERIFY(!client.waitUntilEnded(1000));
    client.closeSocket();
    QVERIFY(client.waitUntilEnded(2000));
}

void RendererProcessTest::wrongArgumentsAreAnsweredWithTheUsage()
{
    const QByteArray program = qgetenv("OV3D_RENDERER");
    for (const char* arguments : {"", " --socket", " --socket 999", " --socket x --parent 1", " --colour 1"})
        QCOMPARE(std::system((program + arguments + " 2>/dev/null").constData()) >> 8, 2);
}

OV3D_TEST_MAIN(RendererProcessTest)
#include "tst_process.moc"
