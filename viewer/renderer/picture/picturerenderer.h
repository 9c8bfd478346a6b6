#pragma once

#include "viewer/protocol/messages.h"
#include "viewer/renderer/graphics/eglcontext.h"
#include "viewer/renderer/import/modeldata.h"

#include <memory>
#include <string>
#include <vector>
#include <vtkSmartPointer.h>

class vtkRenderer;
class vtkUnsignedCharArray;

namespace ov3d::renderer {

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
    void warmUp(bool textured);

    /// Takes the place of the model shown so far. Adds to the model's notes what could not be used.
    void setModel(ModelData model);
    void clearModel();
    [[nodiscard]] bool hasModel() const { return m_scene != nullptr; }
    [[nodiscard]] const ModelData& model() const;

    /// Draws into RGB rows from top to bottom, padded to four bytes.
    /// @param capacity bytes at `rgb`.
    /// @return false with plain words in `reason`; nothing has been written then.
    bool draw(const protocol::RenderRequest& request, std::uint8_t* rgb, std::uint64_t capacity, std::string& reason);

private:
    bool render(const protocol::RenderRequest& request, int factor, bool keyed);

    EglContext m_context; ///< first, since the window draws with it to its end
    vtkSmartPointer<OffscreenWindow> m_window;
    vtkSmartPointer<vtkRenderer> m_renderer;
    vtkSmartPointer<vtkUnsignedCharArray> m_samples;
    std::unique_ptr<ModelScene> m_scene;
    int m_maxSide = 0; ///< samples that the driver draws along one side
};

} // namespace ov3d::renderer
