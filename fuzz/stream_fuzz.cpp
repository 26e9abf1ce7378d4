// Typed reading of data that nobody vouches for. The first bytes of the input are a program of reader calls, the others
// are what it reads: from memory, from a part of it, and expanded. The calls must come back, tell the same of all ways
// to the same bytes, and take memory in proportion to what there is.
#include "body.h"
#include "hostmemory.h"

#include <cstring>
#include <string>
#include <vector>
#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamreader.h>
#include <zelk_core/streams/substream.h>

namespace {

using namespace Z4;

std::size_t g_largestBlock = 0;

/// What a program has read, as far as it can be compared.
struct Account {
    std::vector<std::uint64_t> values;
    Error error;
};

void Note(Account& account, const ZelkString& text) {
    account.values.push_back(text.GetHash());
    account.values.push_back(text.Size());
}

Account RunProgram(Stream& stream, const std::uint8_t* program, std::size_t size) {
    Account account;
    StreamReader reader(stream, size % 2 != 0 ? BIG_ENDIAN_ORDER : LITTLE_ENDIAN_ORDER);
    reader.SetBudget(1 << 20);
    ZelkString text;
    Vector<std::uint32_t> numbers;
    char field[257];
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        const std::uint8_t argument = program[i + 1];
        const std::uint32_t limit = argument < 250 ? argument : 0xFFFFFFFF;
        switch (program[i] % 12) {
        case 0:
            account.values.push_back(reader.Read<std::uint32_t>());
            break;
        case 1:
            account.values.push_back(reader.Read<bool>() ? 1 : 0);
            break;
        case 2:
            account.values.push_back(reader.ReadVarint());
            break;
        case 3:
            reader.ReadString(text, limit);
            Note(account, text);
            break;
        case 4:
            reader.ReadUtf8String(text, limit);
            Note(account, text);
            break;
        case 5:
            reader.ReadTerminated(text, limit);
            Note(account, text);
            break;
        case 6:
            reader.ReadLine(text, limit);
            Note(account, text);
            break;
        case 7:
            reader.ReadVector(numbers, limit);
            account.values.push_back(numbers.Size());
            Require(numbers.IsEmpty() || stream.GetError() == ERR_OK);
            break;
        case 8:
            reader.ReadFixedString(field, argument);
            account.values.push_back(std::strlen(field));
            break;
        case 9:
            reader.Align(1U + argument % 16);
            break;
        case 10:
            stream.Skip(argument);
            break;
        default:
            account.values.push_back(reader.Read<GUID>().GetHash());
            break;
        }
        account.values.push_back(stream.GetError() == ERR_OK ? stream.Tell() : 0);
    }
    account.error = stream.GetError();
    return account;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InstallMemory();
    static eal_mem_dll_interface table{};
    table.alloc = [](std::size_t size, std::size_t, unsigned, int) {
        g_largestBlock = size > g_largestBlock ? size : g_largestBlock;
        ++g_outstandingBlocks;
        return std::malloc(size);
    };
    table.realloc = [](void* block, std::size_t size, std::size_t) {
        g_largestBlock = size > g_largestBlock ? size : g_largestBlock;
        return std::realloc(block, size);
    };
    table.free = [](void* block) {
        --g_outstandingBlocks;
        std::free(block);
    };
    SetEalInterface(table);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const std::size_t programSize = data[0] % (size < 40 ? size : 40);
    const std::uint8_t* const program = data + 1;
    const std::uint8_t* const bytes = data + 1 + programSize;
    const auto count = static_cast<std::uint32_t>(size - 1 - programSize);
    g_largestBlock = 0;
    MemoryStream memory(bytes, count);
    const Account whole = RunProgram(memory, program, programSize);
    {
        MemoryStream again(bytes, count);
        SubStream part(again, 0, data[0] % 2 != 0 ? count : UINT64_MAX / 4, data[0] % 32);
        const Account parted = RunProgram(part, program, programSize);
        Require(whole.error == parted.error && whole.values == parted.values);
        // The library's own small blocks, and twice what there is.
        Require(g_largestBlock <= 4096 + 4 * size);
    }
    {
        MemoryStream packed;
        DeflateStream deflate(packed, CompressionInterface::CMP_FAST);
        deflate.Write(bytes, count);
        Require(deflate.Close() == ERR_OK && packed.Seek(0, SEEK_FROM_BEGIN));
        InflateStream inflate(packed, count);
        g_largestBlock = 0;
        const Account expanded = RunProgram(inflate, program, programSize);
        Require(whole.error == expanded.error && whole.values == expanded.values);
        Require(g_largestBlock <= 2 * 65536 + 4 * size);
        MemoryStream raw(bytes, count);
        InflateStream wild(raw, 100000);
        RunProgram(wild, program, programSize);
    }
    RequireNothingLeft();
    return 0;
}
