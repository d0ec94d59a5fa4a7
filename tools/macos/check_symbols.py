#!/usr/bin/env python3
"""Says which of our own functions the objects of a macOS build call and nobody defines.

A link would say so too, but needs the system's libraries and a minute for the standard library.
    check_symbols.py FOLDER      reads every object (*.o) below the folder; exits 1 when something is missing
"""
import pathlib
import struct
import subprocess
import sys

MAGIC, SYMTAB = 0xFEEDFACF, 2
EXTERNAL, TYPE, UNDEFINED, DEBUG = 0x01, 0x0E, 0x00, 0xE0
OURS = b"6varnel"


def symbols(data):
    """(name, is defined) of each external symbol of a 64-bit Mach-O object."""
    magic, _, _, _, commands = struct.unpack_from("<5I", data)
    if magic != MAGIC:
        raise ValueError("not an object for macOS")
    offset = 32
    for _ in range(commands):
        command, size = struct.unpack_from("<2I", data, offset)
        if command == SYMTAB:
            first, count, strings, _ = struct.unpack_from("<4I", data, offset + 8)
            for number in range(count):
                name, kind = struct.unpack_from("<IB", data, first + 16 * number)
                if kind & EXTERNAL and not kind & DEBUG:
                    start = strings + name
                    yield data[start:data.index(b"\0", start)], kind & TYPE != UNDEFINED
        offset += size


def main():
    objects = sorted(pathlib.Path(sys.argv[1]).rglob("*.o"))
    defined, wanted = set(), {}
    for path in objects:
        for name, is_defined in symbols(path.read_bytes()):
            if is_defined:
                defined.add(name)
            elif OURS in name:
                wanted.setdefault(name, path.name)
    missing = sorted(set(wanted) - defined)
    for name in missing:
        readable = subprocess.run(["c++filt", name[1:].decode()], capture_output=True, text=True, check=False)
        print(f"{wanted[name]}: nobody defines {readable.stdout.strip() or name.decode()}")
    if not missing and objects:
        print(f"{len(objects)} objects, {len(wanted)} functions of ours called across them, none missing")
    return 1 if missing or not objects else 0


if __name__ == "__main__":
    sys.exit(main())
