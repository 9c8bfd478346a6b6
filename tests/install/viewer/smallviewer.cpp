/// A viewer in one file, written from docs/viewer-contract.md: C++17, the contract's three headers, nothing else of ours.
///
/// It draws an upright slab for every model that it can open. A horizontal drag moves the slab; its place is the thirteenth
/// number of the view status.

#include "src/persist/viewsettings.h"
#include "src/render/handshake.h"
#include "src/render/viewcontext.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr auto kPass = std::chrono::milliseconds(20); // between two looks at the item's size and the frame
constexpr int kLargestSide = 30000;
constexpr int kPlace = 12; // of camera_to_world
constexpr unsigned char kKey[3] = {92, 238, 20};
constexpr unsigned char kSlab[3] = {150, 60, 170};
constexpr unsigned char kCard[3] = {200, 200, 200};

/// The picture that is to be drawn, and nothing of the host's.
struct Picture
{
    int width = 0;
    int height = 0;
    double place = 0;
    bool hasModel = false;
    unsigned char background[3] = {};

    [[nodiscard]] std::size_t bytesOfRow() const { return (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4; }
    [[nodiscard]] std::size_t bytes() const { return bytesOfRow() * static_cast<std::size_t>(height); }

    [[nodiscard]] const unsigned char* colourAt(int x, int y) const
    {
        const double left = width / 4.0 + place;
        const bool isSlab = x >= left && x < left + width / 2.0 && y >= height / 8 && y < height - height / 8;
        return isSlab ? kSlab : hasModel ? background : kCard;
    }

    void draw(unsigned char* pixels) const
    {
        for (int y = 0; y < height; ++y) {
            unsigned char* row = pixels + bytesOfRow() * static_cast<std::size_t>(y);
            for (int x = 0; x < width; ++x)
                std::memcpy(row + 3 * x, colourAt(x, y), 3);
        }
    }
};

/// One item. The start's thread loads and draws; requests come on others. The context is given up under the lock that
/// guards every access to it, so nothing touches it once stop() has returned.
class Run
{
public:
    explicit Run(ViewContext& context)
        : m_context(&context)
        , m_path(context.model_path, strnlen(context.model_path, sizeof context.model_path))
        , m_progress(context.progress_callback)
        , m_capacity(static_cast<std::size_t>(std::max(0, context.width)) *
                     static_cast<std::size_t>(std::max(0, context.height)) * 8)
    {
        readSize();
        readSettings();
        m_status = context.scene_status;
        const double* matrix = m_status.camera_to_world;
        if (std::all_of(matrix, matrix + 16, [](double value) { return value == 0; }))
            for (const int i : {0, 5, 10, 15})
                m_status.camera_to_world[i] = 1;
    }

    /// The start call.
    void show()
    {
        report(0);
        const std::string names = readModel();
        report(95);
        if (!drawFirst(names))
            return;
        while (serve())
            std::this_thread::sleep_for(kPass);
    }

    void request()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_context)
            return;
        switch (m_context->op) {
        case kOperationInput:
            handleMouse();
            break;
        case kOperationRedraw:
            if (m_context->view_settings && m_context->view_settings->reset_camera)
                m_status.camera_to_world[kPlace] = 0;
            break;
        case kOperationApplyViewType:
            if (m_context->view_settings)
                m_status.camera_to_world[kPlace] = 8.0 * m_context->view_settings->view_type;
            break;
        case kOperationRestore:
            m_status = m_context->scene_status;
            break;
        default:
            storeRelease(m_context->result, std::int32_t{1});
            return;
        }
        readSettings();
        m_owed = 2;
        m_context->scene_status = m_status;
    }

    /// Waits for a callback that runs; requests do not.
    void stop()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_context = nullptr;
        }
        const std::lock_guard<std::mutex> callback(m_callbackMutex);
    }

