// Hunted here: a device that refuses, takes nothing, or does not know its length, of which nobody hears; bytes that are
// lost then; parts of such devices.
#include <tests/support/memoryfiles.h>

#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamreader.h>
#include <zelk_core/streams/streamwriter.h>
#include <zelk_core/streams/substream.h>

namespace {

using namespace Z4;

enum Fault {
    NONE,
    REFUSES,
    TAKES_NOTHING,
    KNOWS_NO_LENGTH
};

/// As users derive them.
class Device final : public BufferedStream {
public:
    explicit Device(std::uint32_t bufferSize, unsigned abilities = CAN_READ | CAN_WRITE | CAN_SEEK | HAS_LENGTH)
        : BufferedStream(abilities, bufferSize) {}
    ~Device() override { CloseAtEnd(); }

    std::string content = "0123456789";
    Fault fault = NONE;

private:
    Error ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override {
        done = static_cast<std::uint32_t>(content.copy(
            static_cast<char*>(buffer), size, std::min<std::size_t>(content.size(), static_cast<std::size_t>(offset))));
        return ERR_OK;
    }
    Error WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override {
        if (fault == NONE) {
            ZelkTest::Overwrite(content, offset, data, size);
            done = size;
        }
        return fault == REFUSES ? ERR_TIMEOUT : ERR_OK;
    }
    Error DeviceLength(std::uint64_t& length) override {
        length = content.size();
        return fault == KNOWS_NO_LENGTH ? ERR_EAL_SPECIFIC : ERR_OK;
    }
};

TEST(OwnDevice, NothingIsLostWhereItRefuses) {
    static char buffer[10];
    static std::uint32_t ready;
    const ZelkTest::LogCapture quiet(0);
    bool (*const operations[])(Device&) = {
        [](Device& device) { return device.ReadExactly(buffer, 10); },
        [](Device& device) { return device.ReadExactly(buffer, 1); },
        [](Device& device) { return device.Peek(ready) != nullptr; },
        [](Device& device) { return device.Skip(5); },
        [](Device& device) { return device.Seek(0, SEEK_FROM_BEGIN); },
        [](Device& device) { return device.Sync(); },
        [](Device& device) { return device.Write("0123456789", 10); },
    };
    for (const Fault fault : {REFUSES, TAKES_NOTHING}) {
        const Error expected = fault == REFUSES ? ERR_TIMEOUT : ERR_OUT_OF_RESOURCES;
        for (const auto& operation : operations) {
            Device device(8);
            EXPECT_TRUE(device.Write("abc", 3));
            device.fault = fault;
            EXPECT_FALSE(operation(device)) << &operation - operations;
            EXPECT_EQ(device.GetError(), expected) << &operation - operations;
            device.fault = NONE;
            device.ClearError();
            EXPECT_TRUE(device.Flush());
            EXPECT_EQ(device.content.substr(0, 3), "abc");
        }
        for (const std::uint32_t bufferSize : {0u, 8u}) {
            Device patched(bufferSize);
            StreamWriter writer(patched, LITTLE_ENDIAN_ORDER);
            EXPECT_TRUE(writer.Write(1.0) && patched.Flush());
            patched.fault = fault;
            EXPECT_FALSE(writer.Patch<std::uint32_t>(0, 1));
        }
    }
}

TEST(OwnDevice, LengthsThatAreNotKnownAreErrors) {
    Device device(8);
    device.fault = KNOWS_NO_LENGTH;
    const auto expectError = [&](bool isDone) {
        EXPECT_FALSE(isDone);
        EXPECT_EQ(device.GetError(), ERR_EAL_SPECIFIC);
        device.ClearError();
    };
    std::uint64_t length = 1;
    expectError(device.GetLength(length));
    EXPECT_EQ(length, 0u);
    expectError(device.Seek(0, SEEK_FROM_END));
    expectError(device.Skip(3));
    ZelkString text;
    expectError(StreamReader(device, LITTLE_ENDIAN_ORDER).ReadString(text, 0xFFFFFFFF));
}

TEST(OwnDevice, PartsHaveTheErrorsOfTheWhole) {
    const ZelkTest::LogCapture quiet(0);
    Device whole(8, Stream::CAN_READ | Stream::CAN_WRITE | Stream::CAN_SEEK);
    SubStream part(whole, 2, 4);
    char text[11] = {};
    EXPECT_EQ(part.Read(text, 10), 4u);
    EXPECT_STREQ(text, "2345");
    EXPECT_TRUE(part.Seek(9, SEEK_FROM_BEGIN) && part.Write("x", 1));
    EXPECT_FALSE(part.Flush());
    EXPECT_EQ(part.GetError(), ERR_OVERFLOW) << "beyond its end";
    SubStream reader(whole, 2, 4);
    SubStream writer(whole, 2, 4);
    EXPECT_TRUE(writer.Write("abc", 3));
    whole.Fail(ERR_TIMEOUT);
    EXPECT_TRUE(reader.IsAtEnd() && reader.GetError() == ERR_TIMEOUT);
    EXPECT_TRUE(!writer.Flush() && writer.GetError() == ERR_TIMEOUT);
    whole.ClearError();
    writer.ClearError();
    whole.fault = REFUSES;
    EXPECT_TRUE(writer.Flush() && writer.Seek(0, SEEK_FROM_BEGIN)) << "into the buffer of the whole";
    EXPECT_FALSE(writer.Write("0123456789", 10) && writer.Flush());
    whole.fault = NONE;
    whole.ClearError();
}

TEST(OwnDevice, WhoHasHeardOfAnErrorNeedsNoMessage) {
    const ZelkTest::LogCapture log;
    Device(8).Fail(ERR_INVALID);
    log.ExpectOnly({});
}

} // namespace
