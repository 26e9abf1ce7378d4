// Calls virtual functions as an engine module compiled elsewhere does: by the number of their slot.
#include "check.h"

#include <cstring>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

// Slot 0 is the destructor that also frees; its parameter says whether it does. GCC has two destructors in its place.
#if defined(_MSC_VER)
constexpr unsigned FURTHER_DESTRUCTORS = 0;
#else
constexpr unsigned FURTHER_DESTRUCTORS = 1;
#endif

template <class Result = int, class... Arguments>
Result CallSlot(void* object, unsigned slot, Arguments... arguments) {
    // The convention of member functions, in words that both compilers have: of two registers only the first is used.
    using Function = Result(__fastcall*)(void*, int, Arguments...);
    // Volatile, so that no compiler sees which function it is, and that its type is another.
    void** const volatile table = *static_cast<void** volatile*>(object);
    return reinterpret_cast<Function>(table[slot + FURTHER_DESTRUCTORS])(object, 0, arguments...);
}

void DeleteThroughSlot(void* object) {
#if defined(_MSC_VER)
    CallSlot(object, 0, 1u);
#else
    CallSlot(object, 0);
#endif
}

// Every function of a recorder says which it is, by its declaration's text.
const char* g_called = "";
#define RECORD(result, declaration) \
    result declaration override {   \
        g_called = #declaration;    \
        return {};                  \
    }
#define RECORD_VOID(declaration) \
    void declaration override {  \
        g_called = #declaration; \
    }
#define CHECK_CALLED(declaration) CHECK(std::strcmp(g_called, declaration) == 0)

template <class Base>
class SocketRecorder : public Base {
public:
    RECORD(bool, Open())
    RECORD(bool, Close())
    RECORD(bool, Bind(const char*, unsigned short))
    RECORD(bool, Bind(unsigned short))
    RECORD(bool, Connect(const char*, unsigned short))
    RECORD(long, Send(const char*, unsigned long))
    RECORD(long, Receive(char*, unsigned long))
    RECORD(bool, Select(bool*, bool*, bool*) const)
    RECORD(bool, Select(long) const)
    RECORD(bool, SetReuseAddr(bool))
    RECORD(bool, GetReuseAddr() const)
    RECORD(bool, SetBlocking(bool))
    RECORD(bool, GetBlocking() const)
    RECORD(bool, SetSendBufSize(unsigned long))
    RECORD(unsigned long, GetSendBufSize() const)
    RECORD(bool, SetReceiveBufSize(unsigned long))
    RECORD(unsigned long, GetReceiveBufSize() const)
    RECORD(long, GetPendingDataCount())
    RECORD(bool, IsValid() const)
    RECORD(unsigned short, GetPortNumber() const)
    RECORD(const char*, GetIpAddress() const)
    RECORD(const char*, GetHostName() const)
};

class TcpRecorder : public SocketRecorder<Z4::TcpSocket> {
public:
    RECORD(bool, Accept(Z4::TcpSocket&) const)
    RECORD(bool, Listen(unsigned long))
    RECORD(bool, SetNagleOnOff(bool))
    RECORD(bool, GetNagleOnOff() const)
    RECORD(bool, SetLingerOnOff(bool))
    RECORD(bool, GetLingerOnOff() const)
    RECORD(bool, SetLingerSeconds(unsigned long))
    RECORD(unsigned long, GetLingerSeconds() const)
};

class UdpRecorder : public SocketRecorder<Z4::DatagramSocket> {
public:
    RECORD(long, ReceiveFrom(Z4::SocketAddr&, char*, unsigned long))
    RECORD(bool, SetBroadCast(bool))
    RECORD(bool, GetBroadCast())
};

struct Expected {
    unsigned parameters;
    const char* declaration;
};

constexpr Expected SOCKET_SLOTS[] = {
    {0, "Open()"},
    {0, "Close()"},
    {2, "Bind(const char*, unsigned short)"},
    {1, "Bind(unsigned short)"},
    {2, "Connect(const char*, unsigned short)"},
    {2, "Send(const char*, unsigned long)"},
    {2, "Receive(char*, unsigned long)"},
    {3, "Select(bool*, bool*, bool*) const"},
    {1, "Select(long) const"},
    {1, "SetReuseAddr(bool)"},
    {0, "GetReuseAddr() const"},
    {1, "SetBlocking(bool)"},
    {0, "GetBlocking() const"},
    {1, "SetSendBufSize(unsigned long)"},
    {0, "GetSendBufSize() const"},
    {1, "SetReceiveBufSize(unsigned long)"},
    {0, "GetReceiveBufSize() const"},
    {0, "GetPendingDataCount()"},
    {0, "IsValid() const"},
    {0, "GetPortNumber() const"},
    {0, "GetIpAddress() const"},
    {0, "GetHostName() const"},
};

