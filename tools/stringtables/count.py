#!/usr/bin/env python3
"""Counts characters of short texts, once for each content of the string compressor: count.py >counts.json

The texts are those of texts.txt, written for this purpose, and what a Debian system holds: descriptions, versions and
sizes of its packages, names of its files, the licences in /usr/share/common-licenses. Only the counts are kept. Another
machine gives slightly other counts, so this is no part of any check; generate.py works from the counts as they are.

A text counts towards the one content that its characters detect, so that a capital is counted where capitals stand
beside small letters (at beginnings of words) apart from texts of capitals alone, and a digit in a file name apart from
one in a date.
"""
import glob
import json
import os
import random
import re
from collections import Counter, defaultdict

CLASSES = {
    1: " !\"#$%&'()*+,-./=@_\\",
    2: " abcdefghijklmnopqrstuvwxyz\r\n",
    4: " ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n",
    8: " 0123456789\r\n",
}
# What a kind of text contributes, of all characters. The players' own lines come first.
SHARES = {"chat": 0.50, "label": 0.15, "name": 0.10, "file": 0.15, "number": 0.06, "capitals": 0.03, "punctuation": 0.01}
# What the machine's texts contribute to a kind; the rest is texts.txt's.
MACHINE_SHARES = {"chat": 0.25, "label": 0.25, "file": 0.6, "number": 0.4}
# Line ends are taken for two characters in a thousand: short texts seldom have a second line.
LINE_END_SHARE = 0.002
# A table believes its own texts as much as the other contents' when its own have this many characters.
ENOUGH = 1000
TOTAL = 1_000_000


def own_texts():
    texts = defaultdict(list)
    kind = None
    with open(os.path.join(os.path.dirname(__file__), "texts.txt"), encoding="ascii") as file:
        for line in file.read().splitlines():
            heading = re.fullmatch(r"\[(\w+)\]", line)
            if heading:
                kind = heading[1]
            elif kind:
                texts[kind].append(line)
    return texts


def machine_texts():
    with open("/var/lib/dpkg/status", encoding="utf-8") as file:
        status = file.read()
    prose = re.findall(r"[A-Za-z][^.:;]{20,120}\.", re.sub(r"\s+", " ", " ".join(re.findall(r"^ [A-Za-z].*", status, re.M))))
    for path in sorted(glob.glob("/usr/share/common-licenses/*")):
        with open(path, encoding="utf-8", errors="replace") as file:
            prose += re.findall(r"[A-Za-z][^.:;]{20,120}\.", re.sub(r"\s+", " ", file.read()))
    paths = []
    for root in ("/etc", "/usr/share"):
        for folder, folders, files in os.walk(root):
            folders.sort()
            paths += [os.path.join(*folder.split("/")[-2:], name) for name in sorted(files)]
    random.seed(1)
    return {
        "chat": random.sample(prose, min(len(prose), 3000)),
        "label": re.findall(r"^Description: (.*)", status, re.M),
        "file": random.sample(paths, min(len(paths), 3000)),
        "number": re.findall(r"^(?:Version|Installed-Size): ([0-9][0-9.]*)", status, re.M),
    }


def variants(text):
    """A line is also written without capitals, without anything but words or, now and then, in capitals alone."""
    yield text, 0.6
    yield text.lower(), 0.15
    yield " ".join(re.findall(r"[a-z]+", text.lower())), 0.2
    yield text.upper(), 0.05


def detect(text):
    content = sum(bit for bit, characters in CLASSES.items() if set(text) & set(characters) - set(" \r\n"))
    return content or 5


def alphabet(content):
    return sorted({c for bit, characters in CLASSES.items() if content & bit for c in characters})


def pool(content, bit):
    """The contents where characters of this class are taken to be used alike: capitals that begin words or are all
    there is, digits and punctuation with letters or without."""
    def trait(some):
        return some & 6 == 6 if bit == 4 else some & 6 == 0 if bit != 2 else 0

    return [some for some in range(1, 16) if some & bit and trait(some) == trait(content)]


def main():
    allowed = set(alphabet(15))
    weighted = defaultdict(Counter)
    sample_size = Counter()
    for machine, source in ((False, own_texts()), (True, machine_texts())):
        for kind, texts in source.items():
            machine_share = MACHINE_SHARES.get(kind, 0)
            share = SHARES[kind] * (machine_share if machine else 1 - machine_share) / sum(map(len, texts))
            for text in texts:
                kept = "".join(c for c in text if c in allowed)
                for variant, weight in variants(kept):
                    content = detect(variant)
                    sample_size[content] += len(variant) * weight
                    for character in variant:
                        weighted[content][character] += share * weight

    rows = []
    for content in range(1, 16):
        own = weighted[content]
        belief = sample_size[content] / (sample_size[content] + ENOUGH)
        estimate = Counter({" ": own[" "] / sum(own.values())})
        for bit, characters in CLASSES.items():
            if content & bit:
                members = [c for c in characters if c not in " \r\n"]
                pooled = {c: sum(weighted[some][c] for some in pool(content, bit)) for c in members}
                own_share = sum(own[c] for c in members) / sum(own.values())
                for c in members:
                    expected = own_share * pooled[c] / sum(pooled.values())
                    estimate[c] = belief * own[c] / sum(own.values()) + (1 - belief) * expected
        for c in "\r\n" if content != 1 else "":
            estimate[c] = LINE_END_SHARE / 2
        counts = {c: max(1, round(estimate[c] * TOTAL)) for c in alphabet(content)}
        rows.append('"%d": ' % content + json.dumps(counts))
    print("{\n" + ",\n".join(rows) + "\n}")


if __name__ == "__main__":
    main()
