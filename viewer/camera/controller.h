#pragma once

#include "src/persist/viewsettings.h"
#include "src/render/viewcontext.h"
#include "viewer/camera/boundingsphere.h"
#include "viewer/camera/gesture.h"
#include "viewer/camera/lens.h"
#include "viewer/camera/orbit.h"
#include "viewer/camera/vector.h"

#include <optional>

namespace ov3d::camera {

/// One synchronous request as the camera sees it, copied from a view context and its settings blocks.
struct Request
{
    std::int32_t op = kOperationRedraw;
    std::int32_t width = 1280; ///< pixels of the picture, the units of the mouse positions; not positive: as before
    std::int32_t height = 960;
    std::int32_t mouse_type = 0;
    std::int32_t mouse_x = 0;
    std::int32_t mouse_y = 0;
    std::int32_t mouse_modifiers = 0;
    std::int32_t mouse_button = 0;
    double wheel_step = 0;
    ViewSettings view;
    bool sun_follow = true;
    float sun_dir[3] = {0.57f, -0.57f, -0.57f}; ///< the setting; a change of it takes the sun there
    CameraSettings camera;                      ///< lensFromSettings says what it means; a change of it acts once
    OV3DOBJECT::SceneStatus status{};           ///< read by kOperationRestore and by the start alone
    double seconds = 0;                         ///< monotonic clock, for the turntable
};

/// What a request did.
struct Outcome
{
    bool moved = false;           ///< the stored status has changed
    bool gesture_running = false; ///< a button is down: pictures may be drawn faster
    bool deliver_at_rest = false; ///< a final picture is owed even if nothing moved (button up, restore, redraw)
};

/// The camera of one session: takes requests, keeps the scene status. Pure mathematics, no I/O, no threads of its own;
/// the caller serialises its calls. Never fails: whatever is in a request, the status stays finite and usable.
///
/// Gestures. A button-down record chooses the gesture for all drag records up to the next button-up, whatever these
/// carry: button 4 pans; else modifier code 1 dollies with vertical movement, 3 rolls with horizontal movement, 4 turns
/// the sun (unless it follows the camera), anything else orbits. Every drag record is reckoned from the button-down
/// record, so that merged records give the same view. A drag record without a button-down does nothing.
///
/// Settings. `view_type`, `sun_follow`, `sun_dir` and the camera settings act when they differ from the values last
/// seen; a start with a saved status and kOperationRestore see them without acting. `reset_camera` acts in each
/// kOperationRedraw that finds it set. A change of `sun_follow` or `sun_dir` takes the sun to `sun_dir`; a change of
/// the field of view keeps the size of what lies in the plane through the focal point; a change of `camera_position`
/// shifts the focal point. A kOperationRedraw that turns the turntable on ends a gesture: the settings are not at hand
/// while a button is down, so its button-up was lost.
///
/// kOperationApplyViewType. A host sends its mouse record along when it suspends the turntable for a gesture, and
/// leaves an old record in place when it resumes it. So with this operation a button-down record is read unless
/// `view_type` changes to the turntable, a wheel record only if `view_type` is the turntable and does not change, and
/// others not at all.
class Controller
{
public:
    Controller();

    /// Begins a run. The request's status wins when it is not all zero; otherwise the model is fitted by setBounds and
    /// `view_type` and `reset_camera` are obeyed. A status that has no usable matrix counts as none.
    void start(const Request& request);

    /// Tells what to fit, once the model has been read. Keeps a restored view as it is; told again, keeps any view but
    /// a fitted one.
    void setBounds(const BoundingSphere& bounds);

    /// Takes over one request of a running viewer. Other operation codes than those of ViewOperation only let changed
    /// settings act; kOperationStart and kOperationStop do nothing.
    Outcome handle(const Request& request);

    // What commands do beside the records of the hand. Each shows in status() at once; a running gesture and the
    // turntable go on from the new view.

    /// Turns the camera about the focal point, degrees: azimuth from +Z toward +X, elevation toward +Y up to where a
    /// drag stops. What is not finite does nothing.
    void orbit(double azimuth, double elevation);

    /// Divides the distance (in parallel projection the picture's height): 2 shows the model twice as large, within the
    /// limits of the wheel. What is not finite or not positive does nothing.
    void zoomBy(double factor);

    /// Shows the fitted view of a fixed view type, without taking it for the setting. Others do nothing.
    void showView(std::int32_t viewType);

    /// Shows the fitted view that a model is first shown in.
    void showHome();

    /// Takes over a status, to the bit. One without a usable matrix does nothing.
    void returnTo(const OV3DOBJECT::SceneStatus& status);

    /// The picture's new size, in the pixels of the requests; the vertical field of view stays. A fitted view that no
    /// gesture has touched is fitted anew. Sizes that are not positive are ignored.
    void resize(std::int32_t width, std::int32_t height);

    /// Turns the turntable to the given moment. @return whether the status has changed.
    bool advance(double seconds);

    /// Whether the turntable turns: `view_type` is 5 and no gesture is running.
    [[nodiscard]] bool isTurning() const;
    [[nodiscard]] const OV3DOBJECT::SceneStatus& status() const { return m_status; }

private:
    struct RunningGesture
    {
        Gesture kind = Gesture::none;
        double from_x = 0; ///< where the pointer was when the view was `anchor`, pixels
        double from_y = 0;
        double last_x = 0;
        double last_y = 0;
        OV3DOBJECT::SceneStatus anchor{};
    };

    struct TurntableAnchor
    {
        double seconds = 0;
        OV3DOBJECT::SceneStatus status{};
    };

    void restore(const OV3DOBJECT::SceneStatus& status);
    void showStartView();
    void showFitted(const Angles& angles);
    void fit(Pose& pose) const;

    bool applyViewType(std::int32_t viewType);
    void applyLens(const Lens& lens);
    void applySun(const Request& request);
    void seeSettings(const Request& request);

    void handleMouse(const Request& request, Outcome& outcome);
    void handleMouseOfViewTypeChange(const Request& request, bool changed, Outcome& outcome);
    void pressButton(const Request& request);
    void drag(const Request& request);
    void turnWheel(const Request& request);

    void setStatus(const OV3DOBJECT::SceneStatus& status);
    void setPose(const Pose& pose, bool fitted);
    bool adoptSize(std::int32_t width, std::int32_t height);
    [[nodiscard]] double aspect() const;

    OV3DOBJECT::SceneStatus m_status{};
    BoundingSphere m_model{{}, 1};
    bool m_hasBounds = false;
    bool m_restored = false; ///< the view came from a saved status, so the first bounds do not fit it
    std::int32_t m_width = 1280;
    std::int32_t m_height = 960;

    // Settings as last seen.
    std::int32_t m_viewType = 0;
    Lens m_lens;
    bool m_sunFollows = true;
    Vec3 m_sunSetting;

    std::optional<RunningGesture> m_gesture;
    std::optional<TurntableAnchor> m_turntable; ///< nothing: the next moment that is told is the beginning
};

} // namespace ov3d::camera
