#pragma once

#include "src/render/viewcontext.h"

#include <optional>
#include <string>
#include <string_view>

namespace ov3d::session {

/// @return the text of a command; nothing when it has no terminating zero, that is, may have been cut short.
[[nodiscard]] std::optional<std::string> readCommandText(const ViewContext& context);

/// Without the blanks and tabs at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// Angles of an orbit, degrees.
struct OrbitStep
{
    double azimuth = 0;
    double elevation = 0;
};

/// Two decimal numbers with blanks between, "-30 12.5", whatever the locale. @return nothing for any other text.
[[nodiscard]] std::optional<OrbitStep> parseOrbitStep(std::string_view text);

} // namespace ov3d::session
