#!/usr/bin/env python3
"""Makes the string compressor's code tables from counts.json: generate.py >stringcodes.inc

Each table is a prefix code of least cost for its counts, among those whose codes have at most LENGTH_LIMIT bits and
which keep the codes that data in use is known to have. Where nothing is known it costs what package-merge finds (Larmore
and Hirschberg, "A Fast Algorithm for Optimal Length-Limited Huffman Codes", Journal of the ACM 37, 1990); that knows of
no fixed codes, so the trees are built level by level (Golin and Rote, "A Dynamic Programming Algorithm for Constructing
Optimal Prefix-Free Codes with Unequal Letter Costs", IEEE Transactions on Information Theory 44, 1998).
"""
import json
import os
from fractions import Fraction
from functools import lru_cache
from math import inf

# No shorter limit leaves room for the known lengths; a longer one would save less than one bit in 5000.
LENGTH_LIMIT = 13
KNOWN_CODES = {
    2: {" ": "101", "e": "100", "a": "1100", "x": "011100011", "\r": "11100", "\n": "11110"},
    6: {" ": "101", "e": "100"},
}
# Symbols whose codes are known to have as many bits as the limit.
KNOWN_LONGEST = {6: "U"}


def best_lengths(counts, room):
    """The cheapest lengths of as many codes as there are counts, falling, which fill a forest exactly.

    room[depth] says how many of the forest's trees have their roots at that depth; negative numbers take nodes away.
    """
    remaining = [sum(counts[placed:]) for placed in range(len(counts) + 1)]
    taken = -min(0, *room)

    @lru_cache(None)
    def best(depth, placed, nodes):
        """Cost and lengths of the counts not placed yet, with so many nodes at this depth that are neither placed nor
        branches: either one of them is the next code, or all of them are branches."""
        if nodes > len(counts) - placed + taken:
            return inf, ()
        if depth == LENGTH_LIMIT:
            return (0, (depth,) * nodes) if nodes == len(counts) - placed else (inf, ())
        cost, lengths = best(depth + 1, placed, 2 * nodes + room[depth + 1])
        cost += remaining[placed]
        if nodes > 0 and placed < len(counts):
            leaf_cost, leaf_lengths = best(depth, placed + 1, nodes - 1)
            if leaf_cost < inf and leaf_cost <= cost:
                return leaf_cost, (depth, *leaf_lengths)
        return cost, lengths

    return best(0, 0, room[0])[1]


def gaps_between(codes):
    """The largest subtrees that hold none of the codes, as their prefixes."""

    def gaps(prefix):
        if not any(code.startswith(prefix) for code in codes):
            return [prefix]
        return [] if prefix in codes else gaps(prefix + "0") + gaps(prefix + "1")

    return gaps("")


def make_codes(content, counts):
    codes = dict(KNOWN_CODES.get(content, {}))
    longest = KNOWN_LONGEST.get(content, "")
    gaps = gaps_between(codes.values())
    room = [sum(len(gap) == depth for gap in gaps) for depth in range(LENGTH_LIMIT + 1)]
    room[LENGTH_LIMIT] -= len(longest)
    symbols = sorted((symbol for symbol in counts if symbol not in codes and symbol not in longest), key=lambda s: -counts[s])
    lengths = dict(zip(symbols, best_lengths([counts[symbol] for symbol in symbols], room)))
    lengths.update(dict.fromkeys(longest, LENGTH_LIMIT))
    for symbol, length in sorted(lengths.items(), key=lambda item: (item[1], item[0])):
        # The tightest gap that is large enough; there always is one while codes come from short to long.
        gap = max((gap for gap in gaps if len(gap) <= length), key=len)
        gaps.remove(gap)
        codes[symbol] = gap.ljust(length, "0")
        gaps += [codes[symbol][:depth] + "1" for depth in range(len(gap), length)]
    assert not gaps and sum(Fraction(1, 2 ** len(code)) for code in codes.values()) == 1
    return codes


def quote(symbol):
    return {"\n": "'\\n'", "\r": "'\\r'", "'": "'\\''", "\\": "'\\\\'"}.get(symbol, "'%s'" % symbol)


def main():
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "counts.json"), encoding="ascii") as file:
        counts = {int(content): row for content, row in json.load(file).items()}
    print("// The string compressor's codes, the bit that is written first in front. Made from tools/stringtables/counts.json; do")
    print("// not edit, but run, from the root of the sources:")
    print("// tools/stringtables/generate.py >zelk_core/services/compression/private/stringcodes.inc")
    print("inline constexpr unsigned LONGEST_STRING_CODE = %d;" % LENGTH_LIMIT)
    for content, row in counts.items():
        codes = make_codes(content, row)
        cost = sum(row[symbol] * len(code) for symbol, code in codes.items()) / sum(row.values())
        print("\n// %.2f bits a character in the texts that were counted" % cost)
        print("inline constexpr StringCode STRING_CODES_%d[] = {" % content)
        line = "   "
        for symbol, code in sorted(codes.items(), key=lambda item: (len(item[1]), item[1])):
            entry = ' {%s, "%s"},' % (quote(symbol), code)
            if len(line) + len(entry) > 120:
                print(line)
                line = "   "
            line += entry
        print(line + "\n};")


if __name__ == "__main__":
    main()
