/// Sizes, capacity, and the hand-shake of frames.

#include "apps/viewercheck/scenarios.h"
#include "apps/viewercheck/testitem.h"
#include "src/render/handshake.h"

#include <algorithm>
#include <cstring>

namespace ov3d::viewercheck {

namespace {

constexpr int kUnevenWidth = 201; // a row of 603 bytes, padded to 604
constexpr int kUnevenHeight = 150;
constexpr std::uint8_t kUntouched = 0xa5;
constexpr Milliseconds kMoment{120};
constexpr Milliseconds kLeftLying{700};

bool drawAtRest(Check& check, TestItem& item, Rule rule)
{
    item.setModel(check.models().plain);
    if (!item.startAndDraw())
        return false;
    check.step(rule, "waiting for the picture at rest");
    return !item.awaitRest().frames.empty();
}

std::string words(int width, int height)
{
    return std::to_string(width) + " x " + std::to_string(height);
}

} // namespace

void checkSizes(Check& check)
{
    TestItem item(check);
    if (!drawAtRest(check, item, Rule::sizeChange))
        return;
    WatchedMemory& buffer = item.bufferMemory();
    std::memset(buffer.host(), kUntouched, buffer.size());
    item.setSize(kUnevenWidth, kUnevenHeight);
    const Rest uneven = item.awaitRestOf([](const Frame& frame) {
        return frame.width == kUnevenWidth && frame.height == kUnevenHeight && !frame.isEmpty();
    });
    if (check.expect(!uneven.frames.empty(), Rule::sizeChange,
                     "no frame of " + words(kUnevenWidth, kUnevenHeight) + " came after the size had changed to it")) {
        // Rows without padding end before the last padded pixel.
        const Pixel last = uneven.last().at(kUnevenWidth - 1, kUnevenHeight - 1);
        const bool isUntouched = last.red == kUntouched && last.green == kUntouched && last.blue == kUntouched;
        check.expect(!isUntouched, Rule::rowPadding, "the rows of a frame 201 pixels wide are not padded to 604 bytes");
    }

    check.step(Rule::absurdSize, "setting absurd sizes");
    constexpr int kAbsurd[][2] = {{0, 0}, {-5, 7}, {320, 0}, {100000000, 3}, {2000000000, 2000000000}};
    for (const auto& size : kAbsurd) {
        item.setSize(size[0], size[1]);
        item.sendSettings();
        item.takeFrame(kMoment);
    }
    item.setSize(kWidth, kHeight);
    item.sendSettings();
    const Rest rest = item.awaitRestOf(
        [](const Frame& frame) { return frame.width == kWidth && frame.height == kHeight && !frame.isEmpty(); });
    // Whoever does not follow sizes at all has been told.
    check.expect(!rest.frames.empty() || uneven.frames.empty(), Rule::absurdSize,
                 "no frame of 320 x 240 came after that");
    item.judgeRun();
}

void checkCapacity(Check& check)
{
    TestItem item(check);
    if (!drawAtRest(check, item, Rule::frameCapacity))
        return;
    const std::size_t capacity = item.bufferMemory().size();
    item.setSize(2 * kWidth, 2 * kHeight);
    const Rest rest = item.awaitRest();
    std::string fault;
    for (const Frame& frame : rest.frames)
        if (const std::size_t bytes = Frame::sizeInBytes(frame.width, frame.height); bytes > capacity)
            fault = "a frame of " + words(frame.width, frame.height) + " has " + std::to_string(bytes) +
                    " bytes, the buffer " + std::to_string(capacity);
    for (const Access& access : item.bufferMemory().accesses())
        if (access.offset >= static_cast<std::ptrdiff_t>(capacity) || access.offset < 0)
            fault = "memory outside of the buffer was written, byte " + std::to_string(access.offset) + " of " +
                    std::to_string(capacity);
    if (check.expect(fault.empty(), Rule::frameCapacity, fault)) {
        const bool isLarge = !rest.frames.empty() && 2 * rest.last().bytes.size() > capacity;
        check.suggest(isLarge, Rule::frameCapacity,
                      "an item that has outgrown its buffer gets a picture much smaller than the largest that fits");
    }
    item.judgeRun();
}

void checkUntakenFrame(Check& check)
{
    TestItem item(check);
    if (!drawAtRest(check, item, Rule::frameUntaken))
        return;
    const auto changeBackground = [&item](float red) {
        item.blocks().display.bg_color[0] = red;
        item.sendSettings();
    };
    changeBackground(0.6F);
    if (!item.look(check.limit())) {
        check.leaveUnchecked(Rule::frameUntaken, "no frame came");
        return;
    }
    const std::size_t bufferMark = item.bufferMemory().mark();
    const std::size_t contextMark = item.contextMemory().mark();
    changeBackground(0.9F);
    item.setSize(kUnevenWidth, kUnevenHeight);
    pause(kLeftLying);

    std::string fault;
    const auto later = [](const WatchedMemory& memory, std::size_t mark) {
        std::vector<Access> accesses = memory.accesses();
        accesses.erase(accesses.begin(), accesses.begin() + static_cast<std::ptrdiff_t>(mark));
        return accesses;
    };
    for (const Access& access : later(item.bufferMemory(), bufferMark))
        if (access.isWrite)
            fault = "pixels were written while a frame lay in the buffer";
    for (const Access& access : later(item.contextMemory(), contextMark))
        if (writesInto(access, offsetof(ViewContext, frame_width), 8))
            fault = fieldAt(access.offset) + " was written while a frame lay in the buffer";
    item.take();
    if (fault.empty() && !item.takeFrame(check.limit()))
        fault = "no other frame came after it had been taken";
    check.expect(fault.empty(), Rule::frameUntaken, fault);
    item.judgeRun();
}

} // namespace ov3d::viewercheck
