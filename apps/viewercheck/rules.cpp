#include "apps/viewercheck/rules.h"

#include <algorithm>
#include <array>

namespace ov3d::viewercheck {

namespace {

constexpr std::array<RuleText, kRuleCount> kTexts{{
    {"first-frame", "a first frame is drawn, and first_draw is set"},
    {"first-draw-order", "the first frame lies in the buffer when first_draw is set"},
    {"frame-order", "pixels and frame_height are written before frame_width"},
    {"frame-size", "a frame has the item's width and height"},
    {"row-padding", "rows are padded to a multiple of four bytes"},
    {"model-visible", "the picture shows the model"},
    {"key-colour", "what shows no model is exactly red 92, green 238, blue 20"},
    {"no-blend", "no edge is blended with the key colour"},
    {"key-free-model", "a model in the key colour does not vanish"},
    {"rest-twice", "a picture at rest is delivered twice"},
    {"progress-reported", "progress is reported"},
    {"progress-range", "progress rises from 0 to 95"},
    {"progress-unlocked", "a request returns while the progress callback runs"},
    {"progress-ends", "no progress is reported after the first draw"},
    {"null-progress", "a null progress callback is left alone"},
    {"file-list-form", "file_list is terminated and names files relative to the model's folder, with \"/\" and \"@\""},
    {"file-list-whole", "file_list holds whole names only, also when there are too many"},
    {"file-list-complete", "file_list names the model's side files"},
    {"file-list-early", "file_list is written before first_draw"},
    {"path-copied", "the path is copied at the start"},
    {"status-first", "scene_status is written before the first draw, its first sixteen doubles not all zero"},
    {"saved-view", "a start with a saved scene_status shows that view"},
    {"restore-exact", "operation 5 takes a scene_status over to the bit and shows its view"},
    {"rest-again-button-up", "the picture is delivered again after a button-up record"},
    {"rest-again-redraw", "the picture is delivered again after operation 3"},
    {"rest-again-restore", "the picture is delivered again after operation 5"},
    {"every-record", "every mouse record is survived, also a move or release without its press"},
    {"orbit", "a left drag changes the view"},
    {"view-type", "operation 4 with another view_type changes the view"},
    {"home", "operation 3 with reset_camera brings the home view back"},
    {"unknown-command", "a command of an unknown code is answered with 1 at once"},
    {"opaque-background", "with another bg_color no pixel comes within the key's tolerance"},
    {"opaque-sky", "with the sky on nothing shows the key colour"},
    {"size-change", "a new size without a call leads to a frame of that size"},
    {"absurd-size", "sizes that are zero, negative or huge for a moment are survived"},
    {"frame-capacity", "no frame exceeds the capacity of the start"},
    {"frame-untaken", "a frame that has not been taken is left alone"},
    {"unknown-address", "a request for an address without a viewer does nothing"},
    {"restart", "a start at an address that still has a viewer ends that one and draws"},
    {"two-items", "two items live side by side"},
    {"missing-model", "a missing model ends in a first frame"},
    {"damaged-model", "a damaged model ends in a first frame"},
    {"cut-path", "a path that fills all 256 bytes is refused, and ends in a first frame"},
    {"null-settings", "null settings pointers are survived"},
    {"stop-at-rest", "after a stop at rest nothing touches the context, the buffer or the blocks"},
    {"stop-busy", "after a stop in the middle of a picture nothing touches them"},
    {"stop-early", "after a stop before the first draw nothing touches them"},
    {"stop-callback", "no progress callback runs once the stop has returned"},
    {"stop-twice", "a second stop is survived"},
    {"start-returns", "the start call returns after the stop"},
    {"requests-return", "every request returns"},
    {"requests-prompt", "every request returns promptly"},
    {"status-writes", "scene_status is written before the first draw and inside requests only"},
    {"own-fields", "only the viewer's own fields of the context are written"},
    {"settings-untouched", "the settings blocks are left as they are"},
    {"hdr-path", "hdr_path is left alone"},
}};

} // namespace

const RuleText& textOf(Rule rule)
{
    return kTexts[static_cast<std::size_t>(rule)];
}

bool isRequired(Rule rule)
{
    return rule != Rule::nullSettings;
}

Findings::Findings()
    : m_findings(kRuleCount)
{
}

void Findings::add(Rule rule, Verdict verdict, const QString& text)
{
    if (verdict == Verdict::failed && !isRequired(rule))
        verdict = Verdict::advice;
    Finding& finding = m_findings[static_cast<std::size_t>(rule)];
    if (verdict > finding.verdict || (verdict == finding.verdict && finding.text.isEmpty()))
        finding = {verdict, text};
}

bool Findings::allHold() const
{
    return std::none_of(m_findings.begin(), m_findings.end(),
                        [](const Finding& finding) { return finding.verdict == Verdict::failed; });
}

} // namespace ov3d::viewercheck
