#pragma once

#include "viewer/protocol/messages.h"
#include "viewer/renderer/environment/environments.h"
#include "viewer/renderer/graphics/eglcontext.h"
#include "viewer/renderer/import/modeldata.h"
#include "viewer/renderer/picture/cells.h"
#include "viewer/renderer/picture/warmup.h"

#include <memory>
#include <string>
#include <vector>
#include <vtkSmartPointer.h>

class vtkUnsignedCharArray;

namespace ov3d::renderer {

class EnvironmentRenderer;
class Ground;
class ModelScene;
class OffscreenWindow;

/// Draws pictures of one model. Everything happens on the thread that made it.
class PictureRenderer
{
public:
    PictureRenderer();
    ~PictureRenderer();
    PictureRenderer(const PictureRenderer&) = delete;
    PictureRenderer& operator=(const PictureRenderer&) = delete;

    /// Makes the graphics context ready. @return false when this machine cannot draw at all.
    bool start();

    [[nodiscard]] std::string driverName() const { return m_context.driverName(); }

    /// Draws something small unseen, so that the first picture is not the one to wait for shaders. Leaves no model.
    void warmUp(Surface surface);

    /// Takes the place of the model shown so far. Adds to the model's notes what could not be used.
    void setModel(ModelData model);
    void clearModel();
    [[nodiscard]] bool hasModel() const { return m_scene != nullptr; }
    [[nodiscard]] const ModelData& model() const;

    /// Draws into RGB rows from top to bottom, padded to four bytes. A request for a tile costs what the cells cost
    /// that it touches (picture/cells.h); tiles of one cell that follow each other draw it once.
    /// @param capacity bytes at `rgb`.
    /// @return false with plain words in `reason`; `rgb` is then unspecified.
    bool draw(const protocol::RenderRequest& request, std::uint8_t* rgb, std::uint64_t capacity, std::string& reason);

    /// What the last picture had to do without, in plain words, or empty.
    [[nodiscard]] const std::string& note() const { return m_note; }

private:
    /// The last cell that was drawn for a part of a larger picture.
    struct DrawnCell
    {
        protocol::RenderRequest request;
        Region own;
        std::vector<std::uint8_t> rgb; ///< of the cell's drawn region, rows padded; empty when there is none
    };

    void prepare(const protocol::RenderRequest& request);
    bool drawRegion(const protocol::RenderRequest& request, const Wanted& wanted, const Region& region,
                    std::uint8_t* rgb);
    bool drawCell(const protocol::RenderRequest& request, const Wanted& wanted, const Cell& cell);
    void setUpGround(const LightPlan& plan, bool isWanted);
    void setUpSky(const LightPlan& plan, const protocol::RenderRequest& request, const Wanted& wanted,
                  const Region& region);
    bool render(const protocol::RenderRequest& request, const Wanted& wanted, const Region& region, int factor);

    EglContext m_context; ///< first, since the window draws with it to its end
    vtkSmartPointer<OffscreenWindow> m_window;
    vtkSmartPointer<EnvironmentRenderer> m_renderer;
    vtkSmartPointer<vtkUnsignedCharArray> m_samples;
    std::unique_ptr<ModelScene> m_scene;
    std::unique_ptr<Ground> m_ground; ///< of the model, once it has been asked for
    bool m_isGroundShown = false;
    Environments m_environments;
    LightPlan m_plan; ///< of the request that is being drawn
    DrawnCell m_cell;
    std::string m_note;
    int m_maxSide = 0; ///< samples that the driver draws along one side
};

} // namespace ov3d::renderer
