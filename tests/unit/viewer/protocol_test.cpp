#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/protocol/channel.h"
#include "viewer/protocol/framememory.h"
#include "viewer/protocol/messages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <limits>
#include <random>

using namespace ov3d::protocol;
using std::chrono::milliseconds;

namespace {

RenderRequest sampleRender()
{
    RenderRequest request;
    request.serial = 0x1122334455667788;
    request.width = 1281;
    request.height = 961;
    request.tile = {1280, 960, 4096, 3072};
    request.quality = Quality::draft;
    for (int i = 0; i < 16; ++i)
        request.status.camera_to_world[i] = 0.1 * i;
    request.status.sun_direction[2] = -1e-300;
    request.settings.enable_sky = true;
    request.settings.bg_color[1] = 0.25f;
    request.settings.wireframe = true;
    request.settings.sun_color[2] = 0.5f;
    request.settings.sun_enabled = false;
    request.settings.hdr_path = "/a folder/day.hdr";
    return request;
}

std::vector<Request> sampleRequests()
{
    return {LoadRequest{"/models/\xC3\xA4 %20.glb", kFormatGlb, true, true, 123456789012345ULL}, sampleRender()};
}

std::vector<Answer> sampleAnswers()
{
    Loaded loaded;
    loaded.centre[1] = -3.5;
    loaded.radius = 17;
    loaded.box_max[2] = 4;
    loaded.triangles = 1ULL << 40;
    loaded.materials = 3;
    loaded.textures = 2;
    loaded.files = {"a/b.png", "", "c.bin"};
    loaded.missing = {"lost.png"};
    loaded.notes = {"one", "two"};
    return {Ready{"llvmpipe"}, Progress{42}, loaded, Rendered{7, 640, 480, "without the sky"}, Failed{"It is empty."}};
}

} // namespace

class ProtocolTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void loadRequestSurvivesTheRoundTrip()
    {
        const auto bytes = encode(sampleRequests()[0]);
        Request request;
        QVERIFY(decode(bytes.data(), bytes.size(), request));
        const auto& load = std::get<LoadRequest>(request);
        QCOMPARE(load.path, std::string("/models/\xC3\xA4 %20.glb"));
        QCOMPARE(load.model_format, static_cast<std::int32_t>(kFormatGlb));
        QVERIFY(load.without_textures && load.list_only);
        QCOMPARE(load.max_frame_bytes, std::uint64_t{123456789012345ULL});
    }

    void renderRequestSurvivesTheRoundTrip()
    {
        const RenderRequest expected = sampleRender();
        const auto bytes = encode(Request(expected));
        Request request;
        QVERIFY(decode(bytes.data(), bytes.size(), request));
        const auto& render = std::get<RenderRequest>(request);
        QCOMPARE(render.serial, expected.serial);
        QCOMPARE(render.width, expected.width);
        QCOMPARE(render.height, expected.height);
        QCOMPARE(render.tile, expected.tile);
        QVERIFY(render.quality == Quality::draft);
        QCOMPARE(std::memcmp(&render.status, &expected.status, sizeof expected.status), 0);
        QVERIFY(render.settings == expected.settings);
    }

    void answersSurviveTheRoundTrip()
    {
        for (const Answer& sample : sampleAnswers()) {
            const auto bytes = encode(sample);
            Answer answer;
            QVERIFY(decode(bytes.data(), bytes.size(), answer));
            QCOMPARE(answer.index(), sample.index());
            QVERIFY2(encode(answer) == bytes, "a decoded answer encodes to the same bytes");
        }
        const auto bytes = encode(sampleAnswers()[2]);
        Answer answer;
        QVERIFY(decode(bytes.data(), bytes.size(), answer));
        const auto& loaded = std::get<Loaded>(answer);
        QCOMPARE(loaded.centre[1], -3.5);
        QCOMPARE(loaded.triangles, std::uint64_t{1} << 40);
        QCOMPARE(loaded.files.size(), std::size_t{3});
        QCOMPARE(loaded.files[0], std::string("a/b.png"));
        QCOMPARE(loaded.missing[0], std::string("lost.png"));
        QCOMPARE(loaded.notes[1], std::string("two"));
    }

    void boundsThatAreNoNumbersAreNotFinite()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        QVERIFY(isFinite(Loaded{}));
        for (double(Loaded::*member)[3] : {&Loaded::centre, &Loaded::box_min, &Loaded::box_max}) {
            Loaded loaded;
            (loaded.*member)[1] = nan;
            QVERIFY(!isFinite(loaded));
        }
        Loaded loaded;
        loaded.radius = std::numeric_limits<double>::infinity();
        QVERIFY(!isFinite(loaded));
        loaded.radius = -1;
        QVERIFY(!isFinite(loaded));
    }

    void messageCutAnywhereIsRefused()
    {
        for (const Request& sample : sampleRequests()) {
            const auto bytes = encode(sample);
            for (std::size_t size = 0; size < bytes.size(); ++size) {
                const std::vector<std::uint8_t> part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
                Request request;
                QVERIFY(!decode(part.data(), part.size(), request));
            }
        }
        for (const Answer& sample : sampleAnswers()) {
            const auto bytes = encode(sample);
            for (std::size_t size = 0; size < bytes.size(); ++size) {
                const std::vector<std::uint8_t> part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
                Answer answer;
                QVERIFY(!decode(part.data(), part.size(), answer));
            }
        }
    }

    void messageWithBytesLeftOverIsRefused()
    {
        for (const Answer& sample : sampleAnswers()) {
            auto bytes = encode(sample);
            bytes.push_back(0);
            Answer answer;
            QVERIFY(!decode(bytes.data(), bytes.size(), answer));
        }
    }

    void hugeLengthsAreRefusedBeforeMemoryIsTaken()
    {
        // A list that claims four thousand million texts, and a text that claims four gigabytes.
        std::vector<std::uint8_t> bytes = encode(Answer(Loaded{}));
        const std::size_t lists = bytes.size() - 12;
        std::memset(bytes.data() + lists, 0xff, 4);
        Answer answer;
        QVERIFY(!decode(bytes.data(), bytes.size(), answer));
        bytes = encode(Answer(Failed{}));
        std::memset(bytes.data() + 4, 0xff, 4);
        QVERIFY(!decode(bytes.data(), bytes.size(), answer));
    }

    void unknownKindsAndBadFlagsAreRefused()
    {
        const std::uint8_t unknown[] = {5, 0, 0, 0};
        Answer answer;
        QVERIFY(!decode(unknown, sizeof unknown, answer));
        auto bytes = encode(Request(LoadRequest{}));
        bytes[4 + 4 + 4] = 2; // without_textures
        Request request;
        QVERIFY(!decode(bytes.data(), bytes.size(), request));
        bytes = encode(Request(RenderRequest{}));
        bytes[4 + 8 + 4 + 4 + sizeof(Tile)] = 9; // quality
        QVERIFY(!decode(bytes.data(), bytes.size(), request));
    }

    void randomBytesNeverDoHarm()
    {
        std::mt19937 random(20260101);
        const auto answers = sampleAnswers();
        const auto requests = sampleRequests();
        int good = 0;
        for (int round = 0; round < 20000; ++round) {
            std::vector<std::uint8_t> bytes =
                round % 2 ? encode(answers[random() % answers.size()]) : encode(requests[random() % requests.size()]);
            const int changes = 1 + static_cast<int>(random() % 4);
            for (int i = 0; i < changes; ++i)
                bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
            Answer answer;
            Request request;
            if (decode(bytes.data(), bytes.size(), answer))
                good += encode(answer) == bytes ? 1 : 0;
            if (decode(bytes.data(), bytes.size(), request))
                good += encode(request) == bytes ? 1 : 0;
        }
        QVERIFY2(good > 0, "changed numbers are still messages, and keep their bytes");
    }

    void channelCarriesWholeMessagesInOrder()
    {
        ChannelPair pair = makeChannelPair();
        QVERIFY(pair.here.isOpen() && pair.there.isOpen());
        const std::vector<std::uint8_t> longest(kMaxMessageBytes, 7);
        QVERIFY(pair.here.send({1, 2, 3}));
        QVERIFY(pair.here.send(longest));
        std::vector<std::uint8_t> message;
        int attached = 0;
        QVERIFY(pair.there.receive(message, attached, milliseconds(1000)) == Channel::Outcome::message);
        QVERIFY((message == std::vector<std::uint8_t>{1, 2, 3}));
        QCOMPARE(attached, -1);
        QVERIFY(pair.there.receive(message, attached, milliseconds(1000)) == Channel::Outcome::message);
        QVERIFY(message == longest);
    }

    void channelRefusesWhatIsTooLongOrEmpty()
    {
        ChannelPair pair = makeChannelPair();
        QVERIFY(!pair.here.send(std::vector<std::uint8_t>(kMaxMessageBytes + 1)));
        QVERIFY(!pair.here.send({}));
    }

    void channelTellsSilenceFromTheEnd()
    {
        ChannelPair pair = makeChannelPair();
        std::vector<std::uint8_t> message;
        int attached = -1;
        QVERIFY(pair.here.receive(message, attached, milliseconds(20)) == Channel::Outcome::timeout);
        pair.there.close();
        QVERIFY(pair.here.receive(message, attached, milliseconds(1000)) == Channel::Outcome::closed);
        // Would end the process by SIGPIPE if the channel did not hold it back.
        QVERIFY(!pair.here.send({1}));
    }

    void frameMemoryIsSharedThroughTheChannelAndCannotChangeItsSize()
    {
        ChannelPair pair = makeChannelPair();
        const FrameMemory memory = FrameMemory::create(100000);
        QVERIFY(memory.isOpen());
        QVERIFY(pair.here.send({1}, memory.descriptor()));
        std::vector<std::uint8_t> message;
        int attached = -1;
        QVERIFY(pair.there.receive(message, attached, milliseconds(1000)) == Channel::Outcome::message);
        QVERIFY(attached >= 0);
        QVERIFY2(fcntl(attached, F_GETFD) & FD_CLOEXEC, "no child of the host's inherits it");
        QVERIFY(ftruncate(attached, 10) != 0);
        QVERIFY(ftruncate(attached, 200000) != 0);
        const FrameMemory other = FrameMemory::map(attached, 100000);
        QVERIFY(other.isOpen());
        other.data()[99999] = 77;
        QCOMPARE(memory.data()[99999], std::uint8_t{77});
    }

    void frameMemoryShorterThanAnnouncedIsNotMapped()
    {
        const FrameMemory memory = FrameMemory::create(4096);
        QVERIFY(!FrameMemory::map(fcntl(memory.descriptor(), F_DUPFD_CLOEXEC, 0), 4097).isOpen());
        QVERIFY(!FrameMemory::map(-1, 10).isOpen());
        QVERIFY(!FrameMemory::create(0).isOpen());
    }

    void rowsArePaddedToFourBytes()
    {
        QCOMPARE(rowBytes(1), std::uint64_t{4});
        QCOMPARE(rowBytes(4), std::uint64_t{12});
        QCOMPARE(rowBytes(5), std::uint64_t{16});
        QCOMPARE(rowBytes(2000000000), std::uint64_t{6000000000});
    }
};

OV3D_TEST_MAIN(ProtocolTest)
#include "protocol_test.moc"
