#include "examples.h"

//! [example]
void ShowStreams() {
    Z4::MemoryStream packed; // a FileStream would do as well
    Z4::DeflateStream deflate(packed, Z4::CompressionInterface::CMP_DEFAULT);
    Z4::StreamWriter writer(deflate, Z4::LITTLE_ENDIAN_ORDER);
    writer.Write(std::uint16_t{7});
    writer.WriteString("Ada");
    std::printf("written: %s\n",
                Z4::GetErrorString(deflate.Close())); // ends the compressed data, and tells of every error

    // Data from outside: no more than 1000 bytes may come out, and no name has more than 40.
    packed.Seek(0, Z4::SEEK_FROM_BEGIN);
    Z4::InflateStream inflate(packed, 1000);
    Z4::StreamReader reader(inflate, Z4::LITTLE_ENDIAN_ORDER);
    const auto level = reader.Read<std::uint16_t>();
    Z4::ZelkString name;
    reader.ReadString(name, 40);
    std::printf("%u %s\n", level, name.CStr());
    std::printf("read: %s\n", Z4::GetErrorString(inflate.GetError())); // one look, behind all reads

    const auto beyond = reader.Read<std::uint32_t>(); // nothing is left: 0, and an error that stays
    std::printf("%u\n", inflate.GetError() == Z4::ERR_CORRUPTED_DATA ? beyond : 1);
}
//! [example]
