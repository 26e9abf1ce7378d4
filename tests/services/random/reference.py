#!/usr/bin/env python3
"""Evaluates all generators by itself and prints tests/vectors/random.txt.

Nothing is shared with the library: integers here have no size, numbers are rounded to float where the library does.
"""
import math
import struct
import zlib

MODULUS = 10_000_000


def rounded(number):
    return struct.unpack("<f", struct.pack("<f", number))[0]


def signed(word):
    return (word + 2**31) % 2**32 - 2**31


def subtractive(seed):
    m = abs(161803398 - abs(seed)) % MODULUS
    table = {55: m}
    k = 1
    for i in range(1, 55):
        table[21 * i % 55] = k
        m, k = k, (m - k) % MODULUS
    for _ in range(4):
        for i in range(1, 56):
            table[i] = (table[i] - table[1 + (i + 30) % 55]) % MODULUS
    history = [table[i] for i in range(1, 56)]
    while True:
        history.append((history[-55] - history[-24]) % MODULUS)
        yield history[-1]


def layers(count, edge, area, scale, density, inverse):
    """The edges from the outermost in, and the tables k, w and f."""
    k, w, f = [0] * count, [0.0] * count, [1.0] * count
    base = area / density(edge)
    saturated = lambda x: min(int(x), 2**31 - 1)
    k[0] = saturated(edge / base * scale)
    w[0] = rounded(base / scale)
    outer = edge
    for i in range(count - 1, 0, -1):
        w[i] = rounded(edge / scale)
        f[i] = rounded(density(edge))
        if i > 1:
            edge = inverse(area / edge + density(edge))
            k[i] = saturated(edge / outer * scale)
            outer = edge
    return k, w, f


NORMAL = layers(128, 3.442619855899, 9.91256303526217e-3, 2.0**31,
                lambda x: math.exp(-0.5 * x * x), lambda y: math.sqrt(-2 * math.log(y)))
EXPONENTIAL = layers(256, 7.697117470131487, 3.949659822581572e-3, 2.0**32,
                     lambda x: math.exp(-x), lambda y: -math.log(y))


class Register:
    def __init__(self, seed):
        self.state = seed

    def bits(self):
        before = x = self.state
        x ^= x << 13 & 0xFFFFFFFF
        x ^= x >> 17
        x ^= x << 5 & 0xFFFFFFFF
        self.state = x
        return (before + x) % 2**32

    def uniform(self):
        return rounded(0.5 + signed(self.bits()) * 2.328306e-10)

    def normal(self):
        k, w, f = NORMAL
        while True:
            h = signed(self.bits())
            i = h % 128
            x = rounded(rounded(h) * w[i])
            if abs(h) < k[i]:
                return x
            if i == 0:
                while True:
                    x = rounded(-math.log(self.uniform()) * 0.2904764)
                    y = rounded(-math.log(self.uniform()))
                    if rounded(y + y) >= rounded(x * x):
                        break
                return rounded(rounded(3.44262) + x) if h >= 0 else rounded(-rounded(3.44262) - x)
            if rounded(f[i] + rounded(self.uniform() * rounded(f[i - 1] - f[i]))) < math.exp(-0.5 * x * x):
                return x

    def exponential(self):
        k, w, f = EXPONENTIAL
        while True:
            j = self.bits()
            i = j % 256
            x = rounded(rounded(j) * w[i])
            if j < k[i]:
                return x
            if i == 0:
                return rounded(7.69711 - math.log(self.uniform()))
            if rounded(f[i] + rounded(self.uniform() * rounded(f[i - 1] - f[i]))) < math.exp(-x):
                return x


print("# generator | seed | draws | their CRC-32, four bytes each; printed by tests/services/random/reference.py")
for seed in 1, -1, 42, 0, 161803398, 2**31 - 1, -(2**31):
    stream = subtractive(seed)
    draws = struct.pack("<10000i", *(next(stream) for _ in range(10_000)))
    print(f"uniform | 0x{seed % 2**32:08X} | 10000 | 0x{zlib.crc32(draws):08X}")
for name, draw in ("normal", Register.normal), ("exponential", Register.exponential):
    for seed in 1, 12345, 2**31, 2**32 - 1:
        register = Register(seed)
        draws = struct.pack("<100000f", *(draw(register) for _ in range(100_000)))
        print(f"{name} | 0x{seed:08X} | 100000 | 0x{zlib.crc32(draws):08X}")
