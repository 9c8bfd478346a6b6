#include "viewer/camera/controller.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace ov3d::camera {

namespace {

constexpr std::int32_t kViewTypeTurntable = 5;
constexpr double kTurntableRadiansPerSecond = 20 * std::numbers::pi / 180;

constexpr std::int32_t kButtonRight = 4;
constexpr std::int32_t kModifierShift = 1;
constexpr std::int32_t kModifierAlt = 3;
constexpr std::int32_t kModifierMiddle = 4;

// A pointer further outside than this many pictures is a mistake of the sender; farther ones count as here.
constexpr double kPointerReach = 10;

constexpr double kLargestWheelStep = 20;

bool sameBytes(const OV3DOBJECT::SceneStatus& a, const OV3DOBJECT::SceneStatus& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

double reachable(std::int32_t position, std::int32_t size)
{
    return std::clamp(static_cast<double>(position), -kPointerReach * size, (1 + kPointerReach) * size);
}

Vec3 sunFromSetting(const float (&setting)[3])
{
    const Vec3 direction{setting[0], setting[1], setting[2]};
    const double size = length(direction);
    if (!isFinite(direction) || !(size > 0))
        return defaultSunDirection();
    return direction * (1 / size);
}

Gesture gestureOfPress(const Request& request)
{
    if (request.mouse_button == kButtonRight)
        return Gesture::pan;
    switch (request.mouse_modifiers) {
    case kModifierShift:
        return Gesture::dolly;
    case kModifierAlt:
        return Gesture::roll;
    case kModifierMiddle:
        return request.sun_follow ? Gesture::none : Gesture::sun;
    default:
        return Gesture::orbit;
    }
}

} // namespace

Controller::Controller()
{
    start(Request{});
}

// ---- the beginning of a run -------------------------------------------------------------------------------------

void Controller::start(const Request& request)
{
    m_gesture.reset();
    m_status = {};
    m_model = BoundingSphere{{}, 1};
    m_hasBounds = false;
    adoptSize(request.width, request.height);
    seeSettings(request);
    m_restored = hasUsableMatrix(request.status);
    if (m_restored)
        restore(request.status);
    else
        showStartView();
}

void Controller::setBounds(const BoundingSphere& bounds)
{
    const BoundingSphere model = viewableSphere(bounds);
    const bool first = !m_hasBounds;
    if (!first && model == m_model)
        return;
    m_model = model;
    m_hasBounds = true;
    if (first && !m_restored) {
        showStartView();
    } else if (!first && isFitted(m_status)) {
        Pose pose = poseFromStatus(m_status);
        fit(pose);
        setPose(pose, true);
    }
}

// ---- requests ---------------------------------------------------------------------------------------------------

Outcome Controller::handle(const Request& request)
{
    if (request.op == kOperationStart || request.op == kOperationStop)
        return {};

    const OV3DOBJECT::SceneStatus before = m_status;
    Outcome outcome;
    resize(request.width, request.height);
    advance(request.seconds);

    if (request.op == kOperationRestore) {
        seeSettings(request);
        m_restored = hasUsableMatrix(request.status);
        if (m_restored)
            restore(request.status);
        else
            showHome();
        outcome.deliver_at_rest = true;
    } else {
        applySun(request);
        applyLens(lensFromSettings(request.camera));
        if (request.op == kOperationRedraw) {
            outcome.deliver_at_rest = true;
            if (request.view.reset_camera)
                showHome();
        }
        const bool changed = applyViewType(request.view.view_type);
        if (request.op == kOperationRedraw && changed && m_viewType == kViewTypeTurntable)
            m_gesture.reset();
        outcome.deliver_at_rest = outcome.deliver_at_rest || changed;
        if (request.op == kOperationInput)
            handleMouse(request, outcome);
        else if (request.op == kOperationApplyViewType)
            handleMouseOfViewTypeChange(request, changed, outcome);
    }

    advance(request.seconds);
    outcome.moved = !sameBytes(before, m_status);
    outcome.gesture_running = m_gesture.has_value();
    return outcome;
}

// ---- commands ---------------------------------------------------------------------------------------------------

void Controller::orbit(double azimuth, double elevation)
{
    if (!std::isfinite(azimuth) || !std::isfinite(elevation))
        return;
    // A drag to the right turns the model to the right, that is, the camera to the left.
    const Movement movement{-std::fmod(azimuth, 360.0) / 360, elevation / 180};
    const Pose from = poseFromStatus(m_status);
    const Pose to = dragged(Gesture::orbit, from, movement, aspect(), m_model);
    if (to != from)
        setPose(to, false);
}

void Controller::zoomBy(double factor)
{
    if (!std::isfinite(factor) || factor <= 0)
        return;
    const Pose from = poseFromStatus(m_status);
    const Pose to = scaled(from, factor, m_model);
    if (to != from)
        setPose(to, false);
}

void Controller::showView(std::int32_t viewType)
{
    if (const auto angles = anglesOfViewType(viewType))
        showFitted(*angles);
}

void Controller::returnTo(const OV3DOBJECT::SceneStatus& status)
{
    if (hasUsableMatrix(status))
        restore(status);
}

void Controller::resize(std::int32_t width, std::int32_t height)
{
    const double before = aspect();
    if ((width == m_width && height == m_height) || !adoptSize(width, height))
        return;
    if (aspect() == before || !isFitted(m_status)) {
        // A running gesture measured its movement in the old picture.
        setStatus(m_status);
        return;
    }
    Pose pose = poseFromStatus(m_status);
    fit(pose);
    setPose(pose, true);
}

bool Controller::advance(double seconds)
{
    if (!isTurning() || !std::isfinite(seconds))
        return false;
    if (!m_turntable || seconds < m_turntable->seconds) {
        m_turntable = TurntableAnchor{seconds, m_status};
        return false;
    }
    const double angle = std::fmod((seconds - m_turntable->seconds) * kTurntableRadiansPerSecond, 2 * std::numbers::pi);
    const OV3DOBJECT::SceneStatus before = m_status;
    m_status = m_turntable->status;
    // Without a turn the matrix stays as it was restored, rather than as its angles would give it.
    if (angle != 0)
        m_status = statusFromPose(turned(poseFromStatus(m_status), angle, m_model), isFitted(m_status));
    return !sameBytes(before, m_status);
}

bool Controller::isTurning() const
{
    return m_viewType == kViewTypeTurntable && !m_gesture;
}

// ---- views ------------------------------------------------------------------------------------------------------

void Controller::restore(const OV3DOBJECT::SceneStatus& status)
{
    setStatus(isConsistent(status) ? status : statusFromPose(poseFromStatus(status), false));
}

void Controller::showStartView()
{
    showHome();
    if (const auto angles = anglesOfViewType(m_viewType))
        showFitted(*angles);
}

void Controller::showHome()
{
    showFitted(homeAngles());
}

void Controller::showFitted(const Angles& angles)
{
    Pose pose;
    turnTo(pose, angles);
    pose.parallel = m_lens.parallel;
    pose.vertical_field_of_view = m_lens.field_of_view;
    pose.sun_direction = isUnset(m_status) ? m_sunSetting : poseFromStatus(m_status).sun_direction;
    fit(pose);
    setPose(pose, true);
}

void Controller::fit(Pose& pose) const
{
    pose.focal_point = m_model.centre + m_lens.offset * m_model.radius;
    const double zoom = fittingDistance(m_model.radius, pose.vertical_field_of_view, pose.parallel, aspect());
    placeCamera(pose, zoom, m_model);
}

// ---- settings ---------------------------------------------------------------------------------------------------

bool Controller::applyViewType(std::int32_t viewType)
{
    if (viewType == m_viewType)
        return false;
    m_viewType = viewType;
    m_turntable.reset();
    if (const auto angles = anglesOfViewType(viewType))
        showFitted(*angles);
    return true;
}

void Controller::applyLens(const Lens& lens)
{
    if (lens == m_lens)
        return;
    const Lens before = m_lens;
    m_lens = lens;

    Pose pose = poseFromStatus(m_status);
    if (lens.parallel != before.parallel)
        pose.parallel = lens.parallel;
    if (lens.field_of_view != before.field_of_view)
        pose.vertical_field_of_view = lens.field_of_view;
    if (isFitted(m_status)) {
        fit(pose);
        setPose(pose, true);
        return;
    }
    pose.focal_point = pose.focal_point + (lens.offset - before.offset) * m_model.radius;
    placeCamera(pose, zoomDistance(pose), m_model);
    setPose(pose, false);
}

void Controller::applySun(const Request& request)
{
    const Vec3 setting = sunFromSetting(request.sun_dir);
    if (setting == m_sunSetting && request.sun_follow == m_sunFollows)
        return;
    m_sunSetting = setting;
    m_sunFollows = request.sun_follow;
    Pose pose = poseFromStatus(m_status);
    pose.sun_direction = setting;
    setPose(pose, isFitted(m_status));
}

void Controller::seeSettings(const Request& request)
{
    m_viewType = request.view.view_type;
    m_lens = lensFromSettings(request.camera);
    m_sunSetting = sunFromSetting(request.sun_dir);
    m_sunFollows = request.sun_follow;
}

// ---- mouse and wheel --------------------------------------------------------------------------------------------

void Controller::handleMouse(const Request& request, Outcome& outcome)
{
    switch (request.mouse_type) {
    case kMouseButtonDown:
        pressButton(request);
        break;
    case kMouseDrag:
        drag(request);
        break;
    case kMouseButtonUp:
        m_gesture.reset();
        outcome.deliver_at_rest = true;
        break;
    case kMouseWheel:
        turnWheel(request);
        outcome.deliver_at_rest = true;
        break;
    default:
        break;
    }
}

void Controller::handleMouseOfViewTypeChange(const Request& request, bool changed, Outcome& outcome)
{
    const bool turntable = m_viewType == kViewTypeTurntable;
    const bool freshPress = request.mouse_type == kMouseButtonDown && !(changed && turntable);
    const bool freshWheel = request.mouse_type == kMouseWheel && !changed && turntable;
    if (freshPress || freshWheel)
        handleMouse(request, outcome);
}

void Controller::pressButton(const Request& request)
{
    RunningGesture gesture;
    gesture.kind = gestureOfPress(request);
    gesture.from_x = gesture.last_x = reachable(request.mouse_x, m_width);
    gesture.from_y = gesture.last_y = reachable(request.mouse_y, m_height);
    gesture.anchor = m_status;
    m_gesture = gesture;
    m_turntable.reset();
}

void Controller::drag(const Request& request)
{
    if (!m_gesture)
        return;
    m_gesture->last_x = reachable(request.mouse_x, m_width);
    m_gesture->last_y = reachable(request.mouse_y, m_height);
    const Movement movement{(m_gesture->last_x - m_gesture->from_x) / m_width,
                            (m_gesture->last_y - m_gesture->from_y) / m_height};

    const Pose from = poseFromStatus(m_gesture->anchor);
    const Pose to = dragged(m_gesture->kind, from, movement, aspect(), m_model);
    const bool fitted = m_gesture->kind == Gesture::sun && isFitted(m_gesture->anchor);
    m_status = to == from ? m_gesture->anchor : statusFromPose(to, fitted);
}

void Controller::turnWheel(const Request& request)
{
    if (!std::isfinite(request.wheel_step))
        return;
    const double step = std::clamp(request.wheel_step, -kLargestWheelStep, kLargestWheelStep);
    const PicturePoint pointer{reachable(request.mouse_x, m_width) / m_height,
                               reachable(request.mouse_y, m_height) / m_height};
    const Pose from = poseFromStatus(m_status);
    const Pose to = zoomed(from, step, request.mouse_modifiers == kModifierShift, pointer, aspect(), m_model);
    if (to != from)
        setPose(to, false);
}

// ---- state ------------------------------------------------------------------------------------------------------

// Every change that does not come from the running gesture itself: the gesture and the turntable go on from the new
// view.
void Controller::setStatus(const OV3DOBJECT::SceneStatus& status)
{
    m_status = status;
    m_turntable.reset();
    if (m_gesture) {
        m_gesture->anchor = status;
        m_gesture->from_x = m_gesture->last_x;
        m_gesture->from_y = m_gesture->last_y;
    }
}

void Controller::setPose(const Pose& pose, bool fitted)
{
    setStatus(statusFromPose(pose, fitted));
}

bool Controller::adoptSize(std::int32_t width, std::int32_t height)
{
    if (width <= 0 || height <= 0)
        return false;
    m_width = width;
    m_height = height;
    return true;
}

double Controller::aspect() const
{
    return static_cast<double>(m_width) / m_height;
}

} // namespace ov3d::camera
