/// Two editors, each with its window and a process of its own, on one X server: what is copied in one is pasted in the
/// other. The test starts itself twice as an editor:
///
///     integration_editorsclipboard --editor
///
/// which does what it reads, a line each, and answers each line with one of JSON.

#include "apps/board/boardwindow.h"
#include "apps/common/environment.h"
#include "apps/common/workplace.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemsettings.h"
#include "apps/document/ov3dservices.h"
#include "apps/document/pagepicture.h"
#include "apps/document/viewercommand.h"
#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "viewer/session/commands.h"

#include <QApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QProcess>
#include <QRandomGenerator>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include <unistd.h>

using namespace ov3d::apps;

namespace {

constexpr QSize kPageSize(1920, 1080);
constexpr int kAnswerLimitMs = 120'000;

QString text(const QJsonObject& answer, const char* key)
{
    return answer.value(QLatin1String(key)).toString();
}

QStringList list(const QJsonObject& answer, const char* key)
{
    return answer.value(QLatin1String(key)).toVariant().toStringList();
}

} // namespace

// ---- the editor ------------------------------------------------------------------------------------------------

namespace {

/// A window that is told what to do. GUI thread.
class Editor
{
public:
    explicit Editor(BoardWindow& window)
        : m_window(window)
    {
    }

    QJsonObject obey(const QString& verb, const QString& argument)
    {
        if (verb == QLatin1String("insert"))
            m_window.openModels({argument});
        else if (verb == QLatin1String("copy"))
            m_window.copySelected();
        else if (verb == QLatin1String("cut"))
            m_window.cutSelected();
        else if (verb == QLatin1String("paste"))
            m_window.paste();
        settle();
        if (verb == QLatin1String("turn"))
            turn();
        QJsonObject answer = state();
        if (verb == QLatin1String("draw"))
            answer.insert(QStringLiteral("drawn"), draw(argument));
        return answer;
    }

private:
    void settle() const
    {
        while (m_window.isLoading() || ov3dViewerPending() > 0) {
            QCoreApplication::processEvents();
            QThread::msleep(4);
        }
        QCoreApplication::processEvents();
    }

    [[nodiscard]] CBaseObject* newest() const
    {
        const QList<CBaseObject*> items = m_window.document()->items();
        return items.isEmpty() ? nullptr : items.last();
    }

    void turn() const
    {
        sendViewerCommand(*newest(), ov3d::kCommandOrbit, QStringLiteral("50 20"));
        changeSettings(*newest(), {{QStringLiteral("light_profile"), 2}});
        settle();
    }

    /// The newest item's part of its page.
    [[nodiscard]] bool draw(const QString& path) const
    {
        auto* page = dynamic_cast<COvPage*>(newest()->GetPage());
        return page && paintPage(*page, page->size().toSize(), Qt::transparent)
                           .copy(newest()->getObjRect().toAlignedRect())
                           .save(path);
    }

    [[nodiscard]] QJsonObject state() const
    {
        QJsonObject state{
            {QStringLiteral("items"), m_window.document()->items().size()},
            {QStringLiteral("failures"), m_window.failureCount()},
            {QStringLiteral("status"), m_window.findChild<QLabel*>(QStringLiteral("statusText"))->text()}};
        if (!newest())
            return state;
        QStringList missing;
        const OvDocumentItem record = itemRecord(*newest());
        for (const QString& file : record.files) {
            if (!QFileInfo(m_window.document()->file().workingFolder() + QLatin1Char('/') + file).isFile())
                missing << file;
        }
        state.insert(QStringLiteral("files"), QJsonArray::fromStringList(record.files));
        state.insert(QStringLiteral("missing"), QJsonArray::fromStringList(missing));
        return state;
    }

