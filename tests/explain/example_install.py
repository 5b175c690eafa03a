"""Lays the example install out as a product would be, with programs that can be started."""

import os
import shutil
import struct

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


BASE = "zel/eclipse/plugins/base_1.0/"
NATIVE = BASE + "win32/x86_64/"
PROGRAMS = ("zel/zellauncher.exe", "jvm/bin/javaw.exe", "jvm/bin/java.exe", NATIVE + "eclipse.exe")
LIBRARY = "eclipse_11919.dll"
JARS = [BASE + "launcher.jar"] + ["zel/eclipse/plugins/" + bundle + ".jar" for bundle in (
    "org.eclipse.osgi_3.18.0", "org.eclipse.equinox.common_3.16.0", "org.eclipse.equinox.registry_3.11.0", "org.eclipse.equinox.app_1.6.0",
    "com.example.platform_1.0.0")]


def program(characteristics=0x22):
    """The shortest beginning of a file that the system starts as a program for x64."""
    dos_header = b"MZ" + bytes(58) + struct.pack("<I", 64)
    coff_header = b"PE\0\0" + struct.pack("<HHIIIHH", 0x8664, 1, 0, 0, 0, 240, characteristics)
    return dos_header + coff_header + struct.pack("<H", 0x20B) + bytes(238)


def make_mistakes(install):
    """Two mistakes that a start survives: a missing JVM and a key that is almost a known one."""
    os.remove(os.path.join(install, "jvm", "bin", "javaw.exe"))
    with open(os.path.join(install, "zel", "zellauncher.properties"), "a", encoding="latin-1") as file:
        file.write("zel.instal.id=Ann-Lee\n")


def lay_out(directory):
    shutil.copytree(os.path.join(ROOT, "examples", "install"), directory)
    files = {path: program() for path in PROGRAMS}
    files[NATIVE + LIBRARY] = program(characteristics=0x2022)
    files["bin/platform.dll"] = program(characteristics=0x2022)
    files[NATIVE + "eclipse.ini"] = b"--launcher.library\n" + LIBRARY.encode() + b"\n"
    files.update((path, b"PK\3\4") for path in JARS)
    for path, content in files.items():
        whole = os.path.join(directory, path)
        os.makedirs(os.path.dirname(whole), exist_ok=True)
        with open(whole, "wb") as file:
            file.write(content)
    return directory
