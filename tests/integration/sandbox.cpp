#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <unistd.h>

/// Models that name files outside their folder, drawn under strace: what the system was asked to open.
///
///     <folder>/outside/secret-*      files that exist and could be read
///     <folder>/inside/...            the models, which name those files in every way there is
class Sandbox : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void nothingOutsideTheFolderIsOpened_data();
    void nothingOutsideTheFolderIsOpened();

private:
    struct Opened
    {
        QSet<QString> paths; ///< every path that any process of the run tried to open
        ProgramRun run;
    };

    [[nodiscard]] Opened trace(const QString& model) const;
    /// The ways in which models name a file outside.
    [[nodiscard]] QStringList namesOf(const QString& suffix) const;
    QString write(const QString& name, const QByteArray& content) const;

    QTemporaryDir m_folder;
    QString m_inside;
    QString m_outside;
};

namespace {

/// Names that differ from run to run, made equal: process ids, temporary names, addresses.
QString withoutChance(QString path)
{
    static const QRegularExpression temporary(QStringLiteral("ov3d-[A-Za-z]{6}|probe-[A-Za-z]{6}|\\.[A-Za-z]{6}$"));
    static const QRegularExpression number(QStringLiteral("\\d+"));
    path.replace(temporary, QStringLiteral("*"));
    return path.replace(number, QStringLiteral("N"));
}

QByteArray gltf(const QString& buffer, const QStringList& images)
{
    // One triangle in a data URI; every image has a material and a mesh of its own, so that all are wanted.
    QByteArray json = R"({"asset":{"version":"2.0"},"scene":0,"accessors":[)"
                      R"({"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},)"
                      R"({"bufferView":1,"componentType":5126,"count":3,"type":"VEC2"}],"bufferViews":[)"
                      R"({"buffer":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":24}],)";
    QByteArray floats(60, '\0');
    const float values[15] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1};
    memcpy(floats.data(), values, sizeof values);
    const QByteArray uri =
        buffer.isEmpty() ? "data:application/octet-stream;base64," + floats.toBase64() : buffer.toUtf8();
    json += R"("buffers":[{"byteLength":60,"uri":")" + uri + "\"}],";
    QByteArray list, textures, materials, meshes, nodes, roots;
    for (int i = 0; i < images.size(); ++i) {
        const QByteArray comma = i == 0 ? "" : ",";
        const QByteArray number = QByteArray::number(i);
        list += comma + R"({"uri":")" +
                QString(images[i]).replace(QLatin1String("\\"), QLatin1String("\\\\")).toUtf8() + "\"}";
        textures += comma + R"({"source":)" + number + "}";
        materials += comma + R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":)" + number + "}}}";
        meshes += comma + R"({"primitives":[{"attributes":{"POSITION":0,"TEXCOORD_0":1},"material":)" + number + "}]}";
        nodes += comma + R"({"mesh":)" + number + R"(,"translation":[)" + number + ",0,0]}";
        roots += comma + number;
    }
    return json + "\"images\":[" + list + "],\"textures\":[" + textures + "],\"materials\":[" + materials +
           "],\"meshes\":[" + meshes + "],\"nodes\":[" + nodes + "],\"scenes\":[{\"nodes\":[" + roots + "]}]}";
}

QByteArray obj(const QStringList& libraries, int materials)
{
    QByteArray text;
    for (const QString& library : libraries)
        text += "mtllib " + library.toUtf8() + "\n";
    text += "vt 0 0\nvt 1 0\nvt 0 1\n";
    for (int i = 0; i < materials; ++i) {
        const QByteArray x = QByteArray::number(i);
        const QByteArray next = QByteArray::number(i + 1);
        text += "v " + x + " 0 0\nv " + next + " 0 0\nv " + x + " 1 0\nusemtl m" + x + "\nf -3/1 -2/2 -1/3\n";
    }
    return text;
}

QByteArray library(const QStringList& textures)
{
    QByteArray text;
    for (int i = 0; i < textures.size(); ++i)
        text += "newmtl m" + QByteArray::number(i) + "\nKd 1 1 1\nmap_Kd " + textures[i].toUtf8() + "\n";
    return text;
}

} // namespace

QString Sandbox::write(const QString& name, const QByteArray& content) const
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return QString();
    return name;
}

QStringList Sandbox::namesOf(const QString& suffix) const
{
    const auto secret = [&suffix](int number) { return QStringLiteral("secret-%1.%2").arg(number).arg(suffix); };
    return {
        QStringLiteral("../outside/") + secret(1),
        m_outside + QLatin1Char('/') + secret(2),
        QStringLiteral("..\\outside\\") + secret(3),
        QStringLiteral("..%2Foutside%2F") + secret(4),
        QStringLiteral("file://") + m_outside + QLatin1Char('/') + secret(5),
        QStringLiteral("link-to-") + secret(6),
        QStringLiteral("linked-folder/") + secret(7),
        QStringLiteral("sub/../../outside/") + secret(8),
        QStringLiteral("./././../inside/../outside/") + secret(9),
    };
}

