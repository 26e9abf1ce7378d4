// Names of addresses in real libraries, by each source. Hunted are: functions that are named wrong, by each symbol that
// nm knows; names of modules that went; late modules that stay unknown; files that are lost or leaked; and names that
// are made readable wrong.
#include "standin.h"

#include <tests/support/testhost.h>

#include <windows.h>

#include <dbghelp.h>

#include <fstream>
#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>
#include <zelk_core/services/dbghelp/callstack.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>
#include <zelk_core/services/dbghelp/symbolmap.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace {

using namespace Z4;
using testing::HasSubstr;

constexpr char LIBRARY[] = "dbghelp_functions.dll";

std::string PathOf(HMODULE module) {
    char path[MAX_PATH];
    GetModuleFileNameA(module, path, MAX_PATH);
    return path;
}

/// The functions of the library as nm lists them, by their distance from its begin.
std::map<unsigned long, std::set<std::string>> ListOfNm() {
    std::map<unsigned long, std::set<std::string>> names;
    std::ifstream list(PathOf(nullptr).substr(0, PathOf(nullptr).rfind('\\') + 1) + "dbghelp_functions.nm");
    unsigned long base = 0;
    for (std::string line; std::getline(list, line);) {
        std::istringstream words(line);
        unsigned long address = 0;
        std::string kind;
        std::string name;
        if (!(words >> std::hex >> address >> kind >> name)) {
            continue;
        }
        base = name == "__image_base__" ? address : base;
        if ((kind == "T" || kind == "t") && name[0] != '.') {
            names[address - base].insert(name.substr(1, name.find('@') - 1));
        }
    }
    EXPECT_GT(names.size(), 20u);
    return names;
}

class SymbolHandlerTest : public testing::Test {
protected:
    SymbolHandlerTest() { InitializeDbgHelpService(false); }
    ~SymbolHandlerTest() override {
        if (m_module != nullptr) {
            FreeLibrary(m_module);
        }
        ShutdownDbgHelpService();
    }
    const char* At(unsigned long rva) const { return reinterpret_cast<const char*>(m_module) + rva; }

    SymbolHandler& m_handler = SymbolHandler::Instance();
    HMODULE m_module = LoadLibraryA(LIBRARY);
};

TEST_F(SymbolHandlerTest, KnowsEachFunctionThatNmKnows) {
    ASSERT_NE(m_module, nullptr);
    const std::string file = PathOf(m_module);
    const auto functions = ListOfNm();
    // The map has no functions that are local to an object file.
    for (const bool byMap : {false, true}) {
        ASSERT_EQ(m_handler.LoadSymbolFile(m_module, byMap ? nullptr : file.c_str()), ERR_OK);
        unsigned long known = 0;
        for (const auto& [rva, names] : functions) {
            SymbolInfo info;
            SymbolInfo quick;
            ASSERT_TRUE(m_handler.Resolve(At(rva), info) && m_handler.ResolveQuick(At(rva), quick));
            EXPECT_STREQ(info.function, quick.function);
            EXPECT_TRUE(*info.function != '\0' || info.source != SYMBOL_FILE);
            EXPECT_STREQ(quick.module, LIBRARY);
            known += info.source == SYMBOL_FILE ? 1 : 0;
            if (info.source == SYMBOL_FILE && !byMap) {
                EXPECT_EQ(names.count(info.function), 1u) << info.function << " is not " << *names.begin();
                EXPECT_EQ(info.displacement, 0u);
            }
        }
        EXPECT_GE(known, byMap ? functions.size() / 2 : functions.size());
        const void* address = nullptr;
        EXPECT_TRUE(m_handler.FindFunction(byMap ? LIBRARY : file.c_str(),
                                           byMap ? "Engine::Visible(int)" : "_ZN6EngineL6HiddenEi", address));
        SymbolInfo info;
        ASSERT_TRUE(m_handler.Resolve(static_cast<const char*>(address) + 1, info));
        EXPECT_STREQ(info.function, byMap ? "Engine::Visible(int)" : "_ZN6EngineL6HiddenEi");
        EXPECT_EQ(info.displacement, 1u);
        EXPECT_EQ(byMap, std::string(info.file).find("functions.cpp.obj") != std::string::npos) << info.file;
    }
}

