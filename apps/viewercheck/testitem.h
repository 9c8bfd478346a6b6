#pragma once

#include "apps/viewercheck/check.h"
#include "apps/viewercheck/frame.h"
#include "apps/viewercheck/watchedmemory.h"
#include "src/persist/viewsettings.h"
#include "src/render/viewcontext.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ov3d::viewercheck {

/// Size of the pictures that are asked for, unless a rule is about another one. Its buffer fills whole pages.
inline constexpr int kWidth = 320;
inline constexpr int kHeight = 240;

/// The five settings blocks as they lie in one page.
struct SettingsBlocks
{
    ViewSettings view;
    DisplaySettings display;
    MaterialSettings material;
    LightingSettings lighting;
    CameraSettings camera;
};

/// The frames that came until the viewer rested.
struct Rest
{
    std::vector<Frame> frames;
    bool twice = false; ///< the last two show the same picture

    [[nodiscard]] const Frame& last() const { return frames.back(); }
};

/// One item of a host, as the plug-in would have it: a view context, its blocks and its buffer, and what the plug-in's
/// threads do with them. All accesses of the viewer to them are watched. The main thread alone.
class TestItem
{
public:
    explicit TestItem(Check& check, int width = kWidth, int height = kHeight);
    TestItem(const TestItem&) = delete;
    TestItem& operator=(const TestItem&) = delete;

    [[nodiscard]] ViewContext& context() const { return *reinterpret_cast<ViewContext*>(m_context.host()); }
    [[nodiscard]] SettingsBlocks& blocks() const { return *reinterpret_cast<SettingsBlocks*>(m_blocks.host()); }
    [[nodiscard]] WatchedMemory& contextMemory() { return m_context; }
    [[nodiscard]] WatchedMemory& bufferMemory() { return m_buffer; }

    void setModel(const QString& path, ModelFormat format = kFormatObj);
    /// All bytes as they stand, also without a zero at the end.
    void setPathBytes(const std::string& path);

    /// The start call, on a detached thread. Once more on the same item: another start at its address.
    void start();
    [[nodiscard]] bool hasBegun() const { return m_run->begun; }
    [[nodiscard]] bool hasReturned() const { return m_run->returned; }
    /// The start calls before the last one.
    [[nodiscard]] bool hasPreviousReturned() const { return m_previousRun && m_previousRun->returned; }

    [[nodiscard]] bool hasFirstDraw() const;
    /// Starts, and waits for first_draw and its frame. @return false when they do not come; the rule is told then.
    bool startAndDraw(Rule rule = Rule::firstFrame);

    /// A request, on this thread.
    void request(std::int32_t op);
    void sendMouse(MouseRecordType type, int x, int y, int button, int modifiers, std::int32_t op = kOperationInput,
                   float wheel = 0);
    /// An orbit by a left drag to the right, button-up included.
    void drag(int distance);
    /// Operation 3.
    void sendSettings() { request(kOperationRedraw); }
    /// Operation 5.
    void restore(const OV3DOBJECT::SceneStatus& status);
    void setSize(int width, int height);

    /// Waits for a frame and copies it, and leaves it lying: the buffer is read-only for the viewer from then on.
    std::optional<Frame> look(Milliseconds limit);
    /// The frame has been taken: the next one may be written.
    void take();
    /// Both.
    std::optional<Frame> takeFrame(Milliseconds limit);

    /// Takes frames until one has come twice and nothing follows.
    Rest awaitRest();
    /// The same; before that, frames that are not wanted go by. @return a rest without frames when none comes in time.
    template <typename Wanted> Rest awaitRestOf(const Wanted& isWanted);

    /// A stop request; afterwards nothing may be touched any more, and what is touched is recorded.
    void stop();
    /// Lets a request through to a stopped item, as hosts do.
    void requestAfterStop(std::int32_t op);
    /// Accesses after the stop, watched for a while and until the start call has returned. Empty: none.
    [[nodiscard]] std::string accessesAfterStop();

    [[nodiscard]] std::vector<Access> accesses() const { return m_context.accesses(); }
    /// What the rules that hold all the time say about this item's run; once, at the end.
    void judgeRun();

private:
    struct Run
    {
        std::atomic<bool> begun = false;
        std::atomic<bool> returned = false;
    };

    void judgeStatusWrites();
    void judgeOwnFields();
    void judgeSettings();

    Check& m_check;
    int& m_requestsRunning; ///< outlives the item, as the watched memory does
    WatchedMemory m_context;
    ItemState m_state;
    WatchedMemory m_blocks;
    WatchedMemory m_buffer;
    std::shared_ptr<Run> m_run;
    std::shared_ptr<Run> m_previousRun;
    Clock::duration m_slowest{};
    std::string m_slowestWhat;
    bool m_stopped = false;
};

template <typename Wanted> Rest TestItem::awaitRestOf(const Wanted& isWanted)
{
    const Clock::time_point end = Clock::now() + m_check.limit();
    while (Clock::now() < end) {
        Rest rest = awaitRest();
        if (!rest.frames.empty() && isWanted(rest.last()))
            return rest;
    }
    return {};
}

/// The name of the field of a context that a byte belongs to.
[[nodiscard]] std::string fieldAt(std::ptrdiff_t offset);
/// Whether an access writes into a field.
[[nodiscard]] bool writesInto(const Access& access, std::size_t offset, std::size_t size);

} // namespace ov3d::viewercheck
