#pragma once

#include "src/render/viewcontext.h"
#include "viewer/camera/controller.h"
#include "viewer/protocol/framememory.h"
#include "viewer/protocol/messages.h"
#include "viewer/session/card.h"
#include "viewer/session/deliveries.h"
#include "viewer/session/framewriter.h"
#include "viewer/session/observer.h"
#include "viewer/session/rendererprocess.h"
#include "viewer/session/wakeup.h"
#include "viewer/session/worklimit.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace ov3d::session {

/// One run of the viewer for one view context.
///
/// The session's thread owns the renderer and writes the frames; the host's threads hand over requests; the watcher
/// looks at what the host changes without a call. Every access to the context happens under m_mutex and only while
/// m_context is set, so once stop() has returned nothing touches the context any more.
class Session
{
public:
    /// Copies from the context what a run keeps: paths, sizes, buffer, settings, the saved view.
    explicit Session(ViewContext& context);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The session's thread: loads, draws and serves until stopped.
    /// @param watched  false when nobody will call look(), so that the session must do it by itself
    void run(bool watched);

    /// The run cannot go on (out of memory, say): a host that waits for the first frame gets one without pixels.
    void giveUp() noexcept;

    /// Takes over the request that stands in the context. Any thread; never waits for a picture.
    void request();

    /// Ends the run. When it returns, nothing of the session touches the context and no callback runs. Any thread,
    /// also from inside the progress callback.
    void stop();

    /// Ends the load with a card unless the first picture has been drawn. Any thread.
    void abandon();

    /// Looks at what the host changes without a call: the size, and frames that were taken. The watcher's thread.
    void look();

    [[nodiscard]] bool owesPicture();
    [[nodiscard]] int runId() const { return m_run; }

private:
    using Clock = std::chrono::steady_clock;

    enum class Phase
    {
        empty,   ///< no renderer
        loading, ///< a renderer reads the model
        ready,   ///< a renderer waits for pictures to draw
        card,    ///< the model cannot be shown
    };

    struct InFlight
    {
        std::uint64_t serial = 0;
        std::uint64_t revision = 0;
        protocol::Quality quality = protocol::Quality::draft;
        bool keyed = true;       ///< a host that shows it makes the key colour transparent
        std::string environment; ///< the user's picture that lights it, or empty
    };

    enum class Reply
    {
        done,
        failed,
        later, ///< by the session's thread
    };

    /// A command that the session's thread is to answer.
    struct Command
    {
        std::int32_t code = 0;
        std::string path;
        std::uint64_t revision = 0; ///< the oldest picture that will do

        friend bool operator==(const Command&, const Command&) = default;
    };

    // ---- session.cpp: what host threads do; everything under m_mutex ----
    void noteSize(std::int32_t width, std::int32_t height);
    void noteTaken();
    [[nodiscard]] bool isTurning() const;
    [[nodiscard]] bool owesNow() const;

    // ---- sessioncommands.cpp: under m_mutex, but for serveCommand, which is the session's thread's ----
    [[nodiscard]] Reply obey(const ViewContext& context);
    [[nodiscard]] Reply setEnvironment(const std::string& path);
    [[nodiscard]] bool moveCamera(std::int32_t code, const std::string& text);
    void expectAnswer();
    void answerCommand(Reply reply);
    void serveCommand();

    // ---- sessionanswers.cpp: what the renderer says and what goes wrong; the session's thread alone ----
    void readAnswers();
    void answer(const protocol::Ready&);
    void answer(const protocol::Progress& progress);
    void answer(protocol::Loaded& loaded);
    void answer(const protocol::Rendered& rendered);
    void answer(const protocol::Failed& failed);
    void reportProgress(std::int32_t percent);
    void checkLimits();
    void rendererLost(const char* fault);
    void dropRenderer();
    void showCard(const std::string& reason);
    void announce(const char* name, const std::string& reason, const std::vector<std::string>& files,
                  const std::vector<std::string>& notes = {});

    // ---- sessionloop.cpp: what is to be done next; the session's thread alone ----
    [[nodiscard]] bool isStopped();
    void deliver();
    void beginLoad();
    void advanceTurntable();
    void beginPicture();
    void drawCardIfWanted();
    void giveRendererBackAtRest();
    void giveTime(std::chrono::milliseconds time);
    [[nodiscard]] protocol::Quality wantedQuality() const; ///< with m_mutex held
    [[nodiscard]] std::chrono::milliseconds timeToWait();

    // Set by the constructor, constant afterwards.
    std::string m_path;       ///< absolute, bytes of the file system
    std::string m_startFault; ///< why nothing can be loaded, or empty
    std::int32_t m_format = kFormatNone;
    int m_run = 0;
    unsigned char* m_buffer = nullptr;
    std::uint64_t m_capacity = 0;

    Wakeup m_wakeup;

    /// Held while the progress callback runs. Recursive, since the callback may stop the session.
    std::recursive_mutex m_callbackMutex;

    std::mutex m_mutex;
    // Guarded by m_mutex.
    ViewContext* m_context; ///< null once stopped
    bool m_abandoned = false;
    bool m_firstDrawDone = false;
    bool m_hasBounds = false;
    bool m_gesture = false;
    bool m_tryAgain = false; ///< other settings may do better than those that ended in a card
    bool m_onCard = false;
    camera::Controller m_camera;
    protocol::RenderSettings m_settings;
    std::int32_t m_itemWidth = 0;
    std::int32_t m_itemHeight = 0;
    PictureSize m_fit; ///< what is drawn for the item's size
    Deliveries m_deliveries;
    std::string m_environment;       ///< path of the user's environment picture, or empty
    std::string m_brokenEnvironment; ///< one that a renderer died of, or empty: left out
    std::map<std::string, OV3DOBJECT::SceneStatus, std::less<>> m_keptViews;
    std::optional<Command> m_command;
    Clock::time_point m_lastInput{};
    Clock::time_point m_lastActivity{};

    // The session's thread alone.
    Phase m_phase = Phase::empty;
    std::unique_ptr<RendererProcess> m_renderer;
    protocol::FrameMemory m_memory;
    std::optional<InFlight> m_inFlight;
    std::uint64_t m_serial = 0;
    PictureSize m_pictureSize; ///< of the pixels that are there
    bool m_pictureKeyed = true;
    std::string m_provenEnvironment; ///< one that a picture was drawn with
    std::string m_pictureNote;       ///< what the last picture had to do without
    Card m_card;
    std::string m_cardReason;
    int m_failures = 0;   ///< renderers lost in a row without a picture
    int m_idleLosses = 0; ///< renderers lost at rest since m_idleLossesSince
    bool m_withoutTextures = false;
    bool m_announced = false;
    std::int32_t m_bestPercent = -1;
    Clock::time_point m_idleLossesSince{};
    ProcessorMeter m_processor;
    std::chrono::milliseconds m_patience{0}; ///< for a step of a load, or a picture of the usual size
    WorkLimit m_stepLimit;
    WorkLimit m_loadLimit; ///< of the load and its first picture, all tries
    Clock::time_point m_nextTurn{};
    Clock::time_point m_lastWritten{};
    bool m_watched = true;
    bool m_replenish = false;  ///< the first picture is out, so a spare renderer may be started
    protocol::Loaded m_loaded; ///< what the first load that succeeded told
};

} // namespace ov3d::session
