/// Everything up to the first picture at rest: files, progress, order, colours.

#include "apps/viewercheck/progresslog.h"
#include "apps/viewercheck/scenarios.h"
#include "apps/viewercheck/testitem.h"
#include "src/render/handshake.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <cstring>

#include <unistd.h>

namespace ov3d::viewercheck {

namespace {

constexpr Milliseconds kHold{3000}; // how long the callback waits for a request to return
constexpr Milliseconds kLateProgress{300};
constexpr double kLeastModelShare = 0.005; // of the pixels

std::string words(const Pixel& pixel)
{
    return std::to_string(pixel.red) + ", " + std::to_string(pixel.green) + ", " + std::to_string(pixel.blue);
}

/// The names in file_list, or nothing when it has no end.
std::optional<QStringList> namesIn(const ViewContext& context)
{
    const std::size_t length = strnlen(context.file_list, sizeof context.file_list);
    if (length == sizeof context.file_list)
        return std::nullopt;
    return QString::fromUtf8(context.file_list, static_cast<int>(length)).split(QLatin1Char('@'), Qt::SkipEmptyParts);
}

std::string faultOfName(const QString& name)
{
    const std::string quoted = QStringLiteral("\"%1\" ").arg(name).toStdString();
    if (name.startsWith(QLatin1Char('/')) || (name.size() > 1 && name[1] == QLatin1Char(':')))
        return quoted + "is not relative to the model's folder";
    if (name.contains(QLatin1Char('\\')))
        return quoted + "contains a backslash";
    if (name.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return quoted + "leaves the model's folder";
    return {};
}

void judgeFileList(Check& check, TestItem& item)
{
    const TestModels& models = check.models();
    const std::optional<QStringList> names = namesIn(item.context());
    if (!check.expect(names.has_value(), Rule::fileListForm, "it has no zero byte at its end"))
        return;
    for (const QString& name : *names)
        if (const std::string fault = faultOfName(name); !fault.empty())
            check.fail(Rule::fileListForm, fault);
    // Wrongly written names say enough; the file itself has been named then.
    const bool hasTexture = std::any_of(names->begin(), names->end(), [&models](const QString& name) {
        return name == models.texture || !faultOfName(name).empty();
    });
    if (check.expect(hasTexture, Rule::fileListComplete,
                     "the model's texture " + models.texture.toStdString() + " is not in it: \"" +
                         std::string(item.context().file_list) + "\""))
        check.suggest(names->contains(models.materialLibrary), Rule::fileListComplete,
                      "the material library " + models.materialLibrary.toStdString() + " is not in it");
}

void judgeColours(Check& check, const Frame& frame)
{
    const double share = modelShare(frame);
    check.expect(share > kLeastModelShare, Rule::modelVisible, "the picture shows nothing but background");
    const Pixel corner = frame.at(0, 0);
    const double exact = shareOf(frame, isExactKey);
    const double near = shareOf(frame, isNearKey);
    check.expect(isExactKey(corner) && exact >= near, Rule::keyColour,
                 isExactKey(corner) ? "some pixels are within the key's tolerance but not exact"
                                    : "the upper left corner is " + words(corner));
    check.expect(shareOf(frame, isGreenish) == 0, Rule::noBlend,
                 "some pixels are a mixture of the key colour and the model's");
}

void judgeProgress(Check& check)
{
    const std::vector<ProgressCall> calls = progressCalls();
    check.suggest(!calls.empty(), Rule::progressReported, "no progress was reported");
    std::string fault;
    int before = 0;
    for (const ProgressCall& call : calls) {
        if (call.percent < 0 || call.percent > 95)
            fault = std::to_string(call.percent) + " was reported";
        else if (call.percent < before)
            fault = std::to_string(call.percent) + " was reported after " + std::to_string(before);
        before = call.percent;
    }
    check.expect(fault.empty(), Rule::progressRange, fault);
}

void judgeProgressEnd(Check& check)
{
    const std::vector<ProgressCall> calls = progressCalls();
    const bool late =
        std::any_of(calls.begin(), calls.end(), [](const ProgressCall& call) { return call.afterFirstDraw; });
    check.expect(!late, Rule::progressEnds, "the callback was called after first_draw had been set");
}

void judgeFirstDraw(Check& check, TestItem& item)
{
    std::string order;
    std::string early;
    for (const Access& access : item.accesses()) {
        if (writesInto(access, offsetof(ViewContext, first_draw), 1) && access.frameWidth == kNoFrame)
            order = "first_draw was set while no frame lay in the buffer";
        if (writesInto(access, offsetof(ViewContext, file_list), sizeof item.context().file_list) && access.firstDraw)
            early = "it was written after first_draw had been set";
    }
    check.expect(order.empty(), Rule::firstDrawOrder, order);
    check.expect(early.empty(), Rule::fileListEarly, early);
}

} // namespace

void checkFirstPicture(Check& check)
{
    TestItem item(check);
    item.setModel(check.models().textured);
    setFirstDrawQuery([&item] { return item.hasFirstDraw(); });
    if (!item.startAndDraw())
        return;
    check.ok(Rule::firstFrame);
    check.step(Rule::restTwice, "waiting for the picture at rest");

    const double* matrix = item.context().scene_status.camera_to_world;
    check.expect(std::any_of(matrix, matrix + 16, [](double value) { return value != 0; }), Rule::statusFirst,
                 "its first sixteen doubles are all zero after the first draw, so that it would not count as a saved "
                 "view");
    judgeFileList(check, item);
    judgeProgress(check);

    const Rest rest = item.awaitRest();
    check.expect(rest.twice, Rule::restTwice, "it came once, and not again within " + inMilliseconds(check.limit()));
    judgeFirstDraw(check, item);
    const Frame& frame = rest.last();
    if (check.expect(frame.width == kWidth && frame.height == kHeight, Rule::frameSize,
                     "a frame of " + std::to_string(frame.width) + " x " + std::to_string(frame.height) +
                         " came for an item of 320 x 240"))
        judgeColours(check, frame);
    pause(kLateProgress);
    judgeProgressEnd(check);
    item.judgeRun();
}

void checkFrameOrder(Check& check)
{
    TestItem item(check);
    item.setModel(check.models().plain);
    // The first access to each page shows whether its pixels came before the width.
    item.bufferMemory().protect(WatchedMemory::Protection::readOnly);
    if (!item.startAndDraw())
        return;
    check.step(Rule::frameOrder, "looking at the first frame");
    pause(Milliseconds(100));

    std::int64_t widthWritten = 0;
    bool heightBefore = false;
    bool heightAfter = false;
    for (const Access& access : item.accesses()) {
        if (widthWritten == 0 && writesInto(access, offsetof(ViewContext, frame_width), 4))
            widthWritten = access.nanoseconds;
        if (writesInto(access, offsetof(ViewContext, frame_height), 4))
            (widthWritten == 0 ? heightBefore : heightAfter) = true;
    }
    std::size_t pagesBefore = 0;
    std::size_t pagesAfter = 0;
    for (const Access& access : item.bufferMemory().accesses())
        if (access.isWrite)
            ++(access.nanoseconds < widthWritten ? pagesBefore : pagesAfter);

    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t pages =
        (Frame::sizeInBytes(item.context().frame_width, item.context().frame_height) + page - 1) / page;
    if (pagesBefore + pagesAfter == 0)
        check.leaveUnchecked(Rule::frameOrder, "the pixels do not come from the processor");
    else if (heightAfter && !heightBefore)
        check.fail(Rule::frameOrder, "frame_height was written after frame_width");
    else
        check.expect(pagesAfter == 0 || pagesBefore >= pages, Rule::frameOrder,
                     "pixels were written after frame_width");
    item.take();
    item.judgeRun();
}

void checkKeyFreeModel(Check& check)
{
    double shares[2] = {};
    for (const bool isKeyGreen : {false, true}) {
        TestItem item(check);
        item.setModel(isKeyGreen ? check.models().keyGreen : check.models().plain);
        // The file's own colours, without light.
        item.blocks().material.raw_mode = true;
        item.blocks().lighting.hdr_map = false;
        if (!item.startAndDraw())
            return;
        check.step(Rule::keyFreeModel, "looking at a model in the key colour");
        const Rest rest = item.awaitRest();
        if (rest.frames.empty())
            return;
        shares[isKeyGreen ? 1 : 0] = modelShare(rest.last());
        item.stop();
        item.judgeRun();
    }
    if (shares[0] < kLeastModelShare)
        check.leaveUnchecked(Rule::keyFreeModel, "no model can be seen in any colour");
    else
        check.expect(shares[1] > 0.9 * shares[0], Rule::keyFreeModel,
                     "a model in exactly the key colour is transparent; move its colour out of the tolerance");
}

void checkManyFiles(Check& check)
{
    TestItem item(check);
    item.setModel(check.models().manyFiles);
    if (!item.startAndDraw())
        return;
    check.step(Rule::fileListWhole, "reading file_list");
    const std::optional<QStringList> names = namesIn(item.context());
    if (!check.expect(names.has_value(), Rule::fileListWhole, "it has no zero byte at its end"))
        return;
    for (const QString& name : *names)
        if (!QFileInfo(check.models().folder + QLatin1Char('/') + name).isFile() && faultOfName(name).empty())
            check.fail(Rule::fileListWhole, "it names \"" + name.toStdString() + "\", which is no file of the model");
    item.take();
    item.judgeRun();
}

void checkPathCopied(Check& check)
{
    Frame expected;
    {
        TestItem item(check);
        item.setModel(check.models().plain);
        if (!item.startAndDraw())
            return;
        const Rest rest = item.awaitRest();
        if (rest.frames.empty())
            return;
        expected = rest.last();
        item.stop();
    }
    TestItem item(check);
    item.setModel(check.models().plain);
    const auto overwrite = [&item] { item.setPathBytes("a command's text where the path was"); };
    setProgressHook(overwrite);
    if (!item.startAndDraw(Rule::pathCopied))
        return;
    setProgressHook({});
    Rest rest = item.awaitRest();
    overwrite();
    item.sendSettings();
    if (Rest again = item.awaitRest(); !again.frames.empty())
        rest = std::move(again);
    check.expect(!rest.frames.empty() && looksLike(rest.last(), expected), Rule::pathCopied,
                 "the model was not drawn after a command's text had overwritten the path");
    item.judgeRun();
}

void checkProgressUnlocked(Check& check)
{
    // Shared with a callback that may outlive this function.
    struct Hold
    {
        std::atomic<bool> entered = false;
        std::atomic<bool> returned = false;
        std::atomic<bool> tooLong = false;
    };
    const auto hold = std::make_shared<Hold>();
    setProgressHook([hold] {
        if (hold->entered.exchange(true))
            return;
        hold->tooLong = !waitUntil([&hold] { return hold->returned.load(); }, kHold);
    });
    TestItem item(check);
    item.setModel(check.models().textured);
    check.step(Rule::progressUnlocked, "sending a request while the progress callback runs");
    item.start();
    if (waitUntil([&] { return hold->entered || item.hasFirstDraw(); }, check.limit()) && hold->entered) {
        item.request(kOperationInput);
        hold->returned = true;
        check.expect(!hold->tooLong, Rule::progressUnlocked,
                     "a request waited for the progress callback to return: call it without a lock");
    } else {
        check.leaveUnchecked(Rule::progressUnlocked, "no progress was reported");
    }
    if (!waitUntil([&] { return item.hasFirstDraw(); }, check.limit()))
        check.fail(Rule::firstFrame, "no first frame after a request during the load");
    item.judgeRun();
}

void checkNullProgress(Check& check)
{
    TestItem item(check);
    item.setModel(check.models().plain);
    item.context().progress_callback = nullptr;
    if (item.startAndDraw(Rule::nullProgress)) {
        check.ok(Rule::nullProgress);
        item.judgeRun();
    }
}

} // namespace ov3d::viewercheck
