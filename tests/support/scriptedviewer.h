#pragma once

#include "src/persist/viewsettings.h"
#include "src/render/viewcontext.h"

#include <QByteArray>
#include <QImage>
#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

/// A viewer function that honours the contract, or breaks it as told, and records what it is asked.
///
/// Register `&ScriptedViewer::run` with the plug-in. One object at a time receives the calls; it must outlive every
/// item that it serves, and its end waits for the threads that still run in it. All functions may be called on any
/// thread.
class ScriptedViewer
{
public:
    using Clock = std::chrono::steady_clock;

    /// What a viewer run does. Taken over when the run starts; set it before.
    struct Script
    {
        bool setsFirstDraw = true;      ///< false: as if the first picture never came (see allowFirstDraw())
        bool sendsFirstFrame = true;    ///< a frame waits in the buffer when `first_draw` is set
        QImage firstFrame;              ///< null: a picture of the context's size, a grey block on the key colour
        QByteArray fileList;            ///< copied as it stands, at most 2048 bytes
        bool terminatesFileList = true; ///< false: what follows in the record is left as it is
        std::vector<int> progress;      ///< reported one after the other before the first draw
        std::optional<OV3DOBJECT::SceneStatus> sceneStatus; ///< written before the first draw
        bool endsOnStop = true;                             ///< false: the run goes on after a stop request
    };

    /// One call of the viewer function, with everything that its pointers led to at that moment.
    struct Call
    {
        int argc = 0;
        bool hasArgv = false;
        QByteArray firstArgument;
        ViewContext context{};
        void* contextAddress = nullptr;
        bool hasBlocks = false; ///< the five settings pointers were set
        ViewSettings view;
        DisplaySettings display;
        MaterialSettings material;
        LightingSettings lighting;
        CameraSettings camera;
        quintptr thread = 0; ///< QThread::currentThreadId()
        Clock::time_point time;
    };

    ScriptedViewer();
    ~ScriptedViewer();
    ScriptedViewer(const ScriptedViewer&) = delete;
    ScriptedViewer& operator=(const ScriptedViewer&) = delete;

    /// The viewer function. Without a living object it does nothing.
    static void run(int argc, const char** argv, void* context);

    void setScript(const Script& script);

    /// Called in every synchronous call, on its thread, after it has been recorded.
    void setOnCall(std::function<void(ViewContext&)> function);

    /// The answer to synchronous calls with an operation of the host's own; nothing leaves `result` pending.
    void setCommandResult(std::optional<int> result);

    /// The synchronous calls so far, oldest first.
    [[nodiscard]] std::vector<Call> calls() const;
    [[nodiscard]] int callCount() const;
    [[nodiscard]] std::vector<Call> callsWithOp(int op) const;
    [[nodiscard]] Call lastCall() const; ///< a default one while there is none
    void clearCalls();

    /// The calls that started a run.
    [[nodiscard]] std::vector<Call> starts() const;

    /// Runs that have not ended.
    [[nodiscard]] int runningCount() const;

    /// Lets runs whose script does not set `first_draw` set it after all, first frame included.
    void allowFirstDraw();

    /// Every run delivers this frame as soon as the one before it has been taken.
    void send(const QImage& frame);

    /// The same without pixels: only the two size fields are written.
    void sendSize(int width, int height);

    /// Frames that were sent and not yet taken by the plug-in, over all runs.
    [[nodiscard]] int pendingFrames() const;

    /// Ends the runs of this context without touching it again. For items whose stop request will not be delivered.
    void abandon(const void* context);

    /// The picture that a run draws first by default: the middle half opaque grey, the rest key colour.
    [[nodiscard]] static QImage defaultFrame(int width, int height);

private:
    struct Frame
    {
        int width = 0;
        int height = 0;
        QImage pixels; ///< null: sizes alone
    };
    struct Session;

    void serve(int argc, const char** argv, ViewContext& context);
    void answer(ViewContext& context);
    bool drawFirst(Session& session, ViewContext& context);
    void deliverFrames(Session& session, ViewContext& context);
    void endSessions(const void* context);

    static void write(const Frame& frame, ViewContext& context);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    Script m_script;
    std::function<void(ViewContext&)> m_onCall;
    std::optional<int> m_commandResult;
    std::vector<Call> m_calls;
    std::vector<Call> m_starts;
    std::list<std::shared_ptr<Session>> m_sessions;
    bool m_firstDrawAllowed = false;
};
