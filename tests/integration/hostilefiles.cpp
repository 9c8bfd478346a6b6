#include "tests/integration/corpusrun.h"
#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

/// Names and file system objects that are not what a model file should be; whatever they are, one line and a fitting
/// exit code come of them.
class HostileFiles : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyThingIsAnswered_data();
    void everyThingIsAnswered();

private:
    struct Case
    {
        QString rule;
        QString path;
        int exitCode = 0;
        QByteArray words; ///< in the one line; empty when there must be no line
        WatchedRun run;
    };

    void add(const char* rule, const QString& path, int exitCode, const char* words = "");
    void addObjects();
    void addNames();
    /// A copy of a good model under the given name.
    QString copy(const QString& name) const;
    [[nodiscard]] QString path(const char* name) const { return m_folder.filePath(QString::fromLatin1(name)); }
    /// A symbolic link of the given name.
    QString link(const char* name, const char* target) const;

    QTemporaryDir m_folder;
    std::vector<Case> m_cases;
};

void HostileFiles::add(const char* rule, const QString& path, int exitCode, const char* words)
{
    m_cases.push_back({QString::fromLatin1(rule), path, exitCode, words, {}});
}

QString HostileFiles::copy(const QString& name) const
{
    const QString target = m_folder.filePath(name);
    return QFile::copy(QStringLiteral(OV3D_CORPUS "/glb/materials.glb"), target) ? target : QString();
}

QString HostileFiles::link(const char* name, const char* target) const
{
    const QString made = path(name);
    return ::symlink(target, QFile::encodeName(made).constData()) == 0 ? made : QString();
}

void HostileFiles::addObjects()
{
    for (const char* name : {"folder.glb", "folder.fbx", "folder.obj", "folder.gltf"}) {
        QDir().mkdir(path(name));
        add("a folder cannot be read", path(name), 4, "is a folder");
    }
    add("a file that is not there cannot be read", path("none.stl"), 4, "No such file");
    add("a file in a folder that is not there cannot be read", path("none/none.3mf"), 4, "No such file");
    add("a file as a folder cannot be read", copy(QStringLiteral("file.glb")) + QLatin1String("/model.glb"), 4,
        "Not a directory");
    const QString pipe = path("pipe.obj");
    ::mkfifo(QFile::encodeName(pipe).constData(), 0600);
    add("a pipe is not waited for", pipe, 4, "is not a regular file");
    add("a device cannot be read", link("device.glb", "/dev/zero"), 4, "is not a regular file");
    add("a link to itself cannot be read", link("loop.glb", "loop.glb"), 4, "symbolic links");
    add("a link to nothing cannot be read", link("dangling.gltf", "nothing.gltf"), 4, "No such file");
    add("a link to a model shows the model", link("linked.glb", "file.glb"), 0);
    add("a file without content that the system makes up ends in a card", link("made-up.glb", "/proc/self/maps"), 1,
        "is empty");
    const QString unreadable = copy(QStringLiteral("unreadable.glb"));
    QFile::setPermissions(unreadable, {});
    // The superuser may read everything.
    if (::access(QFile::encodeName(unreadable).constData(), R_OK) != 0)
        add("a file without permission cannot be read", unreadable, 4, "Permission denied");
    else
        add("the superuser reads a file without permission", unreadable, 0);
}

void HostileFiles::addNames()
{
    add("a name of formatting words is a name", copy(QStringLiteral("%s%n%1 %2.glb")), 0);
    add("a name of shell words is a name", copy(QStringLiteral("$(reboot) `;|&'\"<>*?.glb")), 0);
    add("a name of 255 bytes is a name", copy(QString(251, QLatin1Char('n')) + QLatin1String(".glb")), 0);
    add("a name of nothing but a suffix is a name", copy(QStringLiteral(".glb")), 0);
    add("a name that ends in a full stop has no suffix", copy(QStringLiteral("model.glb.")), 3, "no suffix");
    add("a name with a blank behind its suffix is refused", copy(QStringLiteral("model.glb ")), 3, "suffix");
    add("a suffix of foreign letters is refused",
        copy(QString::fromUtf8("model.g\xC4\xBC"
                               "b")),
        3, "suffix");
    add("a line break in a name does not break the line", copy(QStringLiteral("two\nlines.xyz")), 3, "two?lines.xyz");
    add("control characters in a name do not reach the terminal", copy(QStringLiteral("red\x1b[31m.xyz")), 3,
        "red?[31m.xyz");
    const QString folder = m_folder.filePath(QString::fromUtf8("\xE6\xA4\x85 %20 folder"));
    QDir().mkpath(folder);
    QFile::copy(QStringLiteral(OV3D_CORPUS "/obj/materials.obj"), folder + QLatin1String("/a.obj"));
    QFile::copy(QStringLiteral(OV3D_CORPUS "/obj/materials.mtl"), folder + QLatin1String("/materials.mtl"));
    add("a folder of foreign letters and blanks is a folder", folder + QLatin1String("/a.obj"), 0);
}

void HostileFiles::initTestCase()
{
    QVERIFY2(QFile::exists(QStringLiteral(OV3D_CORPUS "/glb/materials.glb")), OV3D_CORPUS);
    addObjects();
    addNames();
    std::vector<QStringList> arguments;
    for (const Case& thing : m_cases) {
        QVERIFY2(!thing.path.isEmpty(), qPrintable(thing.rule));
        arguments.push_back({QStringLiteral("render"), thing.path, QStringLiteral("-o"),
                             m_folder.filePath(QStringLiteral("%1.png").arg(arguments.size())),
                             QStringLiteral("--size"), QStringLiteral("160x120")});
    }
    const std::vector<WatchedRun> runs = runWatched(QStringLiteral(OV3D_PROGRAM), arguments);
    for (std::size_t i = 0; i < runs.size(); ++i)
        m_cases[i].run = runs[i];
}

void HostileFiles::everyThingIsAnswered_data()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < m_cases.size(); ++i) {
        const QString row = m_cases[i].rule + QLatin1String(": ") + QString::number(i);
        QTest::newRow(qPrintable(row)) << static_cast<int>(i);
    }
}

void HostileFiles::everyThingIsAnswered()
{
    QFETCH(int, index);
    const Case& thing = m_cases[static_cast<std::size_t>(index)];
    QVERIFY(!thing.run.isTimedOut);
    QCOMPARE(thing.run.signal, 0);
    QVERIFY2(thing.run.exitCode == thing.exitCode, thing.run.errors.constData());
    if (thing.words.isEmpty()) {
        QCOMPARE(thing.run.errors, QByteArray());
    } else {
        QCOMPARE(thing.run.errors.count('\n'), 1);
        QVERIFY2(thing.run.errors.startsWith("ov3d: " + m_folder.path().toUtf8()), thing.run.errors.constData());
        QVERIFY2(thing.run.errors.contains(thing.words), thing.run.errors.constData());
    }
    const QString picture = m_folder.filePath(QStringLiteral("%1.png").arg(index));
    QCOMPARE(QFile::exists(picture), thing.exitCode == 0 || thing.exitCode == 1);
    QVERIFY(thing.run.peakBytes < halfOfTheMemory());
    QCOMPARE(thing.run.renderersLeft, 0);
}

OV3D_TEST_MAIN(HostileFiles)
#include "hostilefiles.moc"
