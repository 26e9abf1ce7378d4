// The file's words in a vector of strings: copies share their texts, a fixed vector needs no memory from the host.
#include "tour.h"

#include <algorithm>
#include <cctype>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

using Words = Z4::Vector<Z4::ZelkString>;

Words SplitIntoWords(const std::string& content) {
    const auto isLetter = [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; };
    Words words;
    for (auto begin = content.begin(); begin != content.end();) {
        begin = std::find_if(begin, content.end(), isLetter);
        const auto end = std::find_if_not(begin, content.end(), isLetter);
        if (begin != end) {
            words.EmplaceBack(&*begin, static_cast<unsigned>(end - begin));
        }
        begin = end;
    }
    return words;
}

unsigned MemoryBlocks() {
    return static_cast<unsigned>(ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks);
}

} // namespace

void TourContainers(const std::string& content) {
    Chapter("generics", "the file's words, in a vector of strings");
    const Words words = SplitIntoWords(content);
    Print("   %-24s %u, room for %u\n", "words", words.Size(), words.Capacity());

    const unsigned blocks = MemoryBlocks();
    Words sorted = words;
    Print("   %-24s %u more block of memory, as the texts are shared\n", "a copy of them", MemoryBlocks() - blocks);

    std::sort(sorted.begin(), sorted.end());
    sorted.Erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (!sorted.IsEmpty()) {
        Print("   %-24s %u, from \"%s\" to \"%s\"\n", "different ones, sorted", sorted.Size(), sorted.Front().CStr(),
              sorted.Back().CStr());
    }

    Z4::FixedVector<Z4::ZelkString, 3> longest;
    const auto isLonger = [](const Z4::ZelkString& a, const Z4::ZelkString& b) { return a.Size() > b.Size(); };
    std::stable_sort(sorted.begin(), sorted.end(), isLonger);
    longest.Append(sorted.begin(), std::min(sorted.Size(), longest.Capacity()));
    Z4::ZelkString line;
    for (const Z4::ZelkString& word : longest) {
        line += line.IsEmpty() ? "" : ", ";
        line += word;
    }
    Print("   %-24s %s\n", "the longest", line.CStr());
}