TEST_F(SymbolHandlerTest, KnowsEachExportOfALibraryOfTheSystem) {
    const HMODULE system = GetModuleHandleA("kernel32.dll");
    const auto* const base = reinterpret_cast<const unsigned char*>(system);
    const auto* const headers =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const IMAGE_DATA_DIRECTORY& place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto& directory = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
    const auto* const names = reinterpret_cast<const DWORD*>(base + directory.AddressOfNames);
    unsigned known = 0;
    for (DWORD i = 0; i < directory.NumberOfNames; ++i) {
        const auto* const name = reinterpret_cast<const char*>(base + names[i]);
        const void* const expected = reinterpret_cast<const void*>(GetProcAddress(system, name));
        const void* address = nullptr;
        if (!m_handler.FindFunction("KERNEL32.dll", name, address)) {
            continue; // another module's, or data
        }
        ++known;
        SymbolInfo info;
        ASSERT_EQ(address, expected) << name;
        ASSERT_TRUE(m_handler.ResolveQuick(address, info));
        EXPECT_EQ(reinterpret_cast<const void*>(GetProcAddress(system, info.function)), address) << info.function;
        EXPECT_EQ(info.displacement, 0u);
    }
    EXPECT_GT(known, 200u);
    const void* address = nullptr;
    EXPECT_FALSE(m_handler.FindFunction("kernel32.dll", "NoSuchFunction", address));
    EXPECT_FALSE(m_handler.FindFunction("nosuch.dll", "Sleep", address));
    EXPECT_FALSE(m_handler.FindFunction("kernel32.dll", nullptr, address));
    EXPECT_TRUE(m_handler.FindFunction(nullptr, "SecondExport@4", address));
}

TEST_F(SymbolHandlerTest, FilesComeAndGoWithTheirModules) {
    const std::string file = PathOf(m_module);
    const std::string copy = file.substr(0, file.rfind('\\') + 1) + "dbghelp_functions_copy.dll";
    ASSERT_TRUE(CopyFileA(file.c_str(), copy.c_str(), FALSE));
    const HMODULE other = LoadLibraryA(copy.c_str());
    ASSERT_NE(other, nullptr); // elsewhere than it would like to lie
    ASSERT_EQ(m_handler.LoadSymbolFile(other, (file + ".map").c_str()), ERR_OK);
    const void* visible = nullptr;
    ASSERT_TRUE(m_handler.FindFunction("dbghelp_functions_copy.dll", "Engine::Visible(int)", visible));
    const auto* const first = reinterpret_cast<const char*>(GetProcAddress(other, "FirstExport"));
    SymbolInfo info;
    ASSERT_TRUE(m_handler.Resolve(first, info));
    EXPECT_STREQ(info.function, "FirstExport");
    EXPECT_EQ(info.source, SYMBOL_FILE);

    EXPECT_EQ(m_handler.LoadSymbolFile(other, "no such file.map"), ERR_NOT_FOUND);
    EXPECT_EQ(m_handler.LoadSymbolFile(GetModuleHandleA("kernel32.dll"), (file + ".map").c_str()), ERR_CANNOT_ASSIGN);
    EXPECT_EQ(m_handler.LoadSymbolFile(&info, nullptr), ERR_NOT_FOUND);
    EXPECT_EQ(m_handler.LoadSymbolFile(nullptr, nullptr), ERR_NOT_FOUND);
    EXPECT_FALSE(m_handler.ResolveQuick(ZelkTest::FromNumber<void*>(0xFFFFFFFF), info)) << "the system's";
    EXPECT_EQ(m_handler.LoadSymbolFile(first, nullptr), ERR_NOT_FOUND) << "no module begins there";
    ASSERT_TRUE(m_handler.Resolve(visible, info));
    EXPECT_EQ(info.source, SYMBOL_FILE) << "what was there stays";

    FreeLibrary(other);
    EXPECT_FALSE(m_handler.ResolveQuick(visible, info));
    const HMODULE again = LoadLibraryA(copy.c_str());
    ASSERT_TRUE(m_handler.ResolveQuick(reinterpret_cast<const char*>(again) + 0x1000, info));
    EXPECT_NE(info.source, SYMBOL_FILE) << "the file went with the module";
    FreeLibrary(again);
    DeleteFileA(copy.c_str());

    EXPECT_EQ(m_handler.UnloadSymbolFile(m_module), ERR_NOT_FOUND);
    ASSERT_EQ(m_handler.LoadSymbolFile(m_module, nullptr), ERR_OK);
    EXPECT_EQ(m_handler.UnloadSymbolFile(m_module), ERR_OK);
    ASSERT_EQ(m_handler.LoadSymbolFile(m_module, nullptr), ERR_OK);
    ShutdownDbgHelpService();
    EXPECT_EQ(m_handler.LoadSymbolFile(m_module, nullptr), ERR_NOT_READY);
    EXPECT_FALSE(m_handler.FindFunction(LIBRARY, "FirstExport", visible));
    char text[8];
    EXPECT_EQ(m_handler.Demangle("?f@@YAXXZ", text, sizeof text), 1u) << "in short, as the gateway is gone";
    EXPECT_TRUE(m_handler.ResolveQuick(reinterpret_cast<const void*>(GetProcAddress(m_module, "FirstExport")), info));
    EXPECT_EQ(info.source, SYMBOL_EXPORT);
    InitializeDbgHelpService(false);
}

