#include "check.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

constexpr char TEXT[] = "the quick brown fox jumps over the lazy dog, and the quick dog jumps over the lazy fox";

template <class Compressor, class Expander>
void CheckRoundTrip(Compressor&& compressor, Expander&& expander) {
    char packed[256];
    char back[256] = {};
    compressor.FeedInputBuffer(TEXT, sizeof TEXT);
    compressor.FeedOutputBuffer(packed, sizeof packed);
    if (compressor.Process() == Z4::CompressionInterface::NEED_INPUT) {
        CHECK(compressor.Flush() == Z4::CompressionInterface::DONE);
    }
    const unsigned long size = compressor.GetOutputDataSize();
    CHECK(size > 0 && size < sizeof TEXT);
    expander.FeedInputBuffer(packed, size);
    expander.FeedOutputBuffer(back, sizeof TEXT);
    CHECK(expander.Process() == Z4::CompressionInterface::DONE && std::strcmp(back, TEXT) == 0);
}

void CheckCompression() {
    using Z4::CompressionInterface;
    CheckRoundTrip(Z4::ZLibDeflate(CompressionInterface::CMP_BEST), Z4::ZLibInflate());
    CheckRoundTrip(Z4::LzoDeflate(CompressionInterface::CMP_FAST), Z4::LzoInflate(true));

    Z4::StringCompressor compressor;
    char packed[Z4::StringCompressor::GetMaxCompressedSize(sizeof TEXT)];
    char back[sizeof TEXT] = {};
    const Z4::StringCompressor::Compressed compressed = compressor.Compress(TEXT, packed);
    CHECK(compressed.error == Z4::ERR_OK && compressed.size < sizeof TEXT && compressed.droppedCount == 0);
    CHECK(compressor.Decompress({packed, compressed.size}, back).error == Z4::ERR_OK);
    CHECK(std::strcmp(back, TEXT) == 0);
}

void CheckCiphers() {
    Z4::XTea cipher;
    CHECK(cipher.SetKey("sixteen letters!") && !cipher.SetKey("short"));
    const Z4::XTea copy = cipher;
    CHECK(copy.GetCipherType() == Z4::Cipher::BLOCK_CIPHER);
    char secret[16];
    char back[16];
    CHECK(cipher.SetKey("sixteen letters!") && cipher.Encode(TEXT, secret, 16) == 16);
    CHECK(std::memcmp(secret, TEXT, 16) != 0);
    CHECK(cipher.Decode(secret, back, 16) == 16 && std::memcmp(back, TEXT, 16) == 0);
}

void CheckRandom() {
    Z4::Random::SetSeed(12345);
    const long first = Z4::Random::RandS32();
    const float unit = Z4::Random::Rand();
    Z4::Random::SetSeed(12345);
    CHECK(Z4::Random::RandS32() == first && unit >= 0 && unit <= 1);
    const long die = Z4::Random::InRangeS32Inclusive(1, 6);
    CHECK(die >= 1 && die <= 6 && Z4::Random::Exponential() > 0);
    Z4::ZigRandomGenerator generator(1);
    CHECK(generator.RNOR(100, 0.5F) > 50);
}

class Shape : public Z4::DynamicType {
    Z4_DYNAMIC_TYPE(Shape, Z4::DynamicType)
    virtual int Corners() const = 0;
};

class Square : public Shape {
    Z4_DYNAMIC_TYPE(Square, Shape)
    int Corners() const override { return 4; }
};
Z4_REGISTER_CLASS(Square, Shape)

class Counter : public Z4::ClassFactory::Sink {
public:
    void OnEvent(unsigned event, const Z4::ClassFactoryNotification& notification) override {
        m_count += event == Z4::CLASS_FACTORY_CREATED && notification.object != nullptr;
    }
    int Count() const { return m_count; }

private:
    int m_count = 0;
};

/// A class that registered itself before main(), known here by its name only.
void CheckClassFactory() {
    Z4::ClassFactory& factory = Z4::ClassFactory::Instance();
    Counter counter;
    CHECK(factory.AddSink(counter));
    auto* const shape = static_cast<Shape*>(factory.CreateInstance(Z4::ClassType("Square")));
    CHECK(shape != nullptr && shape->Corners() == 4 && std::strcmp(shape->GetTypeNameExt(), "Square") == 0);
    CHECK(Square::DynamicCast(shape) != nullptr && shape->IsAKindOf(Shape::StaticType()));
    CHECK(!factory.IsRegistered(Z4::ClassType("Circle")) && counter.Count() == 1);
    CHECK(factory.RemoveSink(counter));
    delete shape;

    int number = 0x01020304;
    char text[16];
    const Z4::VariableType type = Z4::VariableType::Of<int>();
    type.SwapByte(&number);
    CHECK(number == 0x04030201 && type.Print(text, sizeof text, &number) == 8 && std::strcmp(text, "67305985") == 0);
}

} // namespace

void CheckServices() {
    CheckCompression();
    CheckCiphers();
    CheckRandom();
    CheckClassFactory();
}
