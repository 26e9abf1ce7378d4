#include "digest.h"

#include <zelk_core/base/guid.h>
#include <zelk_core/base/str.h>
#include <zelk_core/base/structureswap.h>
#include <zelk_core/base/utf.h>

void DigestByteOrder(Digest& digest) {
    using Z4::StructureSwap;
    static constexpr Z4::SwapField FIELDS[] = {
        {0, 3, 2, nullptr}, {8, 2, 4, nullptr}, {17, 1, 8, nullptr}, {25, 1, 16, nullptr}};
    static constexpr Z4::SwapLayout LAYOUT{FIELDS, 4, 43};
    Input input;
    unsigned char data[1024];
    unsigned char swapped[1024];
    for (unsigned size = 0; size < sizeof data; size += 1 + size / 16) {
        input.Fill(data, sizeof data);
        std::memset(swapped, 0, sizeof swapped);
        StructureSwap::Array16(swapped, data, size / 2);
        digest.Add(swapped, size);
        StructureSwap::Array32(swapped, data, size / 4);
        digest.Add(swapped, size);
        StructureSwap::Array64(swapped, data, size / 8);
        digest.Add(swapped, size);
        StructureSwap::Record(swapped, data, LAYOUT, size / LAYOUT.recordSize);
        digest.Add(swapped, size);
        digest.Add(Z4::LoadBig<std::uint64_t>(data + size % 64));
        digest.Add(Z4::LoadLittle<std::uint32_t>(data + size % 64));
    }
}

void DigestIdentifiers(Digest& digest) {
    Input input;
    for (int round = 0; round < 500; ++round) {
        char name[200];
        const std::size_t size = input.Below(sizeof name);
        input.FillText(name, size);
        std::uint8_t bytes[16];
        input.Fill(bytes, sizeof bytes);
        const Z4::GUID guid = Z4::GUID::FromName(Z4::GUID::FromBytes(bytes), {name, size});
        char text[Z4::GUID::FORMAT_SIZE];
        digest.Add(text, guid.Format(text, sizeof text, static_cast<Z4::GUID::Form>(round % 3)));
        Z4::GUID read{};
        digest.Add(static_cast<std::uint32_t>(Z4::GUID::Parse(text, read) == Z4::ERR_OK && read == guid));
        digest.Add(guid.GetHash());
    }
}

void DigestUtf(Digest& digest) {
    Input input;
    for (int round = 0; round < 500; ++round) {
        char text[200];
        const std::size_t size = input.Below(sizeof text);
        input.FillText(text, size);
        for (std::uint32_t others = input.Below(8); others != 0 && size != 0; --others) {
            text[input.Below(static_cast<std::uint32_t>(size))] = static_cast<char>(input.Bits());
        }
        wchar_t wide[256];
        std::size_t length = 0;
        std::size_t badAt = 0;
        digest.Add(static_cast<std::uint32_t>(Z4::Utf::ToUtf16(wide, input.Below(256), {text, size}, length, &badAt)));
        digest.Add(static_cast<std::uint32_t>(badAt));
        digest.Add(static_cast<std::uint32_t>(Z4::Utf::ToUtf16Lossy(wide, 256, {text, size}, length)));
        digest.Add(wide, length * sizeof(wchar_t));
        wide[length / 2] = static_cast<wchar_t>(input.Bits());
        char back[800];
        digest.Add(static_cast<std::uint32_t>(Z4::Utf::ToUtf8Lossy(back, sizeof back, {wide, length}, length)));
        digest.Add(back, length);
        double number = 0;
        const std::size_t digits = Z4::Str::FromInt(back, sizeof back, input.LongBits() >> input.Below(64));
        digest.Add(static_cast<std::uint32_t>(Z4::Str::ToDouble({back, digits}, number)));
        digest.Add(number);
    }
}