/// The image without its symbols, with a section that names a file of debug information.
std::string LinkedTo(std::string image, const std::string& link) {
    const auto size = static_cast<DWORD>(image.size());
    const std::string names = std::string("\0\0.gnu_debuglink", 17);
    auto* const headers = reinterpret_cast<IMAGE_NT_HEADERS*>(
        image.data() + reinterpret_cast<const IMAGE_DOS_HEADER*>(image.data())->e_lfanew);
    headers->FileHeader.PointerToSymbolTable = size;
    headers->FileHeader.NumberOfSymbols = 0;
    auto* const sections = reinterpret_cast<IMAGE_SECTION_HEADER*>(headers + 1);
    IMAGE_SECTION_HEADER& last = sections[headers->FileHeader.NumberOfSections - 1];
    std::memcpy(last.Name, "/2\0", 3);
    last.PointerToRawData = size + static_cast<DWORD>(names.size());
    return image + names + link + '\0';
}

TEST_F(SymbolHandlerTest, FindsFilesBesideTheModule) {
    const std::string folder = PathOf(m_module).substr(0, PathOf(m_module).rfind('\\') + 1);
    const std::string file = folder + "dbghelp_beside.dll";
    const std::string away = folder + "dbghelp_away.dll";
    const std::string debug = folder + "dbghelp_beside.dbg";
    const std::string map = folder + "dbghelp_beside.map";
    ASSERT_TRUE(CopyFileA(PathOf(m_module).c_str(), file.c_str(), FALSE));
    const HMODULE module = LoadLibraryA(file.c_str());
    ASSERT_TRUE(MoveFileExA(file.c_str(), away.c_str(), MOVEFILE_REPLACE_EXISTING)); // a loaded one can be moved
    std::ifstream stream(away, std::ios::binary);
    const std::string image{std::istreambuf_iterator<char>(stream), {}};
    const auto load = [&](const std::string& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
        return m_handler.LoadSymbolFile(module, nullptr);
    };
    EXPECT_EQ(m_handler.LoadSymbolFile(module, nullptr), ERR_NOT_FOUND);
    EXPECT_EQ(load(file, ""), ERR_UNSUPPORTED);
    EXPECT_EQ(load(file, LinkedTo(image, "dbghelp_beside.dbg")), ERR_CORRUPTED_DATA) << "the file is missing";
    EXPECT_EQ(load(debug, image), ERR_OK);
    const void* address = nullptr;
    EXPECT_TRUE(m_handler.FindFunction("dbghelp_beside.dll", "_ZN6EngineL6HiddenEi", address));
    for (const std::string& link : {std::string(), std::string(".\\dbghelp_beside.dbg"), std::string(300, 'x')}) {
        EXPECT_EQ(load(file, LinkedTo(image, link)), ERR_CORRUPTED_DATA) << link;
    }
    EXPECT_EQ(load(map, "Timestamp is 1\nPreferred load address is 0\n"), ERR_CANNOT_ASSIGN) << "the first tells";
    EXPECT_EQ(load(file, image), ERR_OK) << "a map of another image hides nothing";
    // Larger than any that is read; nothing is written there.
    const HANDLE large = CreateFileA(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    SetFilePointer(large, SymbolMap::LARGEST_FILE + 1, nullptr, FILE_BEGIN);
    SetEndOfFile(large);
    CloseHandle(large);
    EXPECT_EQ(m_handler.LoadSymbolFile(module, file.c_str()), ERR_OVERFLOW);
    FreeLibrary(module);
    stream.close();
    for (const std::string& left : {file, away, debug, map}) {
        EXPECT_TRUE(DeleteFileA(left.c_str())) << left;
    }
}

TEST_F(SymbolHandlerTest, HoldsFilesOfSoManyModules) {
    constexpr unsigned MOST = 128;
    const std::string list = PathOf(m_module) + ".list";
    std::ofstream(list) << "1000 T f\n";
    // Mapped as images, by nobody but this test.
    const HANDLE file =
        CreateFileA(PathOf(m_module).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READONLY | SEC_IMAGE, 0, 0, nullptr);
    std::vector<const char*> images;
    for (unsigned i = 0; i <= MOST; ++i) {
        images.push_back(static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0)));
        ASSERT_NE(images.back(), nullptr);
        if (i != 0) {
            EXPECT_EQ(m_handler.LoadSymbolFile(images[i], list.c_str()), ERR_OK);
        }
    }
    EXPECT_EQ(m_handler.LoadSymbolFile(images[0], nullptr), ERR_NOT_FOUND) << "the loader knows no path";
    EXPECT_EQ(m_handler.LoadSymbolFile(images[0], list.c_str()), ERR_OUT_OF_RESOURCES);
    SymbolInfo info;
    for (unsigned i = 1; i <= MOST; ++i) {
        ASSERT_TRUE(m_handler.ResolveQuick(images[i] + 0x1000, info));
        EXPECT_STREQ(info.function, "f");
        EXPECT_EQ(m_handler.UnloadSymbolFile(images[i]), ERR_OK);
    }
    for (std::size_t refused = 1; refused != 0; ++refused) {
        ZelkHost::FailAllocations(refused, 1);
        const Error error = m_handler.LoadSymbolFile(images[0], list.c_str());
        if (ZelkHost::FailAllocations(0) == 0) {
            EXPECT_EQ(error, ERR_OK);
            break;
        }
        ASSERT_EQ(error, ERR_OUT_OF_MEMORY);
        EXPECT_EQ(m_handler.UnloadSymbolFile(images[0]), ERR_NOT_FOUND);
    }
    m_handler.UnloadSymbolFile(images[0]);
    for (const char* const image : images) {
        UnmapViewOfFile(image);
    }
    CloseHandle(mapping);
    CloseHandle(file);
    DeleteFileA(list.c_str());
}

