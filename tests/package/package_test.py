#!/usr/bin/env python3
"""Builds clients of the installed package, as other people's projects do, and runs them.

package_test.py CHECKOUT BUILD EMULATOR [TEST...]
"""
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECKOUT, BUILD, EMULATOR = (Path(sys.argv.pop(1)) for _ in range(3))
MINGW_HEADERS = "/usr/i686-w64-mingw32/include"
WARNINGS = ["-Wall", "-Wextra", "-pedantic", "-Werror"]


def exported_functions():
    return re.findall(r"__(?:cdecl|stdcall) (TARVO_\w+)\(", (CHECKOUT / "include/tarvo/tarvo.h").read_text("ascii"))


class Clients(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.package = cls.folder / "tarvo"
        subprocess.run(["cmake", "--install", BUILD, "--prefix", cls.package], check=True, stdout=subprocess.DEVNULL)
        cls.client = cls.folder / "client.c"
        addresses = "".join(f"    (Any){name},\n" for name in exported_functions())
        cls.client.write_text("#include <tarvo/tarvo.h>\n\ntypedef void (*Any)(void);\nAny all[] = {\n" + addresses + "};\n"
                              "int main(void)\n{\n    TARVO_DelayLoadInitialize();\n"
                              "    return TARVO_GetSecurityPolicy() == TARVO_POLICY_NONE ? (int)(sizeof all / sizeof all[0])"
                              " : 1;\n}\n", encoding="ascii")

    def run_in(self, *command):
        done = subprocess.run(command, cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)

    def expect_runs(self, program):
        done = subprocess.run([EMULATOR, program], check=False)
        self.assertEqual(101, done.returncode)

    def test_cmake_project_builds_with_gcc(self):
        build = self.folder / "build"
        self.run_in("cmake", "-G", "Ninja", "-S", CHECKOUT / "tests/package/client", "-B", build,
                    "-DCMAKE_SYSTEM_NAME=Windows", "-DCMAKE_C_COMPILER=i686-w64-mingw32-gcc-posix",
                    "-DCMAKE_CXX_COMPILER=i686-w64-mingw32-g++-posix", f"-DCMAKE_PREFIX_PATH={self.package}",
                    f"-DCLIENT={self.client}")
        self.run_in("cmake", "--build", build)
        self.expect_runs(build / "client_c.exe")
        self.expect_runs(build / "client_cpp.exe")

    def test_clang_takes_the_header(self):
        for language, standard in (("c", "c89"), ("c", "c17"), ("c++", "c++98"), ("c++", "c++20")):
            with self.subTest(standard):
                self.run_in("clang", "--target=i686-w64-mingw32", "-x", language, f"-std={standard}", *WARNINGS,
                            "-fsyntax-only", f"-I{self.package / 'include'}", self.client)

    def test_microsoft_linker_takes_the_import_library(self):
        # Clang as Microsoft's compiler; the definitions are what MinGW's system headers ask for.
        self.run_in("clang", "--target=i686-pc-windows-msvc", "-D_X86_", "-D__i386__", "-fgnuc-version=12.0",
                    "-isystem", MINGW_HEADERS, f"-I{self.package / 'include'}", "-c", self.client, "-o", "client.obj")
        self.run_in("lld-link", "client.obj", self.package / "lib/tarvo.lib", "-entry:main", "-nodefaultlib",
                    "-subsystem:console", "-out:client.exe")
        shutil.copy(self.package / "TARVO.DLL", self.folder)
        self.expect_runs(self.folder / "client.exe")


if __name__ == "__main__":
    unittest.main()
