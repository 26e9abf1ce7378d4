// Files of symbols, and the pool of their names. Hunted are: functions that are named wrong or beyond their end, files
// of other images that are believed, lines that break a reader, a failure that loses what was there, and texts that a
// pool mixes up.
#include <tests/support/testhost.h>

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <string>
#include <tests/support/random.h>
#include <tests/support/rows.h>
#include <utility>
#include <zelk_core/generics/stringpool.h>
#include <zelk_core/os/nullock.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/dbghelp/symbolmap.h>

namespace {

using namespace Z4;

constexpr SymbolMap::Image ANY_IMAGE{};

Error Read(SymbolMap& map, const std::string& text, const SymbolMap::Image& image = ANY_IMAGE) {
    return map.Read(text.data(), static_cast<unsigned long>(text.size()), image);
}

std::string Load(const std::string& file) {
    std::ifstream stream(ZELK_MAPS "/" + file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(SymbolMap, NamesFunctionsOfEachFormat) {
    for (const ZelkTest::Row& row : ZelkTest::Rows("symbolmaps.txt")) {
        SCOPED_TRACE(row.Where());
        SymbolMap map;
        ASSERT_EQ(Read(map, Load(row.Text(0))), ERR_OK);
        SymbolMap::Symbol symbol{};
        if (row.Size() == 4) {
            EXPECT_EQ(static_cast<unsigned>(map.GetFormat()), row.Number(1));
            EXPECT_EQ(map.GetCount(), row.Number(2));
            EXPECT_EQ(map.GetSkipped(), row.Number(3));
            continue;
        }
        const bool isFound = map.Find(static_cast<unsigned long>(row.Number(1)), symbol);
        ASSERT_EQ(isFound, row.Size() != 2);
        if (!isFound) {
            continue;
        }
        EXPECT_EQ(symbol.function, row.Text(2));
        EXPECT_EQ(symbol.object, row.Text(3));
        EXPECT_EQ(symbol.rva, row.Number(4));
        EXPECT_EQ(symbol.size, row.Number(5));
        unsigned long rva = 0;
        EXPECT_EQ(map.FindName(symbol.function, rva), !row.Text(2).empty());
        EXPECT_TRUE(row.Text(2).empty() || rva == symbol.rva);
    }
}

TEST(SymbolMap, RefusesFilesOfOtherImages) {
    const SymbolMap::Section sections[] = {{0x1000, 0x101, true}, {0x2000, 0x14, false}};
    const std::string gnu = Load("gnu.map");
    const std::string link = Load("link.map");
    std::string stamped = link;
    stamped.replace(stamped.find("00000000 (R"), 8, "6b02823f");
    const struct {
        const std::string& text;
        unsigned long codeAt;
        unsigned long codeSize;
        unsigned long timeStamp;
        Error error;
    } rows[] = {
        {gnu, 0x1000, 0x200, 5, ERR_OK},
        {gnu, 0x1000, 0x101, 0, ERR_OK}, // as in memory, and the file has its place on disk
        {gnu, 0x1000, 0x201, 0, ERR_CANNOT_ASSIGN},
        {gnu, 0x1000, 0, 0, ERR_CORRUPTED_DATA}, // no code, no functions
        {gnu, 0x3000, 0x200, 0, ERR_CANNOT_ASSIGN},
        {link, 0x1000, 0xe8, 0x6b02823f, ERR_OK},
        {link, 0x1000, 0x100e8, 0, ERR_OK}, // with jumps that the linker does not list
        {link, 0x1000, 0x100e9, 0, ERR_CANNOT_ASSIGN},
        {link, 0x1000, 0xe7, 0, ERR_CANNOT_ASSIGN},
        {stamped, 0x1000, 0xe8, 0x6b02823f, ERR_OK},
        {stamped, 0x1000, 0xe8, 0, ERR_OK},
        {stamped, 0x1000, 0xe8, 0x6b02823e, ERR_CANNOT_ASSIGN},
    };
    SymbolMap map;
    for (const auto& row : rows) {
        const SymbolMap::Section own[] = {{row.codeAt, row.codeSize, true}, sections[1]};
        EXPECT_EQ(Read(map, row.text, {0x20000, row.timeStamp, 2, own}), row.error)
            << row.codeAt << ' ' << row.codeSize << ' ' << row.timeStamp;
        EXPECT_NE(map.GetCount(), 0u) << "what was there stays";
    }
    const SymbolMap::Section small[] = {{0x1000, 0xe8, true}};
    ASSERT_EQ(Read(map, link, {0x1080, 0, 1, small}), ERR_OK);
    EXPECT_EQ(map.GetSkipped(), 6u) << "five functions lie beyond the image's end, and so does the end of its code";
    EXPECT_EQ(Read(map, gnu, {0x20000, 0, 0, nullptr}), ERR_OK) << "an image that tells of no sections";
}

TEST(SymbolMap, SkipsWhatDoesNotParse) {
    const std::string gnu = "Linker script and memory map\n\n   0x400000   __image_base__ = 0x400000\n"
                            ".text 0x401000 0x1000\n .text 0x401000 0x100 a.o\n";
    const std::string lld = "Address  Size     Align Out     In      Symbol\n00001000 00001000  4096 .text\n";
    const std::string link = " Preferred load address is 400000\n 0001:0 80H .text CODE\n 0001:80 80H .text CODE\n"
                             " Address \n 0001:10 f 401010\n";
    const std::string longest(SymbolMap::LONGEST_NAME, 'n');
    const std::string tooLong(SymbolMap::LONGEST_LINE + 1, 'x');
    const struct {
        std::string text;
        Error error;
        unsigned long count;
        unsigned long skipped;
    } rows[] = {
        {"", ERR_UNSUPPORTED, 0, 0},
        {"VMA      LMA      Size Align Out     In      Symbol\n", ERR_UNSUPPORTED, 0, 0},
        {std::string(5000, 'x'), ERR_UNSUPPORTED, 0, 0},
        {gnu, ERR_CORRUPTED_DATA, 0, 0},
        {gnu + "   0x401010   f\n   0x401010   f\r\n   0x401020   g", ERR_OK, 2, 0},
        {gnu + "   0x401010   f\n   0xzz   g\n   0x12345678901234567   h\n   0x401020\n", ERR_OK, 1, 3},
        {gnu + "   0x3ff000   below\n   0x401010   f\n   0x123456789a   above\n", ERR_OK, 1, 2},
        {gnu + "   0x401010   " + longest + "\n   0x401011   " + longest + "n\n", ERR_OK, 1, 1},
        {gnu + "   0x401010   f\n   0x401011   " + std::string(SymbolMap::LONGEST_LINE, ' ') + "g\n", ERR_OK, 1, 1},
        {gnu + " .text 0x401100 junk\n   0x401010   f\n", ERR_OK, 1, 1},
        {gnu + " .text 0x401100 0x10 " + longest + "n\n   0x401010   f\n", ERR_OK, 1, 1},
        {gnu + ".text 0x401000 0x123456789a\n   0x401010   f\n", ERR_OK, 1, 0},
        {gnu + "   0x401010   f\n   0x401020   PROVIDE (g)\n .data\n", ERR_OK, 1, 0},
        {gnu + " SORT_BY_NAME(*)(.text$*)\n   0x401010   f\n", ERR_OK, 1, 0},
        {lld + "00001000 00000010 16         a.o:(.text)\n00001000 00000000 0                 f", ERR_OK, 1, 0},
        {lld + "00001000 00000000 0                 f\n00001000 0000\nwild\n00001000\n" + tooLong, ERR_OK, 1, 4},
        {link + tooLong + "\n FIXUPS: 1\n 0001:20 g 401020\n", ERR_OK, 1, 1},
        {link + " 0000:20 absolute 20\n Exports\n 0001:20 g 401020\n", ERR_OK, 1, 0},
        {"\xEF\xBB\xBF"
         "1000 T f\n",
         ERR_OK, 1, 0},
        {"1000 T f\n1001 T\n1002 TT g\nlibrary.o:\n         U h\n1003 D d\n1004 t .text\n1005 W g\n1006 w h\n" +
             tooLong,
         ERR_OK, 3, 4},
        {"1000 T _f\n1001 T _\n1002 T {g\n1003 T ?h@8\n", ERR_OK, 4, 0},
        {" Timestamp is 0\n Address \n 0061:00000000 f 0\n 0001:00000000 f\n0001:0\n", ERR_CORRUPTED_DATA, 0, 0},
        {"MZ", ERR_UNSUPPORTED, 0, 0},
    };
    for (const auto& row : rows) {
        SymbolMap map;
        EXPECT_EQ(Read(map, row.text), row.error) << row.text;
        EXPECT_EQ(map.GetCount(), row.count) << row.text;
        EXPECT_EQ(map.GetSkipped(), row.skipped) << row.text;
        SymbolMap::Symbol symbol;
        unsigned long rva = 0;
        const bool isRead = row.error == ERR_OK;
        EXPECT_TRUE(isRead || (!map.Find(0x1010, symbol) && !map.FindName("f", rva))) << row.text;
        EXPECT_EQ(map.GetBytes() != 0, isRead) << row.text;
        EXPECT_EQ(map.GetFormat() != SYMBOL_FORMAT_UNKNOWN, isRead) << row.text;
    }
    SymbolMap map;
    EXPECT_EQ(map.Read(nullptr, 1, ANY_IMAGE), ERR_INVALID);
    EXPECT_EQ(map.Read(nullptr, 0, ANY_IMAGE), ERR_UNSUPPORTED);
    EXPECT_EQ(map.Read("", SymbolMap::LARGEST_FILE + 1, ANY_IMAGE), ERR_OVERFLOW);
    const std::string pieces = "Linker script and memory map\n.text 0x401000 0x1000\n   0x401010   f\n";
    for (const auto& [head, line] : {std::pair{"", "1000 T f\n"}, {pieces.c_str(), " .text 0x401000 0x1\n"}}) {
        std::string many = head;
        for (unsigned long i = 0; i < SymbolMap::MOST_SYMBOLS; ++i) {
            many += line;
        }
        EXPECT_EQ(Read(map, many), ERR_OK);
        EXPECT_EQ(map.GetCount(), 1u);
        EXPECT_EQ(Read(map, many + line), ERR_OVERFLOW);
    }
}

TEST(SymbolMap, AnswersAsALookAtEachSymbol) {
    ZelkTest::Input random;
    for (int round = 0; round < 50; ++round) {
        std::string text = "Linker script and memory map\n.text 0x0 0x1000\n";
        std::map<unsigned long, std::string> symbols;
        std::map<unsigned long, unsigned long> extents;
        for (int i = 0; i < 20; ++i) {
            const unsigned long rva = random.Below(256);
            char line[64];
            if (random.Below(3) == 0) {
                const unsigned long size = 1 + random.Below(32);
                std::snprintf(line, sizeof line, " .text 0x%lx 0x%lx o%lu\n", rva, size, rva);
                unsigned long& largest = extents[rva];
                largest = size > largest ? size : largest;
            } else {
                std::snprintf(line, sizeof line, "   0x%lx   f%d\n", rva, i);
                symbols.emplace(rva, "f" + std::to_string(i));
            }
            text += line;
        }
        if (symbols.empty() || extents.empty()) {
            continue;
        }
        SymbolMap map;
        ASSERT_EQ(Read(map, text), ERR_OK);
        for (unsigned long rva = 0; rva < 300; ++rva) {
            SCOPED_TRACE(text + std::to_string(rva));
            SymbolMap::Symbol found{};
            const auto extent = extents.upper_bound(rva);
            const bool isInside =
                extent != extents.begin() && rva - std::prev(extent)->first < std::prev(extent)->second;
            ASSERT_EQ(map.Find(rva, found), isInside);
            if (!isInside) {
                continue;
            }
            const unsigned long begin = std::prev(extent)->first;
            const unsigned long end = begin + std::prev(extent)->second;
            const auto next = symbols.upper_bound(rva);
            const bool isKnown = next != symbols.begin() && std::prev(next)->first >= begin;
            EXPECT_EQ(found.function, isKnown ? std::prev(next)->second : "");
            EXPECT_EQ(found.object, "o" + std::to_string(begin));
            EXPECT_EQ(found.rva, isKnown ? std::prev(next)->first : begin);
            EXPECT_EQ(found.rva + found.size, next != symbols.end() && next->first < end ? next->first : end);
        }
    }
}

TEST(SymbolMap, KeepsWhatItHasWhenMemoryIsRefused) {
    for (const std::string& text : {Load("gnu.map"), std::string("1000 T after\n")}) {
        SymbolMap map;
        ASSERT_EQ(Read(map, "1000 T before\n"), ERR_OK);
        for (std::size_t refused = 1;; ++refused) {
            ZelkTest::FailAllocations(refused, 1);
            const Error error = Read(map, text);
            ZelkTest::FailAllocations(0);
            unsigned long rva = 0;
            ASSERT_EQ(map.FindName("before", rva), error != ERR_OK);
            if (error == ERR_OK) {
                EXPECT_GT(refused, 5u);
                break;
            }
            ASSERT_EQ(error, ERR_OUT_OF_MEMORY);
        }
    }
}

TEST(StringPool, StoresEachTextOnce) {
    ZelkTest::Input random;
    StringPool<NonRecursiveSpinLock> pool;
    std::map<std::string, unsigned long> handles;
    unsigned long handle = 1;
    for (int i = 0; i < 20000; ++i) {
        // Few characters, so that many are equal or begin alike; now and then one that fits no small piece.
        std::string text(random.Below(i % 1000 == 0 ? StringPool<NulLock>::LONGEST + 1 : 12), 'a');
        for (char& character : text) {
            character = static_cast<char>('a' + random.Below(3));
        }
        ASSERT_EQ(pool.Add(text.c_str(), static_cast<unsigned long>(text.size()), handle), ERR_OK);
        const auto [known, isNew] = handles.emplace(text, handle);
        ASSERT_EQ(known->second, handle);
    }
    for (const auto& [text, number] : handles) {
        ASSERT_EQ(pool.Get(number), text);
    }
    EXPECT_EQ(handles[""], 0u);
    EXPECT_EQ(pool.GetCount(), handles.size() - 1);
    EXPECT_EQ(pool.Add("ab\0cd", 5, handle), ERR_OK);
    EXPECT_EQ(handle, handles["ab"]);
    const unsigned long count = pool.GetCount();
    const std::string tooLong(StringPool<NulLock>::LONGEST + 1, 'x');
    EXPECT_EQ(pool.Add(tooLong.c_str(), static_cast<unsigned long>(tooLong.size()), handle), ERR_OVERFLOW);
    EXPECT_EQ(handle, 0u);
    ZelkTest::FailAllocations(1);
    Error error = ERR_OK;
    for (int i = 0; error == ERR_OK; ++i) {
        const std::string text = "new " + std::to_string(i);
        error = pool.Add(text.c_str(), static_cast<unsigned long>(text.size()), handle);
    }
    ZelkTest::FailAllocations(0);
    EXPECT_EQ(error, ERR_OUT_OF_MEMORY);
    EXPECT_GE(pool.GetCount(), count);
    EXPECT_STREQ(pool.Get(handles["abc"]), "abc");
    pool.Clear();
    EXPECT_EQ(pool.GetCount() + pool.GetBytes(), 0u);
    ASSERT_EQ(pool.Add("abc", 3, handle), ERR_OK);
    EXPECT_STREQ(pool.Get(handle), "abc");
}

TEST(StringPool, HoldsNoMoreThanItsLimit) {
    StringPool<NulLock> pool;
    std::string text(StringPool<NulLock>::LONGEST, 'x');
    Error error = ERR_OK;
    unsigned long handle = 0;
    unsigned count = 0;
    for (; error == ERR_OK; ++count) {
        text.replace(0, 8, std::to_string(10000000 + count));
        error = pool.Add(text.c_str(), static_cast<unsigned long>(text.size()), handle);
    }
    EXPECT_EQ(error, ERR_OVERFLOW);
    EXPECT_GT(count, 900u);
    EXPECT_LE(pool.GetBytes(), StringPool<NulLock>::MOST_BYTES);
}

} // namespace