constexpr Expected TCP_SLOTS[] = {
    {1, "Accept(Z4::TcpSocket&) const"},    {1, "Listen(unsigned long)"},    {1, "SetNagleOnOff(bool)"},
    {0, "GetNagleOnOff() const"},           {1, "SetLingerOnOff(bool)"},     {0, "GetLingerOnOff() const"},
    {1, "SetLingerSeconds(unsigned long)"}, {0, "GetLingerSeconds() const"},
};

constexpr Expected UDP_SLOTS[] = {
    {3, "ReceiveFrom(Z4::SocketAddr&, char*, unsigned long)"},
    {1, "SetBroadCast(bool)"},
    {0, "GetBroadCast()"},
};

/// The functions ignore their parameters, but they take as many words from the stack as they have.
void CallIgnored(void* object, unsigned slot, unsigned parameters) {
    switch (parameters) {
    case 0:
        CallSlot(object, slot);
        break;
    case 1:
        CallSlot(object, slot, 0);
        break;
    case 2:
        CallSlot(object, slot, 0, 0);
        break;
    default:
        CallSlot(object, slot, 0, 0, 0);
    }
}

/// @return the slot behind the last.
template <unsigned COUNT>
unsigned CheckOrder(void* object, unsigned slot, const Expected (&expected)[COUNT]) {
    for (const Expected& one : expected) {
        CallIgnored(object, slot, one.parameters);
        if (std::strcmp(g_called, one.declaration) != 0) {
            std::printf("slot %u is %s, not %s\n", slot, g_called, one.declaration);
            ++g_failures;
        }
        ++slot;
    }
    return slot;
}

std::size_t OutstandingBlocks() {
    return ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks;
}

class CipherRecorder : public Z4::Cipher {
public:
    RECORD(unsigned long, Encode(const char*, char*, unsigned long))
    RECORD(unsigned long, Decode(const char*, char*, unsigned long))
    RECORD(bool, SetKey(const char*))
};

constexpr Expected CIPHER_SLOTS[] = {
    {3, "Encode(const char*, char*, unsigned long)"},
    {3, "Decode(const char*, char*, unsigned long)"},
    {1, "SetKey(const char*)"},
};

class CompressionRecorder : public Z4::CompressionInterface {
public:
    RECORD_VOID(FeedInputBuffer(const void*, unsigned long))
    RECORD_VOID(FeedOutputBuffer(void*, unsigned long))
    RECORD(unsigned long, GetAvailableInputSize() const)
    RECORD(unsigned long, GetAvailableOutputSize() const)
    RECORD(unsigned long, GetOutputDataSize() const)
    RECORD(int, Process())
    RECORD(int, Flush())
    RECORD(int, Reset())

private:
    RECORD(int, CallProcess())
};

constexpr Expected COMPRESSION_SLOTS[] = {
    {2, "FeedInputBuffer(const void*, unsigned long)"},
    {2, "FeedOutputBuffer(void*, unsigned long)"},
    {0, "GetAvailableInputSize() const"},
    {0, "GetAvailableOutputSize() const"},
    {0, "GetOutputDataSize() const"},
    {0, "Process()"},
    {0, "Flush()"},
    {0, "Reset()"},
    {0, "CallProcess()"},
};

class TypeRecorder : public Z4::DynamicType {
public:
    RECORD(const char*, GetTypeNameExt())
    RECORD(bool, IsAKindOf(const Z4::TypeID&) const)
};

constexpr Expected TYPE_SLOTS[] = {
    {0, "GetTypeNameExt()"},
    {1, "IsAKindOf(const Z4::TypeID&) const"},
};

class SymbolRecorder : public Z4::SymbolDataBase {
public:
    RECORD(bool, FindSymbol(const void*, Z4::SymbolInfo&))
    RECORD_VOID(Release())
};

constexpr Expected SYMBOL_SLOTS[] = {
    {2, "FindSymbol(const void*, Z4::SymbolInfo&)"},
    {0, "Release()"},
};

class ThreadRecorder : public Z4::Thread {
public:
    RECORD_VOID(Run())
};