TEST_F(SymbolHandlerTest, MakesNamesReadable) {
    ASSERT_TRUE(WinDbgHelp::Instance().IsLoaded());
    {
        ZelkTest::Failure::s_result = 0;
        const ZelkTest::ImportHook hook(ZELK_FAILING(GetProcAddress));
        EXPECT_EQ(m_handler.Demangle("?f@@YAXXZ", nullptr, 0), 1u) << "in short, where the library cannot";
    }
    const auto read = [&](const char* name) {
        char text[64] = "?";
        const unsigned long length = m_handler.Demangle(name, text, sizeof text);
        EXPECT_EQ(length, std::strlen(text));
        EXPECT_EQ(m_handler.Demangle(name, nullptr, 0), length);
        return std::string(text);
    };
    for (const char* const name : {"plain", "_", "_main", ""}) {
        EXPECT_EQ(read(name), name);
    }
    EXPECT_EQ(read(nullptr), "");
    EXPECT_EQ(read("_ZN6Engine6Widget4SpinEi"), "Engine::Widget::Spin");
    EXPECT_EQ(read("?Spin@Widget@Engine@@QAEHH@Z"), "public: int __thiscall Engine::Widget::Spin(int)");
    static std::string asked;
    static bool agrees = true;
    m_handler.SetDemangler(
        [](const char* name, char* text, unsigned long size, void* context) {
            asked += name;
            std::memset(text, 'x', size); // without an end
            return *static_cast<bool*>(context);
        },
        &agrees);
    EXPECT_EQ(m_handler.Demangle("_Z1fv", nullptr, 0), 4095u);
    EXPECT_EQ(read("plain"), "plain");
    m_handler.Demangle("?f@@YAXXZ", nullptr, 0);
    EXPECT_EQ(asked, "_Z1fv?f@@YAXXZ");
    static bool refuses = false;
    m_handler.SetDemangler(
        [](const char*, char*, unsigned long, void* context) { return *static_cast<bool*>(context); }, &refuses);
    EXPECT_EQ(read("_Z1fv"), "f");
    m_handler.SetDemangler(nullptr, nullptr);
}

