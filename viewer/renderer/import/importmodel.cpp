#include "viewer/renderer/import/assimpimporter.h"
#include "viewer/renderer/import/importer.h"
#include "viewer/renderer/import/threemfimporter.h"
#include "viewer/renderer/process/deepstack.h"

#include "src/render/viewcontext.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>

namespace ov3d::renderer {
namespace {

/// Importers follow the nesting of a file with their own.
constexpr std::size_t kImportStackBytes = std::size_t{256} * 1024 * 1024;

const char* const kNoMemory = "needs more memory than allowed";

ImportResult failed(const std::string& reason)
{
    ImportResult result;
    result.reason = reason;
    return result;
}

/// Passes on what rises, once each.
class RisingProgress
{
public:
    explicit RisingProgress(const std::function<void(int)>& report)
        : m_report(report)
    {
    }

    void operator()(int percent)
    {
        percent = std::clamp(percent, 0, 100);
        if (percent <= m_last)
            return;
        m_last = percent;
        if (m_report)
            m_report(percent);
    }

private:
    std::function<void(int)> m_report;
    int m_last = -1;
};

ImportResult readGuarded(const ImportRequest& request)
{
    try {
        if (request.model_format == kFormat3mf)
            return ThreeMfImporter().read(request);
        return AssimpImporter().read(request);
    } catch (const std::bad_alloc&) {
        return failed(kNoMemory);
    } catch (const std::length_error&) {
        return failed(kNoMemory);
    } catch (const std::exception& error) {
        return failed(std::string("cannot be understood (") + error.what() + ")");
    } catch (...) {
        return failed("cannot be understood");
    }
}

} // namespace

ImportResult importModel(const ImportRequest& request)
{
    ImportRequest rising = request;
    rising.progress = RisingProgress(request.progress);
    ImportResult result;
    if (!runOnDeepStack(kImportStackBytes, [&] { result = readGuarded(rising); }))
        return failed(kNoMemory);
    return result;
}

} // namespace ov3d::renderer
