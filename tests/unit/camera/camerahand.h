#pragma once

#include "viewer/camera/controller.h"
#include "viewer/camera/projection.h"

#include <QtGlobal>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

namespace ov3d::camera {

inline constexpr double kDegree = std::numbers::pi / 180;

inline bool sameBytes(const OV3DOBJECT::SceneStatus& a, const OV3DOBJECT::SceneStatus& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool isFinite(const OV3DOBJECT::SceneStatus& status)
{
    double values[sizeof status / sizeof(double)];
    std::memcpy(values, &status, sizeof status);
    return std::all_of(std::begin(values), std::end(values), [](double value) { return std::isfinite(value); });
}

inline double distanceBetween(Vec3 a, Vec3 b)
{
    return length(a - b);
}

/// A model's camera, and a hand on it: sends the records that an item sends.
struct CameraHand
{
    explicit CameraHand(const BoundingSphere& sphere = {{}, 1}, int width = 1280, int height = 960)
        : model(sphere)
    {
        request.width = width;
        request.height = height;
        camera.start(request);
        camera.setBounds(sphere);
    }

    Outcome send(std::int32_t op)
    {
        request.op = op;
        return camera.handle(request);
    }

    Outcome mouse(std::int32_t type, int x, int y, int button = 0, int code = 0, double step = 0)
    {
        request.mouse_type = type;
        request.mouse_x = x;
        request.mouse_y = y;
        request.mouse_button = button;
        request.mouse_modifiers = code;
        request.wheel_step = step;
        return send(kOperationInput);
    }

    Outcome press(int x, int y, int button = 1, int code = 0) { return mouse(kMouseButtonDown, x, y, button, code); }
    Outcome move(int x, int y) { return mouse(kMouseDrag, x, y, 1); }
    Outcome release(int x, int y) { return mouse(kMouseButtonUp, x, y, 1); }
    Outcome wheel(int x, int y, double step, int code = 0) { return mouse(kMouseWheel, x, y, 0, code, step); }

    void drag(int x0, int y0, int x1, int y1, int button = 1, int code = 0)
    {
        press(x0, y0, button, code);
        move((x0 + x1) / 2, (y0 + y1) / 2);
        move(x1, y1);
        release(x1, y1);
    }

    Outcome viewType(std::int32_t type)
    {
        request.view.view_type = type;
        return send(kOperationApplyViewType);
    }

    Outcome restore(const OV3DOBJECT::SceneStatus& status)
    {
        request.status = status;
        return send(kOperationRestore);
    }

    Pose pose() const { return poseFromStatus(camera.status()); }
    double aspect() const { return static_cast<double>(request.width) / request.height; }

    /// The world point of the focal plane under a pixel.
    Vec3 under(int x, int y) const
    {
        return pointOnFocalPlane(pose(), aspect(), {double(x) / request.height, double(y) / request.height});
    }

    /// Pixels between a pixel and where a world point is seen.
    double pixelsFrom(int x, int y, Vec3 point) const
    {
        const auto place = project(pose(), aspect(), point);
        if (!place)
            return std::numeric_limits<double>::infinity();
        return std::hypot(place->x * request.height - x, place->y * request.height - y);
    }

    /// Part of the picture's shorter side that the model's sphere spans, from many points of its surface.
    double spannedPart() const
    {
        double least[2] = {1e300, 1e300};
        double most[2] = {-1e300, -1e300};
        const Pose view = pose();
        constexpr int steps = 180;
        for (int i = 0; i <= steps; ++i) {
            for (int j = 0; j < 2 * steps; ++j) {
                const double a = std::numbers::pi * i / steps;
                const double b = std::numbers::pi * j / steps;
                const Vec3 normal{std::sin(a) * std::cos(b), std::cos(a), std::sin(a) * std::sin(b)};
                const auto place = project(view, aspect(), model.centre + normal * model.radius);
                if (!place)
                    return std::numeric_limits<double>::infinity();
                least[0] = std::min(least[0], place->x);
                most[0] = std::max(most[0], place->x);
                least[1] = std::min(least[1], place->y);
                most[1] = std::max(most[1], place->y);
            }
        }
        return std::max(most[0] - least[0], most[1] - least[1]) / std::min(1.0, aspect());
    }

    BoundingSphere model;
    Request request;
    Controller camera;
};

} // namespace ov3d::camera