    BoardWindow& m_window;
};

/// As the program itself does it, with its orders from standard input. @return the exit code
[[noreturn]] void runEditor(int argc, char** argv)
{
    makeLocaleUtf8();
    const StandardStreams streams;
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ov3d"));
    Workplace workplace;
    Plugin plugin;
    QString error = workplace.error();
    if (error.isEmpty() && !plugin.load(QStringLiteral(OV3D_PLUGIN)))
        error = plugin.error();
    plugin.setViewer(&ov3dViewer);
    auto document = error.isEmpty() ? LiveDocument::create(ov3dServices(plugin), error) : nullptr;
    if (!document) {
        std::cerr << qPrintable(error) << std::endl;
        ::_exit(1);
    }
    BoardWindow window({plugin, streams, workplace.framework(), ov3dServices(plugin)}, std::move(document));
    window.show();

    Editor editor(window);
    QSocketNotifier orders(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&orders, &QSocketNotifier::activated, &window, [&] {
        std::string line;
        if (!std::getline(std::cin, line) || line == "quit")
            return QApplication::quit();
        const QString words = QString::fromStdString(line);
        const QJsonObject answer =
            editor.obey(words.section(QLatin1Char(' '), 0, 0), words.section(QLatin1Char(' '), 1));
        streams.writeOutput(QJsonDocument(answer).toJson(QJsonDocument::Compact) + '\n');
    });
    QApplication::exec();
    window.closeDocument();
    workplace.cleanUp();
    ::_exit(0);
}

/// The other end: an editor in a process of its own.
class EditorProcess
{
public:
    /// @param home  folder of the user's that it works for
    explicit EditorProcess(const QString& home)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
        environment.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--editor")});
    }
    ~EditorProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(EditorProcess)

    /// Does it and waits for the window to come to rest. @return empty when no answer comes
    QJsonObject ask(const QString& order)
    {
        m_process.write(order.toUtf8() + '\n');
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(kAnswerLimitMs))
                return {};
        }
        return QJsonDocument::fromJson(m_process.readLine()).object();
    }
    QJsonObject ask(const char* order) { return ask(QString::fromUtf8(order)); }

    /// Closes the window. @return false when the program does not end well.
    bool quit()
    {
        m_process.write("quit\n");
        return m_process.waitForFinished(kAnswerLimitMs) && m_process.exitStatus() == QProcess::NormalExit &&
               m_process.exitCode() == 0;
    }

private:
    QProcess m_process;
};

} // namespace

// ---- the test --------------------------------------------------------------------------------------------------

class EditorsClipboard : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void copyOfOneEditorIsPastedInTheOther_data();
    void copyOfOneEditorIsPastedInTheOther();
    void cutItemMovesToTheOtherEditor();
    void newerCopyTakesTheOldersPlace();
    void copyEndsWithItsEditor();
    void pastedItemNeedsNothingOfTheFirstEditor();

private:
    [[nodiscard]] QString at(const char* name) const { return m_folder->filePath(QString::fromUtf8(name)); }
    /// A square with a texture in a sub-folder. @param side  of the texture, pixels; noise, so that it stays large
    void writeModel(int side) const;
    [[nodiscard]] QString insertModel() const { return QStringLiteral("insert ") + at("model/square.obj"); }
    QImage drawn(EditorProcess& editor) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<EditorProcess> m_first;
    std::unique_ptr<EditorProcess> m_second;
};

void EditorsClipboard::init()
{
    TestBase::init();
    m_folder = std::make_unique<QTemporaryDir>();
    m_first = std::make_unique<EditorProcess>(at("first"));
    m_second = std::make_unique<EditorProcess>(at("second"));
}

void EditorsClipboard::cleanup()
{
    m_first.reset();
    m_second.reset();
    m_folder.reset();
    TestBase::cleanup();
}

void EditorsClipboard::writeModel(int side) const
{
    QVERIFY(QDir().mkpath(at("model/textures")));
    QImage noise(side, side, QImage::Format_RGB32);
    QRandomGenerator random(1);
    random.fillRange(reinterpret_cast<quint32*>(noise.bits()), noise.sizeInBytes() / 4);
    QVERIFY(noise.save(at("model/textures/noise.png")));
    const auto write = [this](const char* name, const QByteArray& content) {
        QFile file(at(name));
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    };
    QVERIFY(write("model/square.mtl", "newmtl a\nmap_Kd textures/noise.png\n"));
    QVERIFY(write("model/square.obj", "mtllib square.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 1 1\n"
                                      "vt 0 1\nusemtl a\nf 1/1 2/2 3/3 4/4\n"));
}

QImage EditorsClipboard::drawn(EditorProcess& editor) const
{
    const QString path = at("picture.png");
    QFile::remove(path);
    editor.ask(QStringLiteral("draw ") + path);
    return QImage(path);
}

