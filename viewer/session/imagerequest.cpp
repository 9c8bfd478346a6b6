#include "viewer/session/imagerequest.h"

#include "viewer/camera/viewnames.h"
#include "viewer/session/modelfile.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cmath>
#include <cstring>
#include <limits>

namespace ov3d::session {

namespace {

constexpr std::int32_t kViewTypeFront = 1;

/// Reads the members of one JSON object. The first value of a wrong type is remembered; absent keys change nothing.
class MemberReader
{
public:
    MemberReader(const QJsonObject& object, std::string& fault)
        : m_object(object)
        , m_fault(fault)
    {
    }

    void read(const char* key, bool& value)
    {
        const QJsonValue found = member(key);
        if (found.isBool())
            value = found.toBool();
        else if (found.isDouble() && (found.toDouble() == 0 || found.toDouble() == 1))
            value = found.toDouble() == 1; // as settings files have it
        else
            refuseUnlessAbsent(found, key, "true or false");
    }

    void read(const char* key, std::int32_t& value)
    {
        const QJsonValue found = member(key);
        const double number = found.toDouble();
        const bool fits = std::trunc(number) == number && std::abs(number) <= std::numeric_limits<std::int32_t>::max();
        if (found.isDouble() && fits)
            value = static_cast<std::int32_t>(number);
        else
            refuseUnlessAbsent(found, key, "a whole number");
    }

    void read(const char* key, double& value)
    {
        const QJsonValue found = member(key);
        if (found.isDouble())
            value = found.toDouble();
        else
            refuseUnlessAbsent(found, key, "a number");
    }

    template <typename T, std::size_t N> void read(const char* key, T (&values)[N])
    {
        const QJsonValue found = member(key);
        const QJsonArray array = found.toArray();
        bool good = found.isArray() && array.size() == static_cast<int>(N);
        for (const QJsonValue& element : array)
            good = good && element.isDouble();
        if (!good)
            return refuseUnlessAbsent(found, key, ("a list of " + std::to_string(N) + " numbers").c_str());
        for (std::size_t i = 0; i < N; ++i)
            values[i] = static_cast<T>(array[static_cast<int>(i)].toDouble());
    }

    void read(const char* key, std::string& value)
    {
        const QJsonValue found = member(key);
        if (found.isString())
            value = found.toString().toStdString();
        else
            refuseUnlessAbsent(found, key, "a text");
    }

    [[nodiscard]] QJsonObject object(const char* key)
    {
        const QJsonValue found = member(key);
        if (!found.isObject())
            refuseUnlessAbsent(found, key, "an object");
        return found.toObject();
    }

    [[nodiscard]] bool has(const char* key) const { return m_object.contains(QLatin1String(key)); }

private:
    [[nodiscard]] QJsonValue member(const char* key) const { return m_object.value(QLatin1String(key)); }

    void refuseUnlessAbsent(const QJsonValue& found, const char* key, const char* expected)
    {
        if (!found.isUndefined() && m_fault.empty())
            m_fault = "was asked for with a request whose \"" + std::string(key) + "\" is not " + expected;
    }

