#pragma once

#include "src/persist/viewsettings.h"
#include "src/render/viewcontext.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// One frame that a host has taken.
struct TakenFrame
{
    int width = 0;
    int height = 0;
    QByteArray pixels;

    [[nodiscard]] bool isFinal() const { return red() == 200; }
    [[nodiscard]] bool isDraft() const { return red() == 100; }
    [[nodiscard]] int red() const { return pixels.isEmpty() ? -1 : static_cast<unsigned char>(pixels[0]); }
    /// A number that stands for the view, see the scripted renderer.
    [[nodiscard]] int view() const { return pixels.size() < 3 ? -1 : static_cast<unsigned char>(pixels[2]); }
};

/// A host of one item, as the plug-in is one: a context, settings blocks, a buffer, a thread for the long-running call.
/// Stops the run and waits for its thread when destroyed.
class FakeHost
{
public:
    explicit FakeHost(const QString& modelPath = {}, int width = 64, int height = 48);
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    ViewContext& context() { return *m_context; }
    ViewSettings view;
    DisplaySettings display;
    MaterialSettings material;
    LightingSettings lighting;
    CameraSettings camera;

    void setModelPath(const QString& path);
    using ProgressCallback = decltype(ViewContext::progress_callback);
    /// Starts a run on a thread of its own; returns once the session takes requests. Progress is recorded, or told to
    /// the callback.
    void start();
    void start(ProgressCallback callback);
    /// A synchronous call with this operation code.
    void call(int op);
    void mouse(int type, int x, int y, int button = 1);
    void resize(int width, int height);
    /// Sends a command, `text` cut to what the field holds. @return `result` as the call left it
    int command(int code, const QByteArray& text);
    /// Waits for the answer to the last command. @return `result`
    int waitForResult(int timeoutMs = 10000);
    void stop();

    [[nodiscard]] bool isFirstDrawDone() const;
    bool waitForFirstDraw(int timeoutMs = 10000);
    [[nodiscard]] bool hasFrame() const;
    bool waitForFrame(int timeoutMs = 10000);
    /// Waits for a frame and takes it; an empty one when none comes.
    TakenFrame take(int timeoutMs = 10000);
    /// Takes frames until the viewer owes nothing; all that came, in order.
    std::vector<TakenFrame> takeAll(int timeoutMs = 10000);
    /// start(), first draw, and all frames up to rest. @return the last frame
    TakenFrame startAndSettle();
    bool waitForThread(int timeoutMs = 10000);

    [[nodiscard]] std::vector<int> progress() const;
    [[nodiscard]] QByteArray fileList() const;
    std::vector<unsigned char>& buffer() { return m_buffer; }
    /// Whether the bytes behind the promised buffer are as they were at the beginning.
    [[nodiscard]] bool isBufferIntact() const;

private:
    std::unique_ptr<ViewContext> m_context;
    std::vector<unsigned char> m_buffer;        ///< what is promised, and some bytes behind it; empty when nothing is
    std::vector<std::thread> m_threads;         ///< more than one when a run was started over another
    std::shared_ptr<std::atomic<bool>> m_ended; ///< of the newest
};

/// A folder with models whose names tell the scripted renderer how to behave, and the observer's events.
class ViewerFixture
{
public:
    ViewerFixture();
    ~ViewerFixture();

    /// Makes a file of that name; its length is `bytes`.
    QString model(const QString& name, int bytes = 100);
    /// A model that the renderer reads and draws at once.
    QString plainModel() { return model(QStringLiteral("plain.glb")); }
    /// What the renderers of a model were asked, a line a request.
    [[nodiscard]] static QStringList log(const QString& modelPath);
    [[nodiscard]] static int count(const QString& modelPath, const QString& lineStart);
    /// A path in the same folder, where nothing is yet.
    [[nodiscard]] QString path(const QString& name) const;
    /// Process of the latest load.
    [[nodiscard]] static int rendererOf(const QString& modelPath);

    [[nodiscard]] QStringList events() const;
    [[nodiscard]] int eventCount(const QString& name) const;
    [[nodiscard]] QString reasonOf(const QString& name) const;

private:
    QTemporaryDir m_folder;
};

/// Process ids of the children of this process, zombies included.
QList<int> childProcesses();
