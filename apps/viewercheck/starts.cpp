/// Which address a call is for, and models that cannot be shown.

#include "apps/viewercheck/scenarios.h"
#include "apps/viewercheck/testitem.h"
#include "src/render/handshake.h"

#include <QFile>

#include <algorithm>
#include <cmath>

namespace ov3d::viewercheck {

namespace {

constexpr double kMostModelShare = 0.95; // of the pixels

/// A first frame must come, whatever it shows.
void checkUnshowable(Check& check, Rule rule, const QString& model, ModelFormat format)
{
    TestItem item(check);
    item.setModel(model, format);
    if (!item.startAndDraw(rule))
        return;
    check.ok(rule);
    item.take();
    item.judgeRun();
}

} // namespace

void checkUnknownAddress(Check& check)
{
    check.step(Rule::unknownAddress, "sending requests to an address without a viewer");
    TestItem item(check);
    item.setModel(check.models().plain);
    constexpr std::int32_t kRequests[] = {kOperationInput, kOperationRedraw, kOperationRestore, 4711, kOperationStop};
    for (const std::int32_t op : kRequests)
        item.request(op);
    std::string fault;
    for (const Access& access : item.accesses())
        if (access.isWrite)
            fault = "it wrote " + fieldAt(access.offset);
    check.expect(fault.empty(), Rule::unknownAddress, fault);
}

void checkRestart(Check& check)
{
    TestItem item(check);
    item.setModel(check.models().plain);
    if (!item.startAndDraw())
        return;
    check.step(Rule::restart, "starting again at the same address");
    item.awaitRest();
    item.setModel(check.models().textured);
    if (!item.startAndDraw(Rule::restart))
        return;
    const Rest rest = item.awaitRest();
    const bool ended = waitUntil([&item] { return item.hasPreviousReturned(); }, check.limit());
    if (check.expect(ended, Rule::restart,
                     "the first start call is still running " + inMilliseconds(check.limit()) +
                         " after the second one has drawn"))
        check.expect(!rest.frames.empty(), Rule::restart, "the second start delivered no picture");
    item.judgeRun();
}

void checkTwoItems(Check& check)
{
    TestItem one(check);
    TestItem other(check, 256, 256);
    one.setModel(check.models().plain);
    other.setModel(check.models().textured);
    if (!one.startAndDraw())
        return;
    if (!other.startAndDraw(Rule::twoItems))
        return;
    const Rest ofOne = one.awaitRest();
    const Rest ofOther = other.awaitRest();
    if (ofOne.frames.empty() || ofOther.frames.empty()) {
        check.fail(Rule::twoItems, "one of two items got no picture");
        return;
    }
    for (TestItem* item : {&one, &other}) {
        item->blocks().display.enable_sky = true;
        item->sendSettings();
        if (!item->takeFrame(check.limit())) {
            check.fail(Rule::twoItems, "an item got no more pictures after another one had been started");
            return;
        }
        item->awaitRest();
    }
    one.stop();
    other.blocks().display.enable_sky = false;
    other.sendSettings();
    check.expect(other.takeFrame(check.limit()).has_value(), Rule::twoItems,
                 "an item got no more pictures after another one had been stopped");
    other.judgeRun();
}

void checkMissingModel(Check& check)
{
    checkUnshowable(check, Rule::missingModel, check.models().missing, kFormatObj);
}

void checkDamagedModel(Check& check)
{
    checkUnshowable(check, Rule::damagedModel, check.models().damaged, kFormatGlb);
}

void checkCutPath(Check& check)
{
    const std::string path = QFile::encodeName(check.models().cutPath).toStdString();
    if (path.size() != sizeof ViewContext::model_path) {
        check.leaveUnchecked(Rule::cutPath, "the temporary folder's own path is too long");
        return;
    }
    double expected = 0;
    {
        TestItem item(check);
        item.setModel(check.models().plain);
        if (!item.startAndDraw())
            return;
        const Rest rest = item.awaitRest();
        if (rest.frames.empty())
            return;
        expected = modelShare(rest.last());
        item.stop();
    }
    if (expected > kMostModelShare) {
        check.leaveUnchecked(Rule::cutPath, "a model cannot be told from a card by its background");
        return;
    }
    TestItem item(check);
    item.setPathBytes(path);
    item.context().model_format = kFormatObj;
    if (!item.startAndDraw(Rule::cutPath))
        return;
    const Rest rest = item.awaitRest();
    const double share = rest.frames.empty() ? 1 : modelShare(rest.last());
    check.expect(std::abs(share - expected) > 0.001, Rule::cutPath,
                 "the model was shown whose name is the cut path: it may be another one than was meant");
    item.judgeRun();
}

void checkNullSettings(Check& check)
{
    TestItem item(check);
    item.setModel(check.models().plain);
    ViewContext& context = item.context();
    context.view_settings = nullptr;
    context.display_settings = nullptr;
    context.material_settings = nullptr;
    context.lighting_settings = nullptr;
    context.camera_settings = nullptr;
    if (!item.startAndDraw(Rule::nullSettings))
        return;
    item.take();
    item.sendSettings();
    item.request(kOperationInput);
    check.ok(Rule::nullSettings);
    item.judgeRun();
}

} // namespace ov3d::viewercheck
