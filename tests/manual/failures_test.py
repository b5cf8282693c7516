#!/usr/bin/env python3
"""Runs the setups that the manual's page on failures shows, as they stand there.

failures_test.py CHECKOUT BUILD EMULATOR [ISCC]    without Inno Setup's compiler its setup is passed over
"""
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

CHECKOUT, BUILD, EMULATOR = (Path(sys.argv.pop(1)).resolve() for _ in range(3))
ISCC = Path(sys.argv.pop(1)) if len(sys.argv) > 1 else None
KEY = r"HKLM\Software\Harbour\Lantern"


def windows(*command):
    return subprocess.run([EMULATOR, *command], stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False,
                          errors="replace")


def in_windows(path):
    return "Z:" + str(path).replace("/", "\\")


def code_of(language):
    page = (CHECKOUT / "docs/manual/failures.md").read_text(encoding="utf-8")
    return re.search(rf"^```{language}\n(.*?)^```$", page, re.M | re.S)[1]


class Story:
    """What must hold for either setup. Its folder is C:\\TarvoFailures of the Windows machine."""

    def setUp(self):
        prefix = windows("cmd", "/c", "echo %WINEHOMEDIR%")  # a machine that runs
        self.assertEqual(0, prefix.returncode, prefix.stderr)
        self.folder = Path(tempfile.mkdtemp(prefix="tarvo-failures."))
        self.addCleanup(shutil.rmtree, self.folder)
        self.app = self.folder / "app"
        for file in ("include/tarvo.nsh", "include/tarvo.iss"):
            shutil.copy(CHECKOUT / file, self.folder)
        shutil.copy(BUILD / "TARVO.DLL", self.folder)

    def build(self, program):
        """The setup that installs one of the example's programs."""
        shutil.copy(BUILD / "examples" / program, self.folder / "lantern.exe")
        self.compile()

    def has(self, program):
        return (self.app / "lantern.exe").read_bytes() == (BUILD / "examples" / program).read_bytes()

    def install(self, expected):
        self.assertEqual(expected, self.run_setup(), "the setup's exit code")
        self.assertFalse((self.app / "this-run.log").exists())

    def has_key(self):
        return windows("reg", "query", KEY, "/v", "Folder").returncode == 0

    def log(self):
        return (self.app / "uninstall.log").read_bytes()

    def test_a_run_that_fails_leaves_what_was_there_before(self):
        blocker = self.app / "data"
        self.build("lantern-1.exe")
        self.app.mkdir()
        blocker.touch()  # no folder of that name can be made
        self.install(self.failure)
        self.assertEqual([blocker], list(self.app.iterdir()))
        self.assertFalse(self.has_key())

        blocker.unlink()
        (self.app / "this-run.log").write_text("[Files]\nC:\\of-a-killed-run=1\n[Custom]\na=b=0\n", encoding="ascii")
        self.install(0)
        self.assertTrue(self.has("lantern-1.exe") and self.has_key() and blocker.is_dir())
        log = self.log()
        for line in (rb"\lantern.exe=1", rb"\data=1", rb"\Lantern\\Folder=1", b"C:\\of-a-killed-run=1", b"\na=b=0"):
            self.assertIn(line + b"\r\n", log)

        blocker.rmdir()
        blocker.touch()
        self.build("lantern-2.exe")
        self.install(self.failure)
        self.assertTrue(self.has("lantern-1.exe") and self.has_key())

        program = subprocess.Popen([EMULATOR, self.app / "lantern.exe", "stay"], stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(program.communicate)
        self.addCleanup(windows, "taskkill", "/f", "/im", "lantern.exe")
        program.stdout.readline()
        self.install(self.failure)
        self.assertTrue(self.has("lantern-1.exe") and self.has_key())
        self.assertEqual(log, self.log())
        self.assertEqual([], list(self.app.glob("lantern.[0-9]*")), "what was to come with the restart")
        windows("taskkill", "/f", "/im", "lantern.exe")
        program.wait()

        blocker.unlink()
        self.install(0)
        self.assertTrue(self.has("lantern-2.exe"))
        self.uninstall()
        self.assertFalse(self.has_key())
        self.assertFalse((self.app / "lantern.exe").exists() or (self.app / "uninstall.log").exists() or blocker.exists())


class Nsis(Story, unittest.TestCase):
    failure = 1

    def compile(self):
        (self.folder / "setup.nsi").write_text(code_of("nsis"), encoding="ascii")
        done = subprocess.run(["makensis", "-V2", "-WX", self.folder / "setup.nsi"], capture_output=True, text=True,
                              check=False)
        self.assertEqual(0, done.returncode, done.stdout)

    def run_setup(self):
        return windows(self.folder / "lantern-setup.exe", "/S", f"/D={in_windows(self.app)}").returncode

    def tells(self, lines):
        """Runs these lines in a silent setup's section; its exit code and what it wrote by ${Tell}."""
        script = ["OutFile t.exe", "SilentInstall silent", "RequestExecutionLevel user", "!include tarvo.nsh", "Section",
                  'FileOpen $9 "$EXEDIR\\told.txt" w', "!define Tell 'FileWrite $9'", *lines, "FileClose $9", "SectionEnd"]
        (self.folder / "t.nsi").write_text("\n".join(script), encoding="ascii")
        done = subprocess.run(["makensis", "-V2", self.folder / "t.nsi"], capture_output=True, text=True, check=False)
        self.assertEqual(0, done.returncode, done.stdout)
        code = windows(self.folder / "t.exe").returncode
        return code, (self.folder / "told.txt").read_text(encoding="ascii")

    def test_a_call_that_cannot_be_made_tells_so(self):
        (self.folder / "bad.dll").write_bytes(b"no library")
        calls = ("Push sentinel", '${TARVO_CopyFileEx} $0 "a" "b" 0 $1', "${TARVO_LastError} $2", "Pop $3",
                 '${Tell} "$0 $1 $3 $2"')
        load = "!insertmacro TARVO_Load"
        for begin, code, told in (((), 0, r"126 0 sentinel Cannot load .*\\TARVO.dll \(error 126\)"),
                                  (('${TARVO_TryLoad} $4 "bad.dll"', '${Tell} "$4 "'), 0, "193 193 0 sentinel Cannot.*193.*"),
                                  ((f'{load} "bad.dll"',), 2, ""),
                                  ((f'{load} "TARVO.DLL"', f'{load} "TARVO.DLL"'), 0, "(2|3) 0 sentinel .*[a-z].*")):
            with self.subTest(begin):
                found = self.tells([*begin, *calls])
                self.assertEqual(code, found[0])
                self.assertRegex(found[1], f"^{told}$")

    def test_lists_end(self):
        """Whatever lies behind a text: no list goes on into it."""
        key = r"HKCU\Software\TarvoLists"
        entry = rf'${{TARVO_CreateRegistryEntry}} $0 "{key.replace("HKCU", "HKEY_CURRENT_USER")}\\'
        self.tells(['!insertmacro TARVO_Load "TARVO.DLL"', "StrCpy $1 7", "StrCpy $2 1", entry + 'A|red$\\ngreen" 7 0',
                    entry + 'B|red" $1 0', entry + 'C|red" ${REG_MULTI_SZ} 0', entry + 'D|red" $2 0'])
        found = windows("reg", "query", key).stdout
        windows("reg", "delete", key, "/f")
        self.assertEqual([("A", "MULTI_SZ", r"red\0green"), ("B", "MULTI_SZ", "red"), ("C", "MULTI_SZ", "red"),
                          ("D", "SZ", "red")], re.findall(r"(\w) +REG_(\w+) +(\S+)", found))

    def uninstall(self):
        done = windows(self.app / "uninstall.exe", "/S", f"_?={in_windows(self.app)}")
        self.assertEqual(0, done.returncode, "its own file asks for no restart")


@unittest.skipUnless(ISCC, "Inno Setup's compiler is not here")
class Inno(Story, unittest.TestCase):
    failure = 3

    def compile(self):
        (self.folder / "setup.iss").write_text(code_of("pascal"), encoding="ascii")
        done = windows(ISCC, "/Q", f"/O{in_windows(self.folder)}", "/Flantern-setup", in_windows(self.folder / "setup.iss"))
        self.assertEqual(0, done.returncode, done.stdout + done.stderr)

    def run_setup(self):
        return windows(self.folder / "lantern-setup.exe", "/VERYSILENT", "/SUPPRESSMSGBOXES", "/NORESTART",
                       f"/DIR={in_windows(self.app)}").returncode

    def uninstall(self):
        uninstaller = self.app / "unins000.exe"
        self.assertEqual(0, windows(uninstaller, "/VERYSILENT", "/SUPPRESSMSGBOXES", "/NORESTART").returncode)
        until = time.monotonic() + 30  # a second process deletes what the first one cannot
        while uninstaller.exists() and time.monotonic() < until:
            time.sleep(0.2)
        self.assertFalse(self.app.exists())


if __name__ == "__main__":
    unittest.main()
