#!/usr/bin/env python3
"""Writes cipher_vectors.inc: digests of enciphered texts, by a cipher that shares no code with the library."""

from pathlib import Path

BUILT_IN = b"q w %R zu %@  pLL_41 K@&^  r s p;mn wxk0xAB7C91 "
PHRASES = ["", "k", "exactly 24 characters ..", "exactly 25 characters ...", "exactly 48 characters " + "." * 26, "61" * 30 + "!"]
LENGTHS = [*range(65), 1000, 4099, 65536]


def key_of(phrase):
    key = bytearray(BUILT_IN.ljust(len(phrase), b"\0"))
    for i, char in enumerate(phrase.encode()):
        key[i * 2 if 48 // len(phrase) >= 2 else i] ^= char
    return bytes(key)


def chain(data, key):
    out = [data[0] ^ 0xFF] if data else []
    for i in range(1, len(data)):
        out.append(data[i] ^ out[-1] ^ key[(i - 1) % len(key)])
    return out


def mix(data, key):
    data = list(data)
    for i in range(8, len(data)):
        far, near = data[i - 7], data[i - 2]
        data[i], data[i - 2], data[i - 7] = data[i] ^ far, far, near
    return data


def mask(data, key):
    return [byte if i < 2 else byte ^ (key[i % len(key)] if (i ^ len(key)) % 2 else 0xFF)
            for i, byte in enumerate(data)]


def digest(data):
    value = 0xCBF29CE484222325
    for byte in data:
        value = (value ^ byte) * 0x100000001B3 % 2**64
    return value


def plain(length):
    value, out = 1, []
    for _ in range(length):
        value = (value * 1103515245 + 12345) % 2**32
        out.append(value >> 16 & 0xFF)
    return out


def rows():
    for phrase in PHRASES:
        for mode, passes in enumerate([(chain, mix, mask), (chain,), (mix,), (mask,)]):
            digests = []
            for length in LENGTHS:
                data = plain(length)
                for one in passes:
                    data = one(data, key_of(phrase))
                digests.append(f"{digest(data):#x}u")
            yield f'{{"{phrase}", {mode}, {{{", ".join(digests)}}}}},\n'


Path(__file__).with_suffix(".inc").write_text("".join(rows()))
