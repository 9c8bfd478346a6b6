#pragma once

#include "src/render/viewcontext.h"
#include "tests/support/brokenviewers/breaches.h"
#include "tests/support/brokenviewers/flatpicture.h"

#include <atomic>
#include <mutex>
#include <string>

namespace flatviewer {

/// One run of the flat viewer. The smallest viewer that keeps the contract, with a place for each way to break it.
class Session
{
public:
    Session(ViewContext& context, Breach breach);

    void run();             ///< the start's thread
    void request();         ///< any thread
    void stop(bool byHost); ///< any thread; not by the host: another start took the address

private:
    [[nodiscard]] bool isStopped();
    bool load(); ///< @return false when stopped before its end
    void reportProgress(int percent);
    void writeFileList(ViewContext& context);
    bool drawFirstPicture(); ///< the same
    void serve();
    void misbehave();

    void handleMouse(const ViewContext& context);
    void handleRedraw(ViewContext& context);
    void handleRestore(ViewContext& context);
    void applyViewType(const ViewContext& context);
    void writeStatus(ViewContext& context);
    void readSettings(const ViewContext& context);
    void readSize(const ViewContext& context);
    [[nodiscard]] PictureRequest picture() const;
    [[nodiscard]] static bool isSameBackground(const PictureRequest& one, const PictureRequest& other);
    void writeFrame(ViewContext& context);

    const Breach m_breach;
    ViewContext* const m_address; ///< for breaches alone
    std::string m_path;
    bool m_isPathCut = false;
    std::size_t m_capacity = 0;
    Model m_model;

    std::mutex m_mutex;
    std::mutex m_callbackMutex; ///< held while the progress callback runs
    std::atomic<bool> m_isLoading{true};
    // Guarded by m_mutex.
    ViewContext* m_context;
    OV3DOBJECT::SceneStatus m_status{};
    int m_width = 0;
    int m_height = 0;
    int m_owed = 0; ///< how often the picture is still to be written
    int m_viewType = 0;
    int m_pressX = 0;
    bool m_isPressed = false;
    double m_shiftAtPress = 0;
    double m_shift = 0;
    bool m_isFirstFrame = true;
    bool m_writesNow = false;
    bool m_wasBusyAtStop = false;
    bool m_isStoppedByHost = false;
    bool m_isOpaque = false;
    Colour m_background;
};

} // namespace flatviewer
