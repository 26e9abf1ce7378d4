// Saves a small scene in a file of its own format, and loads it again: scene [FILE]
//
// The format is big-endian, as if a machine of that order had made it: a mark, a version, the length of what follows,
// and then the records. Whoever loads it believes none of its numbers.
#include <cstdio>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

constexpr std::uint32_t MARK = 0x5343454E; // "SCEN"
constexpr std::uint16_t VERSION = 1;
constexpr std::uint32_t MOST_OBJECTS = 1000;
constexpr std::uint32_t LONGEST_NAME = 64;

enum class Shape : std::uint8_t {
    BOX,
    SPHERE,
    MESH,
    COUNT
};

struct Placement {
    float position[3];
    float turn;
    Shape shape;
    bool isVisible;
};

struct Object {
    Z4::GUID id;
    Z4::ZelkString name;
    Placement placement;
    Z4::Vector<std::uint16_t> triangles;
};

void WriteObject(Z4::StreamWriter& writer, const Object& object) {
    writer.Write(object.id);
    writer.WriteString(object.name);
    writer.WriteRecord<&Placement::position, &Placement::turn, &Placement::shape, &Placement::isVisible>(
        object.placement);
    writer.WriteVector(object.triangles);
}

/// What cannot be is reported by way of the stream, as what cannot be read is.
void ReadObject(Z4::StreamReader& reader, Object& object) {
    object.id = reader.Read<Z4::GUID>();
    reader.ReadUtf8String(object.name, LONGEST_NAME);
    reader.ReadRecord<&Placement::position, &Placement::turn, &Placement::shape, &Placement::isVisible>(
        object.placement);
    reader.ReadVector(object.triangles, 10000);
    if (object.placement.shape >= Shape::COUNT) {
        reader.GetStream().Fail(Z4::ERR_CORRUPTED_DATA);
    }
}

Z4::Error Save(const char* path, const Z4::Vector<Object>& objects) {
    Z4::FileStream stream;
    if (const Z4::Error error = stream.Open(path, Z4::EalFile::REPLACE); error != Z4::ERR_OK) {
        return error;
    }
    Z4::StreamWriter writer(stream, Z4::BIG_ENDIAN_ORDER);
    writer.Write(MARK);
    writer.Write(VERSION);
    const std::uint64_t lengthPlace = writer.Reserve<std::uint64_t>();
    const std::uint64_t start = stream.Tell();
    writer.WriteVarint(objects.Size());
    for (const Object& object : objects) {
        WriteObject(writer, object);
    }
    writer.Patch<std::uint64_t>(lengthPlace, stream.Tell() - start);
    return stream.Close(); // the first of all errors above
}

Z4::Error Load(const char* path, Z4::Vector<Object>& objects) {
    Z4::FileStream file;
    if (const Z4::Error error = file.Open(path, Z4::EalFile::READ_ONLY); error != Z4::ERR_OK) {
        return error;
    }
    Z4::StreamReader header(file, Z4::BIG_ENDIAN_ORDER);
    if (header.Read<std::uint32_t>() != MARK || header.Read<std::uint16_t>() != VERSION) {
        file.Fail(Z4::ERR_UNSUPPORTED);
    }
    const auto length = header.Read<std::uint64_t>();
    Z4::SubStream content(file, file.Tell(), length);
    Z4::StreamReader reader(content, Z4::BIG_ENDIAN_ORDER);
    reader.SetBudget(1 << 20);
    const std::uint64_t count = reader.ReadVarint();
    if (count > MOST_OBJECTS) {
        content.Fail(Z4::ERR_CORRUPTED_DATA);
    }
    for (std::uint64_t i = 0; i < count && content.GetError() == Z4::ERR_OK; ++i) {
        Object object{};
        ReadObject(reader, object);
        objects.PushBack(std::move(object));
    }
    const Z4::Error error = content.Close();
    const Z4::Error closing = file.Close();
    return closing != Z4::ERR_OK ? closing : error;
}

Z4::Vector<Object> MakeScene() {
    Z4::Vector<Object> objects;
    for (unsigned i = 0; i < 4; ++i) {
        Object object{};
        char name[16];
        Z4::StrFormat::Print(name, sizeof(name), "object %u", i);
        object.name = name;
        object.id = Z4::GUID::FromName(Z4::GUID_SPACE_OID, name);
        object.placement = {{1.5F * static_cast<float>(i), 0, -2}, 0.25F, static_cast<Shape>(i % 3), i != 1};
        for (unsigned k = 0; k < 3 * i; ++k) {
            object.triangles.PushBack(static_cast<std::uint16_t>(k));
        }
        objects.PushBack(std::move(object));
    }
    return objects;
}

int Run(const char* path) {
    if (const Z4::Error error = Save(path, MakeScene()); error != Z4::ERR_OK) {
        std::fprintf(stderr, "scene: cannot save %s: %s\n", path, Z4::GetErrorString(error));
        return 1;
    }
    Z4::Vector<Object> objects;
    if (const Z4::Error error = Load(path, objects); error != Z4::ERR_OK) {
        std::fprintf(stderr, "scene: cannot load %s: %s\n", path, Z4::GetErrorString(error));
        return 1;
    }
    for (const Object& object : objects) {
        char id[Z4::GUID::FORMAT_SIZE];
        object.id.Format(id, sizeof(id));
        std::printf("%s %s at %.1f, %u triangles%s\n", id, object.name.CStr(),
                    static_cast<double>(object.placement.position[0]), object.triangles.Size() / 3,
                    object.placement.isVisible ? "" : ", hidden");
    }
    return objects.Size() == 4 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install();
    Z4::InitializeEalUtils();
    const int result = Run(argc > 1 ? argv[1] : "scene.bin");
    Z4::ShutdownEalUtils();
    return result;
}
