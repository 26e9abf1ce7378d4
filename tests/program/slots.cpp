// Calls virtual functions as an engine module compiled elsewhere does: by the number of their slot.
#include "check.h"

#include <cstring>
#include <host/zelkhost.h>
#include <initializer_list>
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

// Every function of a recorder says which it is, by its declaration's text, and leaves by a jump: its parameters, as
// many words on the stack as they may be, are nobody's concern then.
const char* g_called;
void* g_caller[5];
[[noreturn]] void Record(const char* declaration) {
    g_called = declaration;
    __builtin_longjmp(g_caller, 1);
}
#define RECORD(result, declaration) \
    result declaration override {   \
        Record(#declaration);       \
    }
#define EXPECT(result, declaration) #declaration,

// clang-format off
// The functions of the exported classes in the order of their slots, from slot 1 or their base's last on.
#define SOCKET_SLOTS(DO)                                                                                        \
    DO(bool, Open()) DO(bool, Close())                                                                          \
    DO(bool, Bind(const char*, unsigned short)) DO(bool, Bind(unsigned short))                                  \
    DO(bool, Connect(const char*, unsigned short))                                                              \
    DO(long, Send(const char*, unsigned long)) DO(long, Receive(char*, unsigned long))                          \
    DO(bool, Select(bool*, bool*, bool*) const) DO(bool, Select(long) const)                                    \
    DO(bool, SetReuseAddr(bool)) DO(bool, GetReuseAddr() const)                                                 \
    DO(bool, SetBlocking(bool)) DO(bool, GetBlocking() const)                                                   \
    DO(bool, SetSendBufSize(unsigned long)) DO(unsigned long, GetSendBufSize() const)                           \
    DO(bool, SetReceiveBufSize(unsigned long)) DO(unsigned long, GetReceiveBufSize() const)                     \
    DO(long, GetPendingDataCount()) DO(bool, IsValid() const) DO(unsigned short, GetPortNumber() const)         \
    DO(const char*, GetIpAddress() const) DO(const char*, GetHostName() const)
#define TCP_SLOTS(DO)                                                                                           \
    SOCKET_SLOTS(DO)                                                                                            \
    DO(bool, Accept(Z4::TcpSocket&) const) DO(bool, Listen(unsigned long))                                      \
    DO(bool, SetNagleOnOff(bool)) DO(bool, GetNagleOnOff() const)                                               \
    DO(bool, SetLingerOnOff(bool)) DO(bool, GetLingerOnOff() const)                                             \
    DO(bool, SetLingerSeconds(unsigned long)) DO(unsigned long, GetLingerSeconds() const)
#define UDP_SLOTS(DO)                                                                                           \
    SOCKET_SLOTS(DO)                                                                                            \
    DO(long, ReceiveFrom(Z4::SocketAddr&, char*, unsigned long))                                                \
    DO(bool, SetBroadCast(bool)) DO(bool, GetBroadCast())
#define CIPHER_SLOTS(DO)                                                                                        \
    DO(unsigned long, Encode(const char*, char*, unsigned long))                                                \
    DO(unsigned long, Decode(const char*, char*, unsigned long)) DO(bool, SetKey(const char*))
#define COMPRESSION_SLOTS(DO)                                                                                   \
    DO(void, FeedInputBuffer(const void*, unsigned long)) DO(void, FeedOutputBuffer(void*, unsigned long))      \
    DO(unsigned long, GetAvailableInputSize() const) DO(unsigned long, GetAvailableOutputSize() const)          \
    DO(unsigned long, GetOutputDataSize() const)                                                                \
    DO(int, Process()) DO(int, Flush()) DO(int, Reset()) DO(int, CallProcess())
#define TYPE_SLOTS(DO) DO(const char*, GetTypeNameExt()) DO(bool, IsAKindOf(const Z4::TypeID&) const)
#define SYMBOL_SLOTS(DO) DO(bool, FindSymbol(const void*, Z4::SymbolInfo&)) DO(void, Release())
#define RUN_SLOTS(DO) DO(void, Run())
#define DLL_SLOTS(DO) DO(bool, ValidateDLL(const char*))
// clang-format on

class AnyEalThread : public Z4::EalThread {
protected:
    AnyEalThread() : EalThread(Z4::EALId(Z4::EAL_ID_ZELK_CORE)) {}
};

/// What the function in that slot says.
const char* Called(void* recorder, unsigned slot) {
    g_called = "nothing that is recorded";
    if (__builtin_setjmp(g_caller) == 0) {
        CallSlot(recorder, slot);
    }
    return g_called;
}

void CheckRecorder(void* recorder, std::initializer_list<const char*> declarations) {
    for (unsigned slot = 1; const char* const declaration : declarations) {
        const char* const called = Called(recorder, slot);
        if (std::strcmp(called, declaration) != 0) {
            std::printf("slot %u is %s, not %s\n", slot, called, declaration);
            ++g_failures;
        }
        ++slot;
    }
}
#define CHECK_ORDER(Base, SLOTS)                        \
    do {                                                \
        struct Recorder : Base{SLOTS(RECORD)} recorder; \
        CheckRecorder(&recorder, {SLOTS(EXPECT)});      \
    } while (false)

void* Z4_CDECL CreateNumber(void* memory) {
    static int number = 0;
    return memory != nullptr ? memory : &number;
}

struct Counter : Z4::ClassFactory::Sink {
    void OnEvent(unsigned event, const Z4::ClassFactoryNotification& notification) override {
        count += event == Z4::CLASS_FACTORY_CREATED && notification.object != nullptr;
    }

    int count = 0;
};

/// The one factory is the library's own. A type goes by value, as its two words.
void CheckClassFactorySlots() {
    Z4::ClassFactory& factory = Z4::ClassFactory::Instance();
    const Z4::TypeID type = Z4::ClassType("by slot");
    const auto identifier = static_cast<unsigned long>(type);
    const auto* const name = static_cast<const char*>(type);
    CHECK(!CallSlot<bool>(&factory, 4, identifier, name));
    CHECK(CallSlot<bool>(&factory, 3, CreateNumber, identifier, name));
    CHECK(CallSlot<bool>(&factory, 4, identifier, name));
    Counter counter;
    CHECK(factory.AddSink(counter));
    CHECK(CallSlot<void*>(&factory, 1, identifier, name) == CreateNumber(nullptr) && counter.count == 1);
    CHECK(factory.RemoveSink(counter));
    CHECK(CallSlot<void*>(&factory, 2, identifier, name, static_cast<void*>(&g_called)) == &g_called);
}

/// Slot 0 of the library's own tables gives the memory back to where it came from.
void CheckDestructorSlots() {
    const auto blocks = [] { return ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks; };
    const std::size_t before = blocks();
    void* const objects[] = {new Z4::TcpSocket, new Z4::Tea, new Z4::ZLibInflate};
    CHECK(blocks() > before + 2);
    for (void* const object : objects) {
        DeleteThroughSlot(object);
    }
    CHECK(blocks() == before);
}

} // namespace

void CheckSlots() {
    CHECK_ORDER(Z4::TcpSocket, TCP_SLOTS);
    CHECK_ORDER(Z4::DatagramSocket, UDP_SLOTS);
    CHECK_ORDER(Z4::Cipher, CIPHER_SLOTS);
    CHECK_ORDER(Z4::CompressionInterface, COMPRESSION_SLOTS);
    CHECK_ORDER(Z4::DynamicType, TYPE_SLOTS);
    CHECK_ORDER(Z4::SymbolDataBase, SYMBOL_SLOTS);
    CHECK_ORDER(Z4::Thread, RUN_SLOTS);
    CHECK_ORDER(AnyEalThread, RUN_SLOTS);
    CHECK_ORDER(Z4::DllWrapper, DLL_SLOTS);
    CheckClassFactorySlots();
    CheckDestructorSlots();
}