private:
    void report(int percent)
    {
        const std::lock_guard<std::mutex> callback(m_callbackMutex);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_context)
                return;
        }
        if (m_progress)
            m_progress(percent);
    }

    /// @return what goes into file_list: the material libraries and their textures, as far as whole names fit.
    std::string readModel()
    {
        std::string names;
        const auto add = [&names](const std::string& name) {
            if (names.size() + 1 + name.size() < sizeof ViewContext::file_list)
                names += (names.empty() ? "" : "@") + name;
        };
        if (m_path.size() == sizeof ViewContext::model_path)
            return names; // cut short: it is another file's name, or nobody's
        std::ifstream model(m_path);
        for (std::string line, word, name; std::getline(model, line);) {
            std::istringstream words(line);
            words >> word >> name;
            m_hasModel = m_hasModel || word == "v";
            if (word != "mtllib")
                continue;
            add(name);
            std::ifstream library(m_path.substr(0, m_path.rfind('/') + 1) + name);
            while (std::getline(library, line)) {
                std::istringstream entry(line);
                if (entry >> word >> name && word == "map_Kd")
                    add(name);
            }
        }
        return names;
    }

    bool drawFirst(const std::string& names)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_context)
            return false;
        names.copy(m_context->file_list, names.size());
        m_context->file_list[names.size()] = 0;
        m_context->scene_status = m_status;
        m_owed = 2;
        writeFrame();
        storeRelease(m_context->first_draw, std::uint8_t{1});
        return true;
    }

    /// @return false once the run has been stopped.
    bool serve()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_context)
            return false;
        readSize();
        if (m_owed > 0 && loadAcquire(m_context->frame_width) == kNoFrame)
            writeFrame();
        return true;
    }

    void writeFrame()
    {
        Picture picture;
        picture.width = m_width;
        picture.height = m_height;
        picture.place = m_status.camera_to_world[kPlace];
        picture.hasModel = m_hasModel;
        std::memcpy(picture.background, m_background, sizeof m_background);
        while (picture.bytes() > m_capacity) {
            picture.width = picture.width * 31 / 32;
            picture.height = picture.height * 31 / 32;
        }
        picture.draw(m_context->frame_buffer);
        storeRelease(m_context->frame_height, std::int32_t{picture.height});
        storeRelease(m_context->frame_width, std::int32_t{picture.width});
        --m_owed;
    }

    void handleMouse()
    {
        if (m_context->mouse_type == kMouseDrag && m_isPressed)
            m_status.camera_to_world[kPlace] += (m_context->mouse_x - m_mouseX) / 10.0;
        if (m_context->mouse_type != kMouseDrag)
            m_isPressed = m_context->mouse_type == kMouseButtonDown;
        m_mouseX = m_context->mouse_x;
    }

    void readSize()
    {
        const int width = loadAcquire(m_context->width);
        const int height = loadAcquire(m_context->height);
        if (width <= 0 || height <= 0 || width > kLargestSide || height > kLargestSide)
            return;
        if (width != m_width || height != m_height)
            m_owed = 2;
        m_width = width;
        m_height = height;
    }

    void readSettings()
    {
        const DisplaySettings usual;
        const DisplaySettings& display = m_context->display_settings ? *m_context->display_settings : usual;
        const bool isKeyed = !display.enable_sky && std::equal(display.bg_color, display.bg_color + 3, usual.bg_color);
        for (int i = 0; i < 3; ++i) {
            const float part = std::clamp(display.enable_sky ? 0.7F : display.bg_color[i], 0.0F, 1.0F);
            m_background[i] = isKeyed ? kKey[i] : static_cast<unsigned char>(std::lround(part * 255));
        }
    }

    std::mutex m_callbackMutex; ///< held while the progress callback runs; taken before m_mutex
    std::mutex m_mutex;         ///< guards the context and all that follows
    ViewContext* m_context;     ///< null once stopped
    const std::string m_path;
    void (*const m_progress)(int);
    const std::size_t m_capacity; ///< bytes of the frame buffer
    bool m_hasModel = false;
    int m_width = 0;
    int m_height = 0;
    int m_owed = 0; ///< how often the picture is still to be delivered
    bool m_isPressed = false;
    int m_mouseX = 0;
    unsigned char m_background[3] = {};
    OV3DOBJECT::SceneStatus m_status{};
};

/// The runs by their contexts' addresses. Never destroyed: start calls may outlive the program's static objects.
struct Runs
{
    std::mutex mutex;
    std::map<const void*, std::shared_ptr<Run>> byAddress;
};

Runs& runs()
{
    static Runs& instance = *new Runs;
    return instance;
}

/// Puts another run, or none, in the place of an address's run. @return the one that was there, or null.
std::shared_ptr<Run> exchange(const void* address, const std::shared_ptr<Run>& run)
{
    const std::lock_guard<std::mutex> lock(runs().mutex);
    std::shared_ptr<Run> before = runs().byAddress[address];
    if (run)
        runs().byAddress[address] = run;
    else
        runs().byAddress.erase(address);
    return before;
}

std::shared_ptr<Run> find(const void* address)
{
    const std::lock_guard<std::mutex> lock(runs().mutex);
    const auto place = runs().byAddress.find(address);
    return place == runs().byAddress.end() ? nullptr : place->second;
}

} // namespace

extern "C" __attribute__((visibility("default"))) void smallViewer(int argc, const char**, void* context)
try {
    auto& record = *static_cast<ViewContext*>(context);
    if (argc > 0) {
        if (const std::shared_ptr<Run> before = exchange(context, nullptr))
            before->stop();
        const auto run = std::make_shared<Run>(record);
        exchange(context, run);
        run->show();
    } else if (record.op == kOperationStop) {
        if (const std::shared_ptr<Run> run = exchange(context, nullptr))
            run->stop();
    } else if (const std::shared_ptr<Run> run = find(context)) {
        run->request();
    }
} catch (...) {
    // Out of memory. No exception may reach the host.
}