void Sandbox::initTestCase()
{
    QVERIFY2(!QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty(),
             "strace is not installed; scripts/bootstrap installs it");
    const QString root = QDir(m_folder.path()).canonicalPath();
    m_inside = root + QLatin1String("/inside");
    m_outside = root + QLatin1String("/outside");
    // The driver keeps what it has compiled under names that follow from the picture.
    qputenv("MESA_SHADER_CACHE_DISABLE", "true");
    QVERIFY(QDir().mkpath(m_inside + QLatin1String("/sub")) && QDir().mkpath(m_outside));

    QImage picture(4, 4, QImage::Format_RGB32);
    picture.fill(Qt::red);
    for (int i = 1; i < 10; ++i) {
        QVERIFY(picture.save(m_outside + QStringLiteral("/secret-%1.png").arg(i)));
        QVERIFY(!write(m_outside + QStringLiteral("/secret-%1.mtl").arg(i), "newmtl m0\nKd 1 0 0\n").isEmpty());
        QVERIFY(!write(m_outside + QStringLiteral("/secret-%1.bin").arg(i), QByteArray(60, '\0')).isEmpty());
    }
    for (const char* suffix : {"png", "mtl", "bin"}) {
        const QString name = QStringLiteral("secret-6.%1").arg(QLatin1String(suffix));
        QVERIFY(QFile::link(m_outside + QLatin1Char('/') + name, m_inside + QLatin1String("/link-to-") + name));
    }
    QVERIFY(QFile::link(QStringLiteral("../outside"), m_inside + QLatin1String("/linked-folder")));
    QVERIFY(picture.save(m_inside + QLatin1String("/own.png")));
    QVERIFY(!write(m_inside + QLatin1String("/own.mtl"), library({QStringLiteral("own.png")})).isEmpty());
}

Sandbox::Opened Sandbox::trace(const QString& model) const
{
    const QString log = m_folder.filePath(QStringLiteral("strace.log"));
    QFile::remove(log);
    Opened opened;
    opened.run = runProgram(QStandardPaths::findExecutable(QStringLiteral("strace")),
                            {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("-s"), QStringLiteral("4096"),
                             QStringLiteral("-e"), QStringLiteral("trace=open,openat,openat2,creat,execve"),
                             QStringLiteral("-o"), log, QStringLiteral(OV3D_PROGRAM), QStringLiteral("render"), model,
                             QStringLiteral("-o"), m_folder.filePath(QStringLiteral("picture.png")),
                             QStringLiteral("--size"), QStringLiteral("160x120")});
    QFile file(log);
    if (!file.open(QIODevice::ReadOnly))
        return opened;
    static const QRegularExpression call(
        QStringLiteral("^\\d+ +(open|openat|openat2|creat|execve)\\([^\"]*\"([^\"]*)\""));
    while (!file.atEnd()) {
        const auto match = call.match(QString::fromUtf8(file.readLine()));
        if (match.hasMatch())
            opened.paths << match.captured(2);
    }
    return opened;
}

void Sandbox::nothingOutsideTheFolderIsOpened_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("innocent");
    QTest::addColumn<int>("exitCode");
    const auto inside = [this](const char* name) { return m_inside + QLatin1Char('/') + QLatin1String(name); };
    const QString goodGltf = write(inside("good.gltf"), gltf(QString(), {QStringLiteral("own.png")}));
    const QString cardGltf = write(inside("card.gltf"), gltf(QStringLiteral("gone.bin"), {QStringLiteral("own.png")}));
    const QString goodObj = write(inside("good.obj"), obj({QStringLiteral("own.mtl")}, 1));

    const QStringList textures = namesOf(QStringLiteral("png"));
    QTest::newRow("textures of a glTF") << write(inside("textures.gltf"), gltf(QString(), textures)) << goodGltf << 0;
    const QStringList buffers = namesOf(QStringLiteral("bin"));
    // Three of the ways: each costs a run, and textures go the same road.
    const auto buffer = [&](const char* way, const char* name, int index) {
        QTest::newRow(way) << write(inside(name), gltf(buffers[index], {QStringLiteral("own.png")})) << cardGltf << 1;
    };
    buffer("a buffer of a glTF that climbs out", "climbing.gltf", 0);
    buffer("a buffer of a glTF by its absolute path", "absolute.gltf", 1);
    buffer("a buffer of a glTF through a symbolic link", "linked.gltf", 5);
    QVERIFY(!write(inside("textures.mtl"), library(textures)).isEmpty());
    QTest::newRow("textures of an OBJ") << write(inside("textures.obj"),
                                                 obj({QStringLiteral("textures.mtl")}, textures.size()))
                                        << goodObj << 0;
    QTest::newRow("material libraries of an OBJ")
        << write(inside("libraries.obj"), obj(namesOf(QStringLiteral("mtl")), 1)) << goodObj << 0;
}

void Sandbox::nothingOutsideTheFolderIsOpened()
{
    QFETCH(QString, model);
    QFETCH(QString, innocent); // ends alike, and names nothing outside
    QFETCH(int, exitCode);
    const Opened bad = trace(model);
    QVERIFY2(bad.run.exitCode == exitCode, bad.run.errors + bad.run.output);
    QVERIFY2(bad.run.errors.contains("secret-"), bad.run.errors.constData());

    // The trace shows what it should: the renderer was started, and it read the model.
    const auto has = [&bad](const QString& end) {
        return std::any_of(bad.paths.begin(), bad.paths.end(),
                           [&end](const QString& path) { return path.endsWith(end); });
    };
    QVERIFY2(has(QStringLiteral("/ov3d-renderer")) && has(model), "strace has seen nothing: is tracing allowed here?");

    for (const QString& path : bad.paths)
        QVERIFY2(!path.contains(QLatin1String("secret-")), qPrintable(path));

    // Whatever else is opened is opened for any model.
    QSet<QString> usual;
    const Opened good = trace(innocent);
    QVERIFY2(good.run.exitCode == exitCode, good.run.errors.constData());
    for (const QString& path : good.paths)
        usual << withoutChance(path);
    for (const QString& path : bad.paths) {
        const QString real = QFileInfo(path).canonicalFilePath();
        const bool isInside = path.startsWith(m_inside) && (real.isEmpty() || real.startsWith(m_inside));
        QVERIFY2(isInside || usual.contains(withoutChance(path)), qPrintable(path));
    }
}

OV3D_TEST_MAIN(Sandbox)
#include "sandbox.moc"
