"""Copies a static library and gives each COMDAT section a symbol: section_symbols.py FROM TO

Debian strips symbols that no relocation needs, among them those of the C++ library's `.pdata$FUNCTION`
sections. LLD discards a COMDAT section without a symbol. Windows cannot unwind a function without `.pdata`:
an exception that passes through it restores wrong registers, and the caller's destructors release the wrong
memory.
"""

import struct
import sys

AR_MAGIC = b"!<arch>\n"
AMD64, COMDAT, STATIC, SELECT_ANY = 0x8664, 0x1000, 3, 2
SYMBOL, DEFINITION = struct.Struct("<8sIhHBB"), struct.Struct("<IHHIHB3x")  # a symbol, its section definition


def with_symbols(coff):
    machine, sections, _, table, count, optional, _ = struct.unpack_from("<HHIIIHH", coff)
    if machine != AMD64 or table == 0:
        return coff
    named, index = set(), 0
    while index < count:
        *_, section, _, _, auxiliary = SYMBOL.unpack_from(coff, table + index * SYMBOL.size)
        named.add(section)
        index += 1 + auxiliary
    added = b""
    for number in range(1, sections + 1):
        name, _, _, size, _, _, _, relocations, _, flags = struct.unpack_from(
            "<8s6I2HI", coff, 20 + optional + (number - 1) * 40
        )
        if flags & COMDAT and number not in named:
            if name.startswith(b"/"):  # an offset in the string table, as decimal text
                name = struct.pack("<II", 0, int(name[1:].rstrip(b"\0")))
            added += SYMBOL.pack(name, 0, number, 0, STATIC, 1)
            added += DEFINITION.pack(size, relocations, 0, 0, 0, SELECT_ANY)
    end = table + count * SYMBOL.size
    header = coff[:12] + struct.pack("<I", count + len(added) // SYMBOL.size) + coff[16:20]
    return header + coff[20:end] + added + coff[end:]


def main(source, target):
    with open(source, "rb") as file:
        archive = file.read()
    if not archive.startswith(AR_MAGIC):
        raise SystemExit(f"{source} is not a static library")
    parts, offset = [AR_MAGIC], len(AR_MAGIC)
    while offset < len(archive):
        header, size = archive[offset : offset + 60], int(archive[offset + 48 : offset + 58])
        member = archive[offset + 60 : offset + 60 + size]
        offset += 60 + size + size % 2
        if header.startswith(b"/ "):  # the index, which the caller renews
            continue
        if not header.startswith(b"// "):
            member = with_symbols(member)
        parts += [header[:48], b"%-10d" % len(member), header[58:], member, b"\n" * (len(member) % 2)]
    with open(target, "wb") as file:
        file.write(b"".join(parts))


if __name__ == "__main__":
    main(*sys.argv[1:])
