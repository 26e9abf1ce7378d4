// Somebody's program: a line or two from every room, through nothing but the installed package. Hunted here: headers,
// libraries and start-up that a user's own compiler and flags do not find; what the rooms do is tested elsewhere.
#include <windows.h> // first, since its macros must not get in the way

#include <cstdio>
#include <cstring>
#include <host/zelkhost.h>
#include <vector>
#include <zelk_core/zelk_core.h>

namespace {

bool Base() {
    char text[Z4::GUID::FORMAT_SIZE];
    Z4::GUID::FromName(Z4::GUID_SPACE_DNS, "www.example.com").Format(text, sizeof text);
    return Z4::Str::EqualsNoCase(text, "2ED6657D-E927-568B-95E1-2665A8AEA6A2") &&
           Z4::StrFormat::Print(text, sizeof text, "%08X", Z4::Hash::CRC("123456789")) == 8 &&
           std::strcmp(text, "CBF43926") == 0 && Z4::Platform::GetRef().GetNbCore() > 0;
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
    for (const Z4::ZelkString& word : Z4::Vector<Z4::ZelkString>{"one", "three"}) {
        lengths.Insert(word, word.Size());
    }
    Z4::StringPool<Z4::NulLock> pool;
    unsigned long handle = 0;
    return lengths.Size() == 2 && lengths.Find("three")->value == 5 && pool.Add("word", 4, handle) == Z4::ERR_OK;
}

// Vectors of SIMD vectors are where a compiler that aligns `new` otherwise would come to grief.
bool Math() {
    const std::vector<Z4::VectorSIMD4f> corners{{-1, -1, -1, 0}, {1, 2, 3, 0}};
    const Z4::Geometry::GeometryAABB box(corners.data(), 2);
    float t = 0;
    return reinterpret_cast<std::uintptr_t>(corners.data()) % 16 == 0 && box.ToOOBox().Contains(box.GetCenter()) &&
           IntersectRayAABB(Z4::Geometry::GeometryRay({-3, 0, 0, 0}, {1, 0, 0, 0}), box, t) && t == 2 &&
           DistancePointToAABBSqr({1, 2, 6, 0}, box) == 9 && Z4::Geometry::Orientation2D({0, 0}, {1, 0}, {1, 1}) == 1;
}

bool Compression() {
    const char zeros[1000] = {};
    char packed[2000];
    const auto process = [&](auto& codec) {
        codec.FeedInputBuffer(zeros, sizeof zeros);
        codec.FeedOutputBuffer(packed, sizeof packed);
        return codec.Process();
    };
    Z4::ZLibDeflate zlib(Z4::CompressionInterface::CMP_FAST);
    Z4::LzoDeflate lzo(Z4::CompressionInterface::CMP_BEST);
    return process(zlib) != Z4::CompressionInterface::FAILED && zlib.Flush() == Z4::CompressionInterface::DONE &&
           (process(lzo) == Z4::CompressionInterface::DONE) == EXPECT_LZO && Z4::Lzo::IsAvailable() == EXPECT_LZO;
}

/// To and fro through compressed memory, as other machines write it.
bool Streams() {
    Z4::MemoryStream packed;
    Z4::DeflateStream deflate(packed, Z4::CompressionInterface::CMP_FAST);
    Z4::StreamWriter(deflate, Z4::BIG_ENDIAN_ORDER).WriteString("ahead");
    const bool isPacked = deflate.Close() == Z4::ERR_OK && packed.Seek(0, Z4::SEEK_FROM_BEGIN);
    Z4::InflateStream inflate(packed, 100);
    Z4::ZelkString text;
    return isPacked && Z4::StreamReader(inflate, Z4::BIG_ENDIAN_ORDER).ReadString(text, 10) && text == "ahead" &&
           Z4::FileStream().Open("no such file", Z4::EalFile::READ_ONLY) == Z4::ERR_NOT_FOUND;
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
    Z4::SymbolInfo info;
    Z4::SymbolMap map;
    const char list[] = "1000 T _main\n";
    return Z4::CallStack().Capture(0) != 0 && map.Read(list, sizeof list - 1, {}) == Z4::ERR_OK &&
           Z4::SymbolHandler::Instance().ResolveQuick(reinterpret_cast<const void*>(&DebugHelp), info) &&
           !Z4::StringBreakpoint::Check("nobody waits for it");
}

const struct {
    const char* name;
    void (*start)();
    void (*stop)();
    bool (*works)();
} ROOMS[] = {
    {"base", Z4::InitializeBase, Z4::ShutdownBase, Base},
    {"os", Z4::InitializeOS, Z4::ShutdownOS, RunsOnce<Runner<Z4::Thread>>},
    {"net", Z4::InitializeOS, Z4::ShutdownOS, [] { return Z4::TcpSocket(0).GetPortNumber() != 0; }},
    {"eal_utils", Z4::InitializeEalUtils, Z4::ShutdownEalUtils, RunsOnce<Runner<Z4::EalThread, 7>>},
    {"generics", Z4::InitializeGenerics, Z4::ShutdownGenerics, Generics},
    {"math", Z4::InitializeMath, Z4::ShutdownMath, Math},
    {"random", Z4::InitializeRandomService, Z4::ShutdownRandomService,
     [] { return Z4::Random::InRangeS32Inclusive(3, 3) == 3; }},
    {"encryption", Z4::InitializeEncryptionService, Z4::ShutdownEncryptionService,
     [] { return Z4::XTea().SetKey("sixteen letters!"); }},
    {"compression", Z4::InitializeCompressionService, Z4::ShutdownCompressionService, Compression},
    {"streams", Z4::InitializeEalUtils, Z4::ShutdownEalUtils, Streams},
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
