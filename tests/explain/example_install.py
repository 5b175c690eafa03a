"""Lays the example install out as a product would be, with programs that can be started."""

import os
import shutil
import struct

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def program():
    """The shortest beginning of a file that the system starts as a program for x64."""
    dos_header = b"MZ" + bytes(58) + struct.pack("<I", 64)
    coff_header = b"PE\0\0" + struct.pack("<HHIIIHH", 0x8664, 1, 0, 0, 0, 240, 0x22)
    return dos_header + coff_header + struct.pack("<H", 0x20B) + bytes(238)


def lay_out(directory):
    shutil.copytree(os.path.join(ROOT, "examples", "install"), directory)
    for path in ("zel/zellauncher.exe", "jvm/bin/javaw.exe", "jvm/bin/java.exe",
                 "zel/eclipse/plugins/base_1.0/win32/x86_64/eclipse.exe"):
        whole = os.path.join(directory, path)
        os.makedirs(os.path.dirname(whole), exist_ok=True)
        with open(whole, "wb") as file:
            file.write(program())
    return directory
