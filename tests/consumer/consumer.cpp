// Somebody's program: a line or two from every room, through nothing but the installed package.
#include <windows.h> // first, since its macros must not get in the way

#include <cstdio>
#include <cstring>
#include <host/zelkhost.h>
#include <vector>
#include <zelk_core/zelk_core.h>

namespace {

bool Base() {
    char text[64];
    Z4::StrFormat::Print(text, sizeof text, "%08X of %s", Z4::Hash::CRC("123456789"), Z4_CORE_VERSION_STRING);
    return std::strcmp(text, "CBF43926 of " Z4_CORE_VERSION_STRING) == 0 && Z4::Platform::GetRef().GetNbCore() > 0;
}

bool Texts() {
    char identifier[Z4::GUID::FORMAT_SIZE];
    Z4::GUID::FromName(Z4::GUID_SPACE_DNS, "www.example.com").Format(identifier, sizeof identifier);
    int number = 0;
    return Z4::Str::EqualsNoCase(identifier, "2ED6657D-E927-568B-95E1-2665A8AEA6A2") &&
           Z4::Str::ToInt("-42", number) == Z4::ERR_OK && number == -42 && !Z4::Path::IsSafeRelative("../x");
}

template <class Base, int... CONTEXT>
struct Runner : Base {
    Runner() : Base(CONTEXT...) {}
    void Run() override { Z4::Atomic::Increment(runs); }
    unsigned runs = 0;
};

template <class Thread>
bool RunsOnce() {
    Thread thread;
    return thread.CreateThread() == Z4::ERR_OK && thread.JoinThread() == Z4::ERR_OK && thread.runs == 1;
}

bool Generics() {
    Z4::Map<Z4::ZelkString, unsigned> lengths;
    Z4::Vector<Z4::ZelkString> words{"one", "three"};
    for (const Z4::ZelkString& word : words) {
        lengths.Insert(word, word.Size());
    }
    const auto found = lengths.Find("three");
    Z4::StringPool<Z4::NulLock> pool;
    unsigned long handles[2];
    const bool isPooled =
        pool.Add("word", 4, handles[0]) == Z4::ERR_OK && pool.Add("word", 4, handles[1]) == Z4::ERR_OK;
    return lengths.Size() == 2 && found != lengths.end() && found->value == 5 && isPooled && handles[0] == handles[1];
}

// Vectors of SIMD vectors are where a compiler that aligns `new` otherwise would come to grief.
bool Math() {
    const std::vector<Z4::VectorSIMD4f> corners{{-1, -1, -1, 0}, {1, 2, 3, 0}};
    const Z4::Geometry::GeometryAABB box(corners.data(), 2);
    float t = 0;
    const bool isHit = IntersectRayAABB(Z4::Geometry::GeometryRay({-3, 0, 0, 0}, {1, 0, 0, 0}), box, t);
    const bool isThrough = Z4::Geometry::IntersectSegmentAABB({-3, 0, 0, 0}, corners[1], box) &&
                           Z4::Geometry::IsPointInSphere(box.GetCenter(), corners[1], 3) &&
                           Z4::Geometry::Orientation2D({0, 0}, {1, 0}, {1, 1}) == 1;
    Z4::VectorSIMD4f a = corners[0];
    Z4::VectorSIMD4f b = corners[1];
    const Z4::VectorSIMD4f plane(1, 0, 0, 0);
    return reinterpret_cast<std::uintptr_t>(corners.data()) % 16 == 0 && box.ToOOBox().Contains(box.GetCenter()) &&
           isHit && t == 2 && isThrough && Z4::Geometry::ClipSegment(a, b, &plane, 1) && a.X() == 0 &&
           DistancePointToAABBSqr({1, 2, 6, 0}, box) == 9 && IntersectSphereAABB({1, 2, 6, 0}, 3, box) &&
           Z4::Geometry::IntersectSweptSpherePlane({4, 0, 0, 0}, 1, {-6, 0, 0, 0}, plane, t) && t == 0.5F;
}

bool Random() {
    const long drawn = Z4::Random::InRangeS32Inclusive(3, 5);
    return drawn >= 3 && drawn <= 5;
}

bool Encryption() {
    char text[] = "sixteen letters!";
    Z4::XTea cipher;
    return cipher.SetKey(text) && cipher.Encode(text, text, 16) == 16 && cipher.Decode(text, text, 16) == 16 &&
           std::strcmp(text, "sixteen letters!") == 0;
}

/// Without LZO nothing comes, and the sizes stay.
bool Lzo(const char* data, unsigned long size) {
    std::vector<char> block(Z4::Lzo::GetSafeDeflateBufferSize(size));
    Z4::LzoDeflate deflate(Z4::CompressionInterface::CMP_BEST);
    deflate.FeedInputBuffer(data, size);
    deflate.FeedOutputBuffer(block.data(), block.size());
    if (!Z4::Lzo::IsAvailable()) {
        return deflate.Process() == Z4::CompressionInterface::FAILED && deflate.GetAvailableInputSize() == size &&
               deflate.GetOutputDataSize() == 0;
    }
    return deflate.Process() == Z4::CompressionInterface::DONE && deflate.GetOutputDataSize() < size;
}

bool Compression() {
    const char zeros[1000] = {};
    char packed[100];
    Z4::ZLibDeflate deflate(Z4::CompressionInterface::CMP_FAST);
    deflate.FeedInputBuffer(zeros, sizeof zeros);
    deflate.FeedOutputBuffer(packed, sizeof packed);
    static_cast<void>(deflate.Process());
    if (deflate.Flush() != Z4::CompressionInterface::DONE || deflate.GetOutputDataSize() >= sizeof packed) {
        return false;
    }
    return Lzo(zeros, sizeof zeros) && Z4::Lzo::IsAvailable() == EXPECT_LZO;
}

/// To and fro through compressed memory, as other machines write it.
bool Streams() {
    Z4::MemoryStream packed;
    Z4::DeflateStream deflate(packed, Z4::CompressionInterface::CMP_FAST);
    Z4::StreamWriter(deflate, Z4::BIG_ENDIAN_ORDER).WriteString("ahead");
    const bool isPacked = deflate.Close() == Z4::ERR_OK && packed.Seek(0, Z4::SEEK_FROM_BEGIN);
    Z4::InflateStream inflate(packed, 100);
    Z4::ZelkString text;
    return isPacked && Z4::StreamReader(inflate, Z4::BIG_ENDIAN_ORDER).ReadString(text, 10) && text == "ahead";
}

bool Files() {
    Z4::FileStream file;
    return file.Open("no such file", Z4::EalFile::READ_ONLY) == Z4::ERR_NOT_FOUND &&
           file.GetError() == Z4::ERR_NOT_READY && !Z4::EalFile::Exists("no such file");
}

class Shape : public Z4::DynamicType {
    Z4_DYNAMIC_TYPE(Shape, Z4::DynamicType)
};
Z4_REGISTER_CLASS(Shape, Z4::DynamicType)

bool RuntimeType() {
    void* const shape = Z4::ClassFactory::Instance().CreateInstance(Z4::ClassType("Shape"));
    delete static_cast<Shape*>(shape);
    return shape != nullptr;
}

bool DebugHelp() {
    Z4::ProgramModuleDB::Module module{};
    unsigned long slot = 0;
    Z4::SymbolInfo info;
    Z4::SymbolMap map;
    Z4::SymbolMap::Symbol symbol{};
    const void* const here = reinterpret_cast<const void*>(&DebugHelp);
    const char list[] = "1000 T _main\n";
    return Z4::ProgramModuleDB::Instance().FindModule(here, module) && module.size != 0 &&
           Z4::CallStack().Capture(0) != 0 && Z4::SymbolHandler::Instance().ResolveQuick(here, info) &&
           map.Read(list, sizeof list - 1, {}) == Z4::ERR_OK && map.Find(0x1000, symbol) &&
           std::strcmp(symbol.function, "main") == 0 &&
           Z4::StringBreakpoint::Set("needle", Z4::StringBreakpoint::CHECK, 0, nullptr, nullptr, slot) == Z4::ERR_OK &&
           Z4::StringBreakpoint::Check("a needle") && Z4::StringBreakpoint::Clear(slot) == Z4::ERR_OK;
}

bool Network() {
    Z4::TcpSocket listener;
    return listener.Bind("127.0.0.1", 0) && listener.Listen(1) && listener.GetPortNumber() != 0 &&
           Z4::HostInfo::IsIPAddress("127.0.0.1");
}

const struct {
    const char* name;
    void (*start)();
    void (*stop)();
    bool (*works)();
} ROOMS[] = {
    {"base", Z4::InitializeBase, Z4::ShutdownBase, Base},
    {"base, texts", Z4::InitializeBase, Z4::ShutdownBase, Texts},
    {"os", Z4::InitializeOS, Z4::ShutdownOS, RunsOnce<Runner<Z4::Thread>>},
    {"net", Z4::InitializeOS, Z4::ShutdownOS, Network},
    {"eal_utils", Z4::InitializeEalUtils, Z4::ShutdownEalUtils, RunsOnce<Runner<Z4::EalThread, 7>>},
    {"generics", Z4::InitializeGenerics, Z4::ShutdownGenerics, Generics},
    {"math", Z4::InitializeMath, Z4::ShutdownMath, Math},
    {"random", Z4::InitializeRandomService, Z4::ShutdownRandomService, Random},
    {"encryption", Z4::InitializeEncryptionService, Z4::ShutdownEncryptionService, Encryption},
    {"compression", Z4::InitializeCompressionService, Z4::ShutdownCompressionService, Compression},
    {"streams", Z4::InitializeBase, Z4::ShutdownBase, Streams},
    {"streams, files", Z4::InitializeEalUtils, Z4::ShutdownEalUtils, Files},
    {"runtimetype", Z4::InitializeRuntimeTypeService, Z4::ShutdownRuntimeTypeService, RuntimeType},
    {"dbghelp", Z4::InitializeDbgHelpService, Z4::ShutdownDbgHelpService, DebugHelp},
};

} // namespace

int main() {
    ZelkHost::Install();
    int failures = 0;
    for (const auto& room : ROOMS) {
        room.start();
        if (!room.works()) {
            std::printf("consumer: %s does not work\n", room.name);
            ++failures;
        }
        room.stop();
    }
    failures += ZelkHost::ReportLeaks() != 0;
    std::puts(failures == 0 ? "consumer: all rooms work" : "consumer: failed");
    return failures;
}