void EditorsClipboard::copyOfOneEditorIsPastedInTheOther_data()
{
    QTest::addColumn<int>("side");
    QTest::newRow("small") << 16;
    QTest::newRow("of megabytes, which X hands over in pieces") << 1500;
}

void EditorsClipboard::copyOfOneEditorIsPastedInTheOther()
{
    QFETCH(int, side);
    writeModel(side);
    QCOMPARE(m_first->ask(insertModel())[QLatin1String("items")].toInt(), 1);
    m_first->ask("turn");
    QCOMPARE(text(m_first->ask("copy"), "status"), QStringLiteral("Copied"));

    const QJsonObject pasted = m_second->ask("paste");
    QVERIFY2(pasted[QLatin1String("items")].toInt() == 1, qPrintable(text(pasted, "status")));
    QCOMPARE(pasted[QLatin1String("failures")].toInt(), 0);
    const QStringList files = list(pasted, "files");
    for (const char* name : {"square.obj", "square.mtl", "textures/noise.png"})
        QCOMPARE(files.filter(QLatin1Char('/') + QLatin1String(name)).size(), 1);
    QCOMPARE(list(pasted, "missing"), QStringList());

    const QImage original = drawn(*m_first);
    QVERIFY(opaqueShare(original) > 0.02);
    QCOMPARE(drawn(*m_second), original);
}

void EditorsClipboard::cutItemMovesToTheOtherEditor()
{
    writeModel(16);
    m_first->ask(insertModel());
    const QImage original = drawn(*m_first);
    QCOMPARE(m_first->ask("cut")[QLatin1String("items")].toInt(), 0);
    QCOMPARE(m_second->ask("paste")[QLatin1String("items")].toInt(), 1);
    QVERIFY(opaqueShare(original) > 0.02);
    QCOMPARE(drawn(*m_second), original);
}

void EditorsClipboard::newerCopyTakesTheOldersPlace()
{
    writeModel(16);
    m_first->ask(insertModel());
    QCOMPARE(text(m_first->ask("copy"), "status"), QStringLiteral("Copied"));
    m_second->ask(QStringLiteral("insert " OV3D_SAMPLES "/cube.stl"));
    QCOMPARE(text(m_second->ask("copy"), "status"), QStringLiteral("Copied"));
    const QJsonObject pasted = m_first->ask("paste");
    QVERIFY2(pasted[QLatin1String("items")].toInt() == 2, qPrintable(text(pasted, "status")));
    QCOMPARE(list(pasted, "files").filter(QStringLiteral("/cube.stl")).size(), 1);
}

/// On X a copy is its owner's to hand over.
void EditorsClipboard::copyEndsWithItsEditor()
{
    writeModel(16);
    m_first->ask(insertModel());
    m_first->ask("copy");
    QVERIFY(m_first->quit());
    const QJsonObject pasted = m_second->ask("paste");
    QCOMPARE(pasted[QLatin1String("items")].toInt(), 0);
    QCOMPARE(text(pasted, "status"), QStringLiteral("There is no model on the clipboard"));
}

void EditorsClipboard::pastedItemNeedsNothingOfTheFirstEditor()
{
    writeModel(16);
    m_first->ask(insertModel());
    m_first->ask("copy");
    const QImage original = drawn(*m_first);
    m_second->ask("paste");
    QVERIFY(m_first->quit());
    QVERIFY(QDir(at("model")).removeRecursively() && QDir(at("first")).removeRecursively());
    m_second->ask("turn"); // a new picture, and another one
    QVERIFY(drawn(*m_second) != original);
    m_second->ask("copy");
    const QJsonObject pasted = m_second->ask("paste");
    QCOMPARE(pasted[QLatin1String("items")].toInt(), 2);
    QCOMPARE(pasted[QLatin1String("failures")].toInt(), 0);
    QCOMPARE(list(pasted, "missing"), QStringList());
    QVERIFY(m_second->quit());
}

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--editor") == 0)
        runEditor(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen"); // the editors alone need the server
    QApplication application(argc, argv);
    EditorsClipboard test;
    return QTest::qExec(&test, argc, argv);
}

#include "editorsclipboard.moc"