// The debug-help library as a stand-in, over the real modules.
TEST(LateModules, AreReadAndForgotten) {
    ZelkTest::StandIn library;
    bool isKnown = false;
    library.answers["SymGetModuleInfo64"] = [&](const ZelkTest::StandIn::Call&) { return isKnown ? 1 : 0; };
    library.answers["EnumerateLoadedModules64"] = [&](const ZelkTest::StandIn::Call& call) {
        ZelkTest::FromNumber<WinDbgHelp::EnumerateModulesCallback>(call.arguments[1])(
            "a.exe", ZelkTest::ToNumber(GetModuleHandleA(nullptr)), 0x1000000,
            ZelkTest::FromNumber<void*>(call.arguments[2]));
        return 1;
    };
    library.answers["SymGetLineFromAddr64"] = [](const auto&) { return 0; };
    InitializeDbgHelpService(true);
    ASSERT_TRUE(WinDbgHelp::Instance().IsLoaded());
    const void* const here = reinterpret_cast<const void*>(&PathOf);
    SymbolInfo info;
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(here, info));
    ASSERT_EQ(library.Count("SymLoadModule64"), 1u);
    isKnown = true;
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(here, info));
    EXPECT_EQ(library.Count("SymLoadModule64"), 1u);
    EXPECT_EQ(library.Count("SymUnloadModule64"), 0u);
    EXPECT_EQ(library.Count("SymGetSymFromAddr64"), 0u) << "it has exports or nothing";

    SYM_TYPE type = SymNone;
    library.answers["SymGetModuleInfo64"] = [&](const ZelkTest::StandIn::Call& call) {
        ZelkTest::FromNumber<IMAGEHLP_MODULE64*>(call.arguments[2])->SymType = type;
        return isKnown ? 1 : 0;
    };
    library.answers["SymGetSymFromAddr64"] = [](const auto&) { return 0; };
    for (const SYM_TYPE kind : {SymNone, SymExport, SymDeferred, SymPdb}) {
        type = kind;
        EXPECT_TRUE(SymbolHandler::Instance().Resolve(here, info));
        EXPECT_EQ(library.Count("SymGetSymFromAddr64"), kind == SymPdb ? 1u : 0u) << kind;
    }

    const UNICODE_STRING name{2, 2, const_cast<wchar_t*>(L"m")};
    ZelkTest::StandIn::Notification data{0, &name, &name, nullptr, 16};
    for (const unsigned count : {64u, 65u}) {
        library.calls.clear();
        for (unsigned i = 1; i <= count; ++i) {
            data.address = ZelkTest::FromNumber<void*>((0x7000u + i) << 16);
            library.notify(1, &data, library.context);
            library.notify(2, &data, library.context);
        }
        EXPECT_TRUE(SymbolHandler::Instance().Resolve(here, info));
        EXPECT_EQ(library.Count("SymUnloadModule64"), count == 64 ? 64u : 0u);
        EXPECT_EQ(library.Count("SymInitialize"), count == 64 ? 0u : 1u) << "too many went to know which";
        EXPECT_EQ(library.Count("SymCleanup"), count == 64 ? 0u : 1u);
    }
    // Ones that cannot be read: of no file, and of one that the library refuses until it does not.
    isKnown = false;
    library.calls.clear();
    data.address = &data;
    library.notify(1, &data, library.context);
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(static_cast<char*>(data.address) + 1, info));
    EXPECT_EQ(library.Count("SymLoadModule64"), 0u);
    for (const int loaded : {0, 1}) {
        library.answers["SymLoadModule64"] = [&, loaded](const auto&) {
            isKnown = loaded != 0;
            return loaded;
        };
        EXPECT_TRUE(SymbolHandler::Instance().Resolve(here, info));
        EXPECT_EQ(library.Count("SymGetSymFromAddr64"), loaded != 0 ? 1u : 0u);
    }
    // In the text of a call stack, beside one that lies nowhere.
    library.answers["SymGetLineFromAddr64"] = [](const ZelkTest::StandIn::Call& call) {
        static char file[] = "folder\\file.cpp";
        auto& line = *ZelkTest::FromNumber<IMAGEHLP_LINE64*>(call.arguments[3]);
        line.FileName = file;
        line.LineNumber = 7;
        return 1;
    };
    CallStack stack;
    CONTEXT registers{};
    char text[256];
    registers.Eip = static_cast<DWORD>(ZelkTest::ToNumber(here));
    ASSERT_EQ(stack.CaptureFrom(&registers), 1u);
    stack.FrameToText(0, text, sizeof text, CallStack::LINES);
    EXPECT_THAT(text, HasSubstr(" file.cpp:7"));
    const unsigned long hash = stack.GetHash();
    registers.Eip = 1;
    ASSERT_EQ(stack.CaptureFrom(&registers), 1u);
    EXPECT_NE(stack.GetHash(), hash);
    stack.FrameToText(0, text, sizeof text, CallStack::LINES);
    EXPECT_STREQ(text, "  0 00000001");
    const ZelkTest::LogCapture log;
    stack.Log(EAL_LOG_ERROR, 0);
    EXPECT_THAT(log.Lines().at(0).text, HasSubstr("EAL_LOG_ERROR:   0 00000001"));
    ShutdownDbgHelpService();
}

} // namespace
