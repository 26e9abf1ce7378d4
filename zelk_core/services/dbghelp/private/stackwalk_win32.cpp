#include <zelk_core/services/dbghelp/private/stackwalk.h>

#include <algorithm>
#include <cstring>

namespace Z4::Private {

namespace {

using Registers = StackRegisters;

constexpr std::uint32_t WORD = sizeof(std::uint32_t);

/// A call, by the bytes in front of the address that it returns to.
struct Call {
    enum Kind {
        NONE,
        DIRECT,
        BY_POINTER
    } kind;
    std::uint32_t target; ///< 0 when it is not known
};

std::uint32_t WordAt(const unsigned char* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// The length of a call through a register or memory, opcode FF, by its second and third byte; 0 when it is none.
std::uint32_t LengthOfCallByPointer(const unsigned char* bytes) {
    constexpr unsigned MEMORY = 0;
    constexpr unsigned MEMORY_8 = 1; // with a displacement of 8 bits
    constexpr unsigned REGISTER = 3;
    constexpr unsigned SCALED = 4; // another byte follows
    constexpr unsigned BARE = 5;   // with MEMORY: an address instead of a register
    const unsigned mode = bytes[1] >> 6;
    const unsigned operand = bytes[1] & 7;
    if (bytes[0] != 0xFF || (bytes[1] >> 3 & 7) != 2) {
        return 0;
    }
    if (mode == REGISTER) {
        return 2;
    }
    const bool isScaled = operand == SCALED;
    const std::uint32_t length = isScaled ? 3 : 2;
    if (mode == MEMORY) {
        return (isScaled ? bytes[2] & 7 : operand) == BARE ? length + WORD : length;
    }
    return mode == MEMORY_8 ? length + 1 : length + WORD;
}

/// The address in a slot of a module's imports.
bool ReadImport(const CodeModule& module, std::uint32_t slot, std::uint32_t& address) {
    return module.imports.View().Read(slot, address);
}

Call CallBefore(std::uint32_t address) {
    constexpr std::uint32_t LONGEST = 7;
    constexpr std::uint32_t DIRECT_LENGTH = 5;
    constexpr std::uint32_t SLOT_LENGTH = 6;
    CodeModule module{};
    if (address == 0 || !g_codeModules.Find(address - 1, module) || !module.code.Contains(address - 1)) {
        return {Call::NONE, 0};
    }
    // The third byte counts for forms of three bytes and more only, all of which end at the address.
    unsigned char bytes[LONGEST] = {};
    const std::uint32_t known = (std::min)(LONGEST, address - module.code.begin);
    std::memcpy(bytes + LONGEST - known, module.code.View().bytes + (address - module.code.begin) - known, known);
    const unsigned char* const end = bytes + LONGEST;
    if (known >= DIRECT_LENGTH && end[-5] == 0xE8) {
        return {Call::DIRECT, address + WordAt(end - WORD)};
    }
    for (std::uint32_t length = 2; length <= known; ++length) {
        if (LengthOfCallByPointer(end - length) != length) {
            continue;
        }
        Call call{Call::BY_POINTER, 0};
        if (length == SLOT_LENGTH && end[-5] == 0x15) {
            ReadImport(module, WordAt(end - WORD), call.target);
        }
        return call;
    }
    return {Call::NONE, 0};
}

/// Where a call of `target` arrives: jumps in between, as linkers make them for imported functions, are followed.
std::uint32_t SkipJumps(std::uint32_t target) {
    constexpr int MOST = 3;
    for (int i = 0; i < MOST; ++i) {
        CodeModule module{};
        if (!g_codeModules.Find(target, module) || !module.code.Contains(target)) {
            break;
        }
        const std::uint32_t room = module.code.begin + module.code.size - target;
        const unsigned char* const code = module.code.View().bytes + (target - module.code.begin);
        std::uint32_t next = 0;
        if (room >= 6 && code[0] == 0xFF && code[1] == 0x25 && ReadImport(module, WordAt(code + 2), next)) {
            target = next;
        } else if (room >= 5 && code[0] == 0xE9) {
            target += 5 + WordAt(code + 1);
        } else {
            break;
        }
    }
    return target;
}

/// Where the function that `pc` lies in can begin: by its module's table, or else anywhere not too far in front.
ImagePart PlaceOfBegin(const CodeModule& module, std::uint32_t pc) {
    constexpr std::uint32_t LARGEST_FUNCTION = 0x10000;
    UnwindEntry entry;
    if (module.FindFunction(pc, entry) && Covers(module.table.View(), entry, pc)) {
        return {entry.begin, 1};
    }
    const std::uint32_t size = (std::min)(LARGEST_FUNCTION, pc - module.Whole().begin + 1);
    return {pc - size + 1, size};
}

} // namespace

bool StackWalk::Next(FrameOrigin& origin) {
    const std::uint32_t pc = Pc() - (m_isExact ? 0 : 1);
    if (!FindModule(pc)) {
        origin = FRAME_PROVEN;
        return m_isExact && NextByTopOfStack();
    }
    if (const Unwound result = NextByTable(pc); result != Unwound::UNKNOWN) {
        origin = FRAME_TABLE;
        return result != Unwound::OUTERMOST;
    }
    if (NextByProvenCall(pc)) {
        origin = FRAME_PROVEN;
        return true;
    }
    if (NextByFramePointer()) {
        origin = FRAME_POINTER;
        return true;
    }
    origin = FRAME_GUESSED;
    return NextByGuess();
}

bool StackWalk::FindModule(std::uint32_t pc) {
    if (m_module.Whole().Contains(pc)) {
        return true;
    }
    // Where nothing was found, half of a record may have been read.
    const bool isFound = g_codeModules.Find(pc, m_module);
    m_module = isFound ? m_module : CodeModule{};
    return isFound;
}

Unwound StackWalk::NextByTable(std::uint32_t pc) {
    UnwindEntry entry;
    if (!m_module.FindFunction(pc, entry)) {
        return Unwound::UNKNOWN;
    }
    const Unwound result = UnwindFrame(m_module.table.View(), entry, pc, m_stack, m_registers, m_common);
    m_isExact = result == Unwound::TO_INTERRUPTED;
    return result;
}

/// Of several addresses the one whose call arrives nearest to `pc` is taken: no function begins between its begin and
/// what lies in it, so others are left from earlier calls. Of equals, that of the frame pointer, or the first.
bool StackWalk::NextByProvenCall(std::uint32_t pc) {
    const std::uint32_t top = m_registers.values[Registers::ESP];
    const std::uint32_t framePointer = m_registers.values[Registers::EBP];
    const bool isPointer = framePointer >= top && framePointer - top < m_stack.size;
    const std::uint32_t pointed = isPointer ? framePointer + WORD : 0;
    const ImagePart begins = PlaceOfBegin(m_module, pc);
    std::uint32_t nearest = 0;
    std::uint32_t found = 0;
    ScanTo(isPointer ? pointed + WORD : ~std::uint32_t{0}, [&](std::uint32_t at, std::uint32_t address) {
        const Call call = CallBefore(address);
        const std::uint32_t target = call.target != 0 ? SkipJumps(call.target) : 0;
        if (begins.Contains(target) && (target > nearest || (target == nearest && at == pointed))) {
            nearest = target;
            found = at;
        }
        return false;
    });
    return nearest != 0 && ReturnThrough(found);
}

bool StackWalk::NextByGuess() {
    std::uint32_t found = 0;
    return ScanTo(~std::uint32_t{0},
                  [&](std::uint32_t at, std::uint32_t address) {
                      found = at;
                      return CallBefore(address).kind == Call::BY_POINTER;
                  }) &&
           ReturnThrough(found);
}

bool StackWalk::NextByTopOfStack() {
    const std::uint32_t top = m_registers.values[Registers::ESP];
    std::uint32_t address = 0;
    return m_stack.Read(top, address) && CallBefore(address).kind != Call::NONE && ReturnThrough(top);
}

/// Offers the words on the stack, from its top and for a KiB but not to `end`, until `accept` takes one.
template <class Accept>
bool StackWalk::ScanTo(std::uint32_t end, Accept accept) const {
    constexpr std::uint32_t FARTHEST = 1024;
    const std::uint32_t begin = m_registers.values[Registers::ESP];
    std::uint32_t address = 0;
    for (std::uint32_t at = begin; at < end && at - begin < FARTHEST && m_stack.Read(at, address); at += WORD) {
        if (!m_ignored.Contains(at) && accept(at, address)) {
            return true;
        }
    }
    return false;
}

/// Goes on to the caller whose address lies at `at`.
bool StackWalk::ReturnThrough(std::uint32_t at) {
    std::uint32_t& framePointer = m_registers.values[Registers::EBP];
    if (framePointer == at - WORD) {
        m_stack.Read(framePointer, framePointer);
    }
    m_isExact = false;
    m_registers.values[Registers::ESP] = at + WORD;
    return m_stack.Read(at, m_registers.values[Registers::EIP]);
}

/// The one above the place that the frame pointer points to.
bool StackWalk::ReadReturnAddress(std::uint32_t& returnAddress) const {
    const std::uint32_t framePointer = m_registers.values[Registers::EBP];
    return framePointer >= m_registers.values[Registers::ESP] && framePointer % WORD == 0 &&
           m_stack.Read(framePointer + WORD, returnAddress);
}

bool StackWalk::NextByFramePointer() {
    std::uint32_t returnAddress = 0;
    return ReadReturnAddress(returnAddress) && CallBefore(returnAddress).kind != Call::NONE &&
           ReturnThrough(m_registers.values[Registers::EBP] + WORD);
}

bool StackWalk::LeaveLibrary() {
    const std::uint32_t pc = Pc() - 1;
    std::uint32_t returnAddress = 0;
    return (FindModule(pc) && NextByTable(pc) == Unwound::TO_CALLER) ||
           (ReadReturnAddress(returnAddress) && ReturnThrough(m_registers.values[Registers::EBP] + WORD));
}

} // namespace Z4::Private