    const QJsonObject m_object;
    std::string& m_fault;
};

std::string pathFromText(const std::string& text)
{
    return toAbsolute(QFile::encodeName(QString::fromStdString(text)).toStdString());
}

void readSettings(MemberReader settings, ImageRequest& request, std::string& fault)
{
    protocol::RenderSettings& s = request.settings;
    settings.read("enable_sky", s.enable_sky);
    settings.read("enable_axis", s.enable_axis);
    settings.read("enable_ground", s.enable_ground);
    settings.read("bg_color", s.bg_color);
    settings.read("light_profile", s.light_profile);
    settings.read("material_type_a", s.material_type_a);
    settings.read("material_type_b", s.material_type_b);
    settings.read("material_color", s.material_color);
    settings.read("point_size", s.point_size);
    settings.read("raw_mode", s.raw_mode);
    settings.read("wireframe", s.wireframe);
    settings.read("hdr_map", s.hdr_map);
    settings.read("hdr_map_type", s.hdr_map_type);
    settings.read("sun_follow", s.sun_follow);
    settings.read("ibl_intensity", s.ibl_intensity);
    settings.read("sun_intensity", s.sun_intensity);
    settings.read("sun_dir", s.sun_dir);
    settings.read("sun_color", s.sun_color);
    settings.read("ibl_enabled", s.ibl_enabled);
    settings.read("use_default_ibl", s.use_default_ibl);
    settings.read("sun_enabled", s.sun_enabled);
    settings.read("hdr_path", s.hdr_path);
    if (!s.hdr_path.empty()) {
        s.hdr_path = pathFromText(s.hdr_path);
        if (!looksLikeRadiancePicture(s.hdr_path) && fault.empty())
            fault = "was asked for with an environment picture that cannot be read: " + fileName(s.hdr_path);
    }

    settings.read("view_type", request.start.view.view_type);
    settings.read("camera_id", request.start.camera.camera_id);
    settings.read("camera_values", request.start.camera.camera_values);
    settings.read("camera_position", request.start.camera.camera_position);
    request.start.sun_follow = s.sun_follow;
    std::copy_n(s.sun_dir, 3, request.start.sun_dir);
}

void readCamera(MemberReader camera, ImageRequest& request, std::string& fault)
{
    if (camera.has("status")) {
        double doubles[sizeof(OV3DOBJECT::SceneStatus) / sizeof(double)] = {};
        camera.read("status", doubles);
        std::memcpy(&request.start.status, doubles, sizeof doubles);
        if (fault.empty() && !camera::hasUsableMatrix(request.start.status))
            fault = "was asked for with a \"status\" that is no camera";
        return;
    }
    std::string view;
    camera.read("view", view);
    request.view_type = camera::viewTypeOfName(view);
    if (!view.empty() && !request.view_type && fault.empty())
        fault = "was asked for with an unknown view, \"" + view + "\"";
    if (camera.has("azimuth") || camera.has("elevation")) {
        request.angles.emplace();
        camera.read("azimuth", request.angles->azimuth);
        camera.read("elevation", request.angles->elevation);
    }
    camera.read("zoom", request.zoom);
    if (request.zoom <= 0 && fault.empty())
        fault = "was asked for with a \"zoom\" that is not above 0";
}

} // namespace

std::optional<ImageRequest> parseImageRequest(const std::string& text, std::string& fault)
{
    fault.clear();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(text), &error);
    if (!document.isObject()) {
        fault = "was asked for with a request that is no JSON object";
        if (error.error != QJsonParseError::NoError)
            fault += " (" + error.errorString().toStdString() + ")";
        return std::nullopt;
    }

    ImageRequest request;
    MemberReader members(document.object(), fault);
    std::string model;
    std::string format;
    members.read("model", model);
    members.read("format", format);
    if (model.empty() && fault.empty())
        fault = "was asked for without a model";
    request.model = pathFromText(model);
    request.format = format.empty() ? formatOfPath(request.model) : formatOfSuffix(format);
    if (!format.empty() && request.format == kFormatNone && fault.empty())
        fault = "was asked for with an unknown format, \"" + format + "\"";
    readSettings({members.object("settings"), fault}, request, fault);
    readCamera({members.object("camera"), fault}, request, fault);
    if (!fault.empty())
        return std::nullopt;
    return request;
}

OV3DOBJECT::SceneStatus viewOf(const ImageRequest& request, const protocol::Loaded& model, std::int32_t width,
                               std::int32_t height)
{
    camera::Request start = request.start;
    start.op = kOperationStart;
    start.width = width;
    start.height = height;
    camera::Controller camera;
    camera.start(start);
    camera.setBounds({{model.centre[0], model.centre[1], model.centre[2]}, model.radius});
    if (request.view_type)
        camera.showView(*request.view_type);
    if (request.angles) {
        camera.showView(kViewTypeFront);
        camera.orbit(request.angles->azimuth, request.angles->elevation);
    }
    if (request.zoom != 1)
        camera.zoomBy(request.zoom);
    return camera.status();
}

} // namespace ov3d::session
