/// @file
/// The tables of the string compressor: written down is only the list of codes; all else follows from it when this is
/// compiled.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Z4::Private {

struct StringCode {
    char symbol;
    const char* bits;
};

#include <zelk_core/services/compression/private/stringcodes.inc>

/// What the encoder writes for a byte; one without a code has the length 0.
struct StringCodeEntry {
    std::uint32_t bits = 0;
    std::uint32_t length = 0;
};

/// A node of the tree that defines what the decoder reads. The root has the index 0.
struct StringTreeNode {
    std::uint16_t one = 0;  ///< index of the node behind a bit 1
    std::uint16_t zero = 0; ///< index of the node behind a bit 0
    std::uint8_t symbol = 0;
    std::uint8_t isLeaf = 0;
    std::uint16_t unused = 0;
};

/// The tree's answer to the next STRING_LOOKUP_BITS bits: the one or two symbols whose codes they hold in full.
struct StringLookup {
    std::uint8_t symbols[2] = {}; ///< or, where the first code is longer than that, the node that the bits lead to
    std::uint8_t firstLength = 0; ///< of the first symbol's code; 0 where there is none
    std::uint8_t length = 0;      ///< of all codes

    constexpr unsigned Count() const { return firstLength != length ? 2 : 1; }
};

/// Of 1000 characters in mixed texts, 998 have no longer code; five of six lookups find two; three lookups fit a word.
inline constexpr unsigned STRING_LOOKUP_BITS = 10;

template <std::size_t COUNT>
struct StringTables {
    static constexpr std::size_t NODES = 2 * COUNT - 1; // of any tree with so many leaves in which no branch is single
    static_assert(NODES <= 256);

    constexpr explicit StringTables(const StringCode (&codes)[COUNT]) {
        std::uint16_t nodes = 1;
        for (const StringCode& code : codes) {
            StringCodeEntry& entry = encode[static_cast<std::uint8_t>(code.symbol)];
            isFullTree &= entry.length == 0;
            std::uint16_t node = 0;
            for (const char* bit = code.bits; *bit != 0; ++bit) {
                isFullTree &= tree[node].isLeaf == 0;
                entry.bits = entry.bits << 1 | (*bit == '1' ? 1 : 0);
                ++entry.length;
                std::uint16_t& next = *bit == '1' ? tree[node].one : tree[node].zero;
                if (next == 0) {
                    next = nodes++;
                }
                node = next;
            }
            isFullTree &= entry.length <= LONGEST_STRING_CODE;
            tree[node].symbol = static_cast<std::uint8_t>(code.symbol);
            tree[node].isLeaf = 1;
        }
        for (const StringTreeNode& node : tree) {
            isFullTree &= node.isLeaf != 0 ? node.one == 0 && node.zero == 0 : node.one != 0 && node.zero != 0;
        }
        FillLookup();
    }

    constexpr void FillLookup() {
        for (std::uint32_t window = 0; window < 1U << STRING_LOOKUP_BITS; ++window) {
            StringLookup& found = lookup[window];
            std::uint16_t node = 0;
            for (std::uint8_t used = 1; used <= STRING_LOOKUP_BITS && found.symbols[1] == 0; ++used) {
                node = (window >> (STRING_LOOKUP_BITS - used) & 1) != 0 ? tree[node].one : tree[node].zero;
                if (tree[node].isLeaf != 0) {
                    found.symbols[found.firstLength != 0 ? 1 : 0] = tree[node].symbol;
                    found.firstLength = found.firstLength != 0 ? found.firstLength : used;
                    found.length = used;
                    node = 0;
                }
            }
            if (found.firstLength == 0) {
                found.symbols[0] = static_cast<std::uint8_t>(node);
            }
        }
    }

    StringCodeEntry encode[256] = {};
    StringTreeNode tree[NODES] = {};
    StringLookup lookup[1U << STRING_LOOKUP_BITS] = {};
    bool isFullTree = true; ///< every bit sequence is a sequence of codes: none begins another, and none is left over
};

template <const auto& CODES>
struct StringTablesOf {
    static constexpr StringTables TABLES{CODES};
    static_assert(TABLES.isFullTree);
};

struct StringTableSet {
    const StringCodeEntry* encode;
    const StringTreeNode* tree;
    const StringLookup* lookup;

    template <const auto& CODES>
    static constexpr StringTableSet Of() {
        using Tables = StringTablesOf<CODES>;
        return {Tables::TABLES.encode, Tables::TABLES.tree, Tables::TABLES.lookup};
    }
};

/// Indexed by content.
inline constexpr StringTableSet STRING_TABLES[16] = {
    {nullptr, nullptr, nullptr},           StringTableSet::Of<STRING_CODES_1>(),  StringTableSet::Of<STRING_CODES_2>(),
    StringTableSet::Of<STRING_CODES_3>(),  StringTableSet::Of<STRING_CODES_4>(),  StringTableSet::Of<STRING_CODES_5>(),
    StringTableSet::Of<STRING_CODES_6>(),  StringTableSet::Of<STRING_CODES_7>(),  StringTableSet::Of<STRING_CODES_8>(),
    StringTableSet::Of<STRING_CODES_9>(),  StringTableSet::Of<STRING_CODES_10>(), StringTableSet::Of<STRING_CODES_11>(),
    StringTableSet::Of<STRING_CODES_12>(), StringTableSet::Of<STRING_CODES_13>(), StringTableSet::Of<STRING_CODES_14>(),
    StringTableSet::Of<STRING_CODES_15>(),
};

} // namespace Z4::Private
