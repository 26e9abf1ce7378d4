// Faults hunted: trees that do not find the codes of their tables, and look-ups that differ from a walk down the tree.
#include <gtest/gtest.h>
#include <random>
#include <zelk_core/services/compression/private/stringtables.h>

namespace {

using Z4::Private::STRING_LOOKUP_BITS;
using Z4::Private::STRING_TABLES;
using Z4::Private::StringTreeNode;

struct Symbol {
    unsigned value;
    unsigned length;
};

/// The tree's answer, bit by bit.
Symbol Walk(const StringTreeNode* tree, std::uint64_t window, unsigned node = 0) {
    unsigned length = 0;
    while (tree[node].isLeaf == 0) {
        node = (window >> (63 - length) & 1) != 0 ? tree[node].one : tree[node].zero;
        ++length;
    }
    return {tree[node].symbol, length};
}

TEST(StringTables, TreeFindsEveryCode) {
    for (unsigned content = 1; content < 16; ++content) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            const auto entry = STRING_TABLES[content].encode[byte];
            if (entry.length != 0) {
                const Symbol symbol =
                    Walk(STRING_TABLES[content].tree, std::uint64_t{entry.bits} << (64 - entry.length));
                EXPECT_EQ(symbol.value, byte) << "content " << content;
                EXPECT_EQ(symbol.length, entry.length) << "content " << content;
            }
        }
    }
}

// Every prefix of a lookup's bits, with all ones and all zeros and random bits behind it.
TEST(StringTables, LookupAgreesWithTree) {
    std::mt19937_64 random(5);
    for (unsigned content = 1; content < 16; ++content) {
        const StringTreeNode* const tree = STRING_TABLES[content].tree;
        for (std::uint64_t prefix = 0; prefix < 1U << STRING_LOOKUP_BITS; ++prefix) {
            const auto found = STRING_TABLES[content].lookup[prefix];
            for (const std::uint64_t rest : {std::uint64_t{0}, ~std::uint64_t{0}, random(), random()}) {
                const std::uint64_t window = prefix << (64 - STRING_LOOKUP_BITS) | rest >> STRING_LOOKUP_BITS;
                const Symbol first = Walk(tree, window);
                if (first.length > STRING_LOOKUP_BITS) {
                    ASSERT_EQ(found.firstLength + found.length, 0) << "content " << content << ", prefix " << prefix;
                    const Symbol behind = Walk(tree, window << STRING_LOOKUP_BITS, found.symbols[0]);
                    ASSERT_EQ(behind.value, first.value) << "content " << content << ", prefix " << prefix;
                    ASSERT_EQ(behind.length + STRING_LOOKUP_BITS, first.length);
                    continue;
                }
                ASSERT_EQ(found.symbols[0], first.value) << "content " << content << ", prefix " << prefix;
                ASSERT_EQ(found.firstLength, first.length) << "content " << content << ", prefix " << prefix;
                const Symbol second = Walk(tree, window << first.length);
                const bool holdsBoth = first.length + second.length <= STRING_LOOKUP_BITS;
                ASSERT_EQ(found.Count(), holdsBoth ? 2u : 1u) << "content " << content << ", prefix " << prefix;
                ASSERT_EQ(found.length, first.length + (holdsBoth ? second.length : 0));
                if (holdsBoth) {
                    ASSERT_EQ(found.symbols[1], second.value) << "content " << content << ", prefix " << prefix;
                }
            }
        }
    }
}

} // namespace