class EalThreadRecorder : public Z4::EalThread {
public:
    EalThreadRecorder() : EalThread(Z4::EALId(Z4::EAL_ID_ZELK_CORE)) {}
    RECORD_VOID(Run())
};

class DllRecorder : public Z4::DllWrapper {
public:
    RECORD(bool, ValidateDLL(const char*))
};

void CheckSocketSlots() {
    TcpRecorder tcp;
    CHECK(CheckOrder(&tcp, CheckOrder(&tcp, 1, SOCKET_SLOTS), TCP_SLOTS) == 31);
    UdpRecorder udp;
    CHECK(CheckOrder(&udp, CheckOrder(&udp, 1, SOCKET_SLOTS), UDP_SLOTS) == 26);

    // The same numbers in the library's own tables, and its own memory freed.
    const std::size_t before = OutstandingBlocks();
    auto* const socket = new Z4::TcpSocket;
    CHECK(CallSlot<bool>(socket, 3, "127.0.0.1", static_cast<unsigned short>(0)));
    CHECK(CallSlot<bool>(socket, 24, 1ul));
    CHECK(CallSlot<unsigned short>(socket, 20) == socket->GetPortNumber() && socket->GetPortNumber() != 0);
    CHECK(std::strcmp(CallSlot<const char*>(socket, 21), "127.0.0.1") == 0);
    CHECK(CallSlot<bool>(socket, 10, true) && CallSlot<bool>(socket, 11));
    CHECK(OutstandingBlocks() > before);
    DeleteThroughSlot(socket);
    CHECK(OutstandingBlocks() == before);
}

void* Z4_CDECL CreateNumber(void* memory) {
    static int number = 0;
    return memory != nullptr ? memory : &number;
}

/// The one factory is the library's own. A type goes by value, as its two words.
void CheckClassFactorySlots() {
    Z4::ClassFactory& factory = Z4::ClassFactory::Instance();
    const Z4::TypeID type = Z4::ClassType("by slot");
    const auto identifier = static_cast<unsigned long>(type);
    const auto* const name = static_cast<const char*>(type);
    CHECK(!CallSlot<bool>(&factory, 4, identifier, name));
    CHECK(CallSlot<bool>(&factory, 3, CreateNumber, identifier, name));
    CHECK(CallSlot<bool>(&factory, 4, identifier, name));
    CHECK(CallSlot<void*>(&factory, 1, identifier, name) == CreateNumber(nullptr));
    CHECK(CallSlot<void*>(&factory, 2, identifier, name, static_cast<void*>(&g_called)) == &g_called);
}

void CheckServiceSlots() {
    CipherRecorder cipher;
    CHECK(CheckOrder(&cipher, 1, CIPHER_SLOTS) == 4);
    CompressionRecorder compression;
    CHECK(CheckOrder(&compression, 1, COMPRESSION_SLOTS) == 10);
    TypeRecorder type;
    CheckOrder(&type, 1, TYPE_SLOTS);
    SymbolRecorder symbols;
    CheckOrder(&symbols, 1, SYMBOL_SLOTS);
    CheckClassFactorySlots();

    const std::size_t before = OutstandingBlocks();
    auto* const tea = new Z4::Tea;
    char out[8];
    CHECK(CallSlot<bool>(tea, 3, "sixteen letters!"));
    CHECK(CallSlot<unsigned long>(tea, 1, "8 bytes.", out, 8ul) == 8);
    CHECK(CallSlot<unsigned long>(tea, 2, out, out, 8ul) == 8 && std::memcmp(out, "8 bytes.", 8) == 0);
    DeleteThroughSlot(tea);
    auto* const inflate = new Z4::ZLibInflate;
    CallSlot(inflate, 1, "x", 1ul);
    CHECK(CallSlot<unsigned long>(inflate, 3) == 1 && inflate->GetAvailableInputSize() == 1);
    DeleteThroughSlot(inflate);
    CHECK(OutstandingBlocks() == before);
}

} // namespace

void CheckSlots() {
    CheckSocketSlots();
    CheckServiceSlots();
    ThreadRecorder thread;
    CallSlot(&thread, 1);
    CHECK_CALLED("Run()");
    EalThreadRecorder ealThread;
    g_called = "";
    CallSlot(&ealThread, 1);
    CHECK_CALLED("Run()");
    DllRecorder dll;
    CallSlot(&dll, 1, "name");
    CHECK_CALLED("ValidateDLL(const char*)");
}
