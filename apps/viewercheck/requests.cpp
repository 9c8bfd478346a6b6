/// What requests do: gestures, restored views, settings, commands.

#include "apps/viewercheck/scenarios.h"
#include "apps/viewercheck/testitem.h"
#include "src/render/handshake.h"

#include <cstring>

namespace ov3d::viewercheck {

namespace {

using OV3DOBJECT::SceneStatus;

constexpr Milliseconds kCommandAnswer{2000};
constexpr Milliseconds kAfterPress{300};
constexpr std::int32_t kUnknownCommand = 0x5eadbee;
constexpr int kDragDistance = 60;

bool isSame(const SceneStatus& one, const SceneStatus& other)
{
    return std::memcmp(&one, &other, sizeof one) == 0;
}

/// Starts with the plain model and waits for its picture. Empty: it did not come, and the rule was told.
std::optional<Frame> drawAtRest(Check& check, TestItem& item, Rule rule)
{
    item.setModel(check.models().plain);
    if (!item.startAndDraw())
        return std::nullopt;
    check.step(rule, "waiting for the picture at rest");
    Rest rest = item.awaitRest();
    return rest.frames.empty() ? std::nullopt : std::optional(std::move(rest.frames.back()));
}

} // namespace

void checkDelivery(Check& check)
{
    TestItem item(check);
    if (!drawAtRest(check, item, Rule::restAgainButtonUp))
        return;

    item.sendMouse(kMouseButtonDown, kWidth / 2, kHeight / 2, 1, 0);
    while (item.takeFrame(kAfterPress)) {
    }
    item.sendMouse(kMouseButtonUp, kWidth / 2, kHeight / 2, 1, 0);
    check.expect(item.takeFrame(check.limit()).has_value(), Rule::restAgainButtonUp, "no frame came after it");
    while (item.takeFrame(kAfterPress)) {
    }

    check.step(Rule::restAgainRedraw, "sending operation 3");
    item.sendSettings();
    check.expect(item.takeFrame(check.limit()).has_value(), Rule::restAgainRedraw, "no frame came after it");
    while (item.takeFrame(kAfterPress)) {
    }

    check.step(Rule::restAgainRestore, "sending operation 5");
    item.restore(SceneStatus(item.context().scene_status));
    check.expect(item.takeFrame(check.limit()).has_value(), Rule::restAgainRestore, "no frame came after it");
    item.judgeRun();
}

void checkRestore(Check& check)
{
    TestItem item(check);
    const auto picture = drawAtRest(check, item, Rule::restoreExact);
    if (!picture)
        return;
    const SceneStatus before = item.context().scene_status;
    item.drag(kDragDistance);
    const bool moved = !isSame(before, item.context().scene_status);
    check.suggest(moved, Rule::orbit, "scene_status is what it was before the drag");
    item.awaitRest();

    check.step(Rule::restoreExact, "sending operation 5");
    item.restore(before);
    const bool isExact = isSame(before, item.context().scene_status);
    if (!isExact)
        check.fail(Rule::restoreExact, "scene_status was changed by the request");
    const Rest rest = item.awaitRestOf([&](const Frame& frame) { return looksLike(frame, *picture); });
    if (isExact)
        check.expect(!rest.frames.empty(), Rule::restoreExact, "the picture is not the one of the restored view");
    item.judgeRun();
}

void checkSavedView(Check& check)
{
    SceneStatus saved;
    Frame picture;
    {
        TestItem item(check);
        if (!drawAtRest(check, item, Rule::savedView))
            return;
        item.drag(kDragDistance);
        saved = item.context().scene_status;
        Rest rest = item.awaitRest();
        if (rest.frames.empty()) {
            check.leaveUnchecked(Rule::savedView, "no picture came after a drag");
            return;
        }
        picture = std::move(rest.frames.back());
        item.stop();
    }
    TestItem item(check);
    item.setModel(check.models().plain);
    item.context().scene_status = saved;
    if (!item.startAndDraw())
        return;
    check.step(Rule::savedView, "looking at the saved view");
    const bool isExact = isSame(saved, item.context().scene_status);
    const Rest rest = item.awaitRestOf([&](const Frame& frame) { return looksLike(frame, picture); });
    if (check.expect(!rest.frames.empty(), Rule::savedView, "the picture is not the one of the saved view"))
        check.suggest(isExact, Rule::savedView, "scene_status is not the saved one to the bit after the first draw");
    item.judgeRun();
}

void checkRecords(Check& check)
{
    TestItem item(check);
    const auto picture = drawAtRest(check, item, Rule::everyRecord);
    if (!picture)
        return;
    const int x = kWidth / 2;
    const int y = kHeight / 2;

    check.step(Rule::everyRecord, "sending mouse records");
    item.sendMouse(kMouseDrag, x, y, 1, 0);
    item.sendMouse(kMouseButtonUp, x, y, 1, 0);
    struct Press
    {
        int button;
        int modifiers;
    };
    for (const Press press : {Press{1, 0}, {4, 0}, {1, 4}, {1, 1}, {1, 3}}) {
        item.sendMouse(kMouseButtonDown, x, y, press.button, press.modifiers);
        item.sendMouse(kMouseDrag, x + 9, y - 7, press.button, 0);
        item.sendMouse(kMouseDrag, -4000, 30000, press.button, 0);
        item.sendMouse(kMouseDrag, x, y, press.button, 0);
        item.sendMouse(kMouseButtonUp, x, y, 1, 0);
    }
    item.sendMouse(kMouseButtonDown, x, y, 1, 0); // a gesture whose release never comes
    for (const float step : {2.0F, -2.0F}) {
        item.sendMouse(kMouseWheel, x, y, 0, 0, kOperationInput, step);
        item.sendMouse(kMouseWheel, x, y, 0, 1, kOperationInput, step);
        item.sendMouse(kMouseWheel, x, y, 0, 1, kOperationApplyViewType, step);
    }
    item.sendMouse(kMouseButtonDown, x, y, 1, 4, kOperationApplyViewType);
    item.sendMouse(kMouseButtonUp, x, y, 1, 0);
    check.ok(Rule::everyRecord);

    check.step(Rule::viewType, "sending operation 4");
    item.awaitRest();
    const SceneStatus before = item.context().scene_status;
    item.blocks().view.view_type = 1;
    item.request(kOperationApplyViewType);
    check.suggest(!isSame(before, item.context().scene_status), Rule::viewType,
                  "view_type 1 leaves scene_status as it was");

    check.step(Rule::home, "sending operation 3 with reset_camera");
    item.blocks().view.view_type = 0;
    item.request(kOperationApplyViewType);
    item.blocks().view.reset_camera = true;
    item.sendSettings();
    item.blocks().view.reset_camera = false;
    const Rest rest = item.awaitRest();
    check.suggest(!rest.frames.empty() && looksLike(rest.last(), *picture), Rule::home,
                  "the picture is not the first one");
    item.judgeRun();
}

void checkCommand(Check& check)
{
    TestItem item(check);
    if (!drawAtRest(check, item, Rule::unknownCommand))
        return;
    item.setPathBytes(std::string(sizeof item.context().command_text, 'x'));
    storeRelease(item.context().result, -1);
    item.request(kUnknownCommand);
    const bool answered = waitUntil([&item] { return loadAcquire(item.context().result) != -1; }, kCommandAnswer);
    const std::int32_t result = loadAcquire(item.context().result);
    check.expect(result == 1, Rule::unknownCommand,
                 answered ? "result is " + std::to_string(result)
                          : "no answer within " + inMilliseconds(kCommandAnswer) + "; hosts wait a minute for it");
    item.judgeRun();
}

void checkBackgrounds(Check& check)
{
    TestItem item(check);
    if (!drawAtRest(check, item, Rule::opaqueBackground))
        return;
    const auto hasNoKey = [](const Frame& frame) { return !frame.isEmpty() && modelShare(frame) == 1; };

    const float blue[3] = {0.15F, 0.2F, 0.6F};
    std::memcpy(item.blocks().display.bg_color, blue, sizeof blue);
    item.sendSettings();
    check.expect(!item.awaitRestOf(hasNoKey).frames.empty(), Rule::opaqueBackground,
                 "with bg_color 0.15, 0.2, 0.6 the picture still has transparent pixels");

    check.step(Rule::opaqueSky, "switching the sky on");
    item.blocks().display = DisplaySettings{};
    item.blocks().display.enable_sky = true;
    item.sendSettings();
    const auto isOpaque = [](const Frame& frame) { return !frame.isEmpty() && modelShare(frame) > 0.999; };
    check.expect(!item.awaitRestOf(isOpaque).frames.empty(), Rule::opaqueSky,
                 "the key colour stands where the sky should be; with the sky on it is not made transparent");
    item.judgeRun();
}

} // namespace ov3d::viewercheck
