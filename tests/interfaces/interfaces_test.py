#!/usr/bin/env python3
"""Holds header, script includes and .def file together: the same calls, with the same arguments.

interfaces_test.py CHECKOUT [TEST...]
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from typing import NamedTuple

CHECKOUT = Path(sys.argv.pop(1))


def read(name):
    return (CHECKOUT / name).read_text(encoding="ascii")


class Parameter(NamedTuple):
    annotation: str  # _In_z_
    detail: str  # what its parentheses hold
    type: str
    name: str

    def is_text(self):
        return "char*" in self.type or "void*" in self.type


class Function(NamedTuple):
    result: str
    convention: str
    parameters: list


def header_functions():
    found = {}
    for result, convention, name, parameters in re.findall(
            r"^(\w+) (__cdecl|__stdcall) (TARVO_\w+)\((.*?)\);", read("include/tarvo/tarvo.h"), re.M | re.S):
        parts = re.split(r",\s*", re.sub(r"\s+", " ", parameters)) if parameters != "void" else []
        found[name] = Function(result, convention, [
            Parameter(*re.fullmatch(r"(?:(_\w+_)(?:\((.*?)\))? )?(.*?)(\w+)", part).groups(default="")) for part in parts])
    return {name: function._replace(parameters=[p._replace(type=p.type.strip()) for p in function.parameters])
            for name, function in found.items()}


def header_constants():
    values = re.findall(r"^#define (TARVO_\w+) (\w+)", read("include/tarvo/tarvo.h"), re.M)
    return {name: int(value.rstrip("UL"), 0) for name, value in values}


def windows_constants(name, pattern):
    """What a script include defines by the names of Windows: text of name and value."""
    return [found for found in re.findall(pattern, read(name), re.M) if not found[0].startswith("TARVO_")]


def listed_exports():
    """Name in the header -> name in the DLL, in order."""
    lines = re.findall(r'^    ("?)(TARVO_\w+|_TARVO_[\w@]+)\1(?: = "(\w+)@0")?$', read("src/tarvo.def"), re.M)
    return {inner or name: name for _, name, inner in lines}


def nsis_type(parameter, own_sizes):
    """(type in a System::Call, whether the macro has an argument for it)."""
    if parameter.name in own_sizes:
        return ("*" if "*" in parameter.type else "") + "i ${NSIS_MAX_STRLEN}", False
    if parameter.name == "locator":
        return "${TARVO__}", True  # a list for some types
    if parameter.annotation == "_In_z_":
        return "m s", True
    if parameter.annotation == "_In_opt_z_":
        return "${TARVO__}", True  # of the argument's name
    if parameter.annotation in ("_Out_", "_Out_opt_"):
        return "*i .s", True
    if parameter.annotation == "_Inout_":
        return "*i ss", True
    if parameter.annotation == "_Inout_updates_z_":
        return "m ss", True
    if parameter.annotation == "_Out_writes_z_":
        return "m .s", True
    if parameter.annotation == "_Out_writes_opt_z_" and parameter.detail.isdigit():
        return "m .s", True
    return ("p s" if parameter.is_text() or parameter.type == "HWND" else "i s"), True


def nsis_push(name, call_type):
    """How a macro hands an argument to a call that takes it from the stack."""
    if call_type in ("i s", "*i ss"):
        return f"!insertmacro TARVO__Number {name}"
    if call_type == "p s":
        return f"!insertmacro TARVO__Address {name}"
    if call_type == "${TARVO__}":
        return "!insertmacro TARVO__Locator" if name == "LOCATOR" else f"!insertmacro TARVO__OptionalText {name}"
    return "Push"


def inno_type(parameter):
    if parameter.is_text():
        return "AnsiString"
    if parameter.type.endswith("*"):
        return "var " + inno_type(parameter._replace(type=parameter.type[:-1]))
    return {"int": "Integer"}.get(parameter.type, parameter.type)


class Interfaces(unittest.TestCase):
    def setUp(self):
        self.functions = header_functions()

    def test_header_declares_the_listed_exports_in_their_order(self):
        self.assertEqual(101, len(self.functions))
        self.assertEqual(list(listed_exports()), list(self.functions))

    def test_nsis_macros_call_as_the_header_says(self):
        macros = dict(re.findall(r"^!macro (TARVO_[A-Z]\w+)(.*?)^!macroend$", read("include/tarvo.nsh"), re.M | re.S))
        for name, function in self.functions.items():
            with self.subTest(name):
                own_sizes = {p.detail.lstrip("*") for p in function.parameters if p.annotation == "_Out_writes_z_"}
                types = [nsis_type(p, own_sizes) for p in function.parameters]
                result = {"void": [], "HINSTANCE": ["p .s"]}.get(function.result, ["i .s"])
                end = ["v .s"] if name == "TARVO_GetLastErrorMessage" else result  # tells what loading gave
                arguments, _, body = macros[name].partition("\n")
                self.assertEqual(len(result) + sum(given for _, given in types), len(arguments.split()))
                called, parameters, after = re.search(
                    r"System::Call `\$\{TARVO_DLL\}::([\w@]+)\((.*)\)(.*)`", body).groups()
                self.assertEqual(listed_exports()[name], called)
                expected = end + (["? c"] if function.convention == "__cdecl" else [])
                self.assertEqual(" ".join(expected), after.strip())
                # The call takes its arguments from the stack in their order and leaves what it hands out there.
                pushed = re.findall(r"^  (Push|!insertmacro TARVO__(?:OptionalText \w+|Number \w+|Address \w+|Locator)) "
                                    r"`\$\{(\w+)\}`", body, re.M)
                popped = re.findall(r"^  (?:Pop \$\{|!insertmacro TARVO__(?:Result|FailureText) `\$\{)(\w+)\}", body, re.M)
                given = arguments.split()[len(result):]
                with_argument = [text for text, has in types if has]
                names = iter(given)
                self.assertEqual(", ".join(text.replace("TARVO__", f"TARVO__{next(names)}") if has else text
                                           for text, has in types), parameters)
                self.assertEqual([(nsis_push(a, t), a) for a, t in zip(given, with_argument) if not t.endswith(" .s")],
                                 pushed[::-1])
                self.assertEqual(arguments.split()[:len(result)] +
                                 [a for a, t in zip(given, with_argument) if t.endswith((".s", " ss"))], popped)

    def nsis_says(self, lines):
        """What makensis says of a script with these lines in a section; nothing if it is content."""
        with tempfile.TemporaryDirectory() as folder:
            script, library = Path(folder, "all.nsi"), Path(folder, "TARVO.DLL")
            library.touch()
            script.write_text("\n".join(["Name all", f"OutFile {folder}/all.exe", *lines, "SectionEnd"]), encoding="ascii")
            done = subprocess.run(["makensis", "-V2", "-WX", f"-X!addincludedir {CHECKOUT / 'include'}", script],
                                  capture_output=True, text=True, check=False)
        return done.stdout + done.stderr if done.returncode else ""

    def test_nsis_takes_every_macro(self):
        lines = []
        for name, arguments in re.findall(r"^!macro (TARVO_[A-Z]\w+)(.*)", read("include/tarvo.nsh"), re.M):
            if f"!define {name} " in read("include/tarvo.nsh") and "FILE" not in arguments.split():
                lines.append(f"${{{name}}} " + " ".join(f"$R{i % 10}" for i in range(len(arguments.split()))))
        for begin in ("Unicode true", "Unicode false", "!include WinCore.nsh", "!define REG_SZ 1"):
            with self.subTest(begin):
                self.assertEqual("", self.nsis_says([begin, "!include tarvo.nsh", "!include WinCore.nsh", "Section", *lines]))

    def test_nsis_refuses_what_would_not_work(self):
        entry = '${TARVO_CreateRegistryEntry} $0 "KEY" '
        service = "${TARVO_InstallService} $0 ${TARVO_NULL} a b 0x10|0x100 ${SERVICE_AUTO_START} c %s ${TARVO_NULL} a 0"
        cases = (  # a line, what is said of it
            (entry + "${REG_SZ} 0", ""),
            (entry + "$1 0x00", ""),
            (entry + "-1 $(^Name)", ""),
            (entry + "REG_SZ 0", 'TYPE must be a number, not "REG_SZ"'),
            (entry + "${REG_SX} 0", "TYPE must be a number, and nothing defines ${REG_SX}"),
            (entry + "1 true", 'FLUSH must be a number, not "true"'),
            (entry + '"" 0', "TYPE must be a number, not nothing"),
            (entry + "1st 0", 'Invalid number: "1st"'),
            ('${TARVO_SetFileSecurityRid} $0 "C:\\a" "Users" ${TARVO_NULL} 1 0 0', 'RID must be a number, not "Users"'),
            (service % "${TARVO_NULL}", ""),
            (service % "$1", ""),
            (service % "Tcpip", 'DEPENDENCIES must be an address, for a list that of TARVO_List, or 0, not "Tcpip"'),
        )
        for line, said in cases:
            with self.subTest(line):
                found = self.nsis_says(["!include tarvo.nsh", "Section", line])
                self.assertTrue(said in found if said else not found, found)
        load = ["Section", '!insertmacro TARVO_Load "TARVO.DLL"']
        for lines in (["Target amd64-unicode", "!include tarvo.nsh"], ["!include tarvo.nsh", "Target amd64-unicode"]):
            self.assertIn("32-bit library", self.nsis_says(lines + load))

    def test_inno_setup_declares_as_the_header_says(self):
        declared, outer, inner = {}, {}, []
        for kind, name, parameters, result, called in re.findall(
                r"^(function|procedure) (TARVO_\w+)(?:\(([^)]*)\))?(?:: (\w+))?;\s+(?:external '(\w+)@\{#TarvoLibrary\} cdecl "
                r"delayload'|begin|var\b)", read("include/tarvo.iss"), re.M):
            types = []
            for group in filter(None, re.split(r";\s*", parameters)):
                variable, names, kind_of = re.fullmatch(r"(var )?([\w,\s]+):\s+(\w+)", group).groups(default="")
                types += [variable + kind_of] * (names.count(",") + 1)
            (declared if called else outer)[name.replace("TARVO__", "TARVO_")] = (kind, types, result, called)
            if name.startswith("TARVO__") and called:
                inner.append(called)
        # Inno Setup takes the first @ for the end of a name.
        wanted = {name: function for name, function in self.functions.items() if function.convention == "__cdecl"}
        self.assertEqual(list(wanted), list(declared))
        for name, function in wanted.items():
            with self.subTest(name):
                result = {"void": "", "HINSTANCE": "THandle"}.get(function.result, function.result)
                self.assertEqual(("function" if result else "procedure", [inno_type(p) for p in function.parameters],
                                  result, name), declared[name])
        for name in inner:  # declared for a function that adds to its arguments
            self.assertEqual(declared[name][:3], outer[name][:3])

    def test_constants_are_the_same_everywhere(self):
        expected = header_constants()
        nsis = re.findall(r"^!define (TARVO_[A-Z0-9_]+) (-?\w+)$", read("include/tarvo.nsh"), re.M)
        self.assertEqual(expected, {name: int(value, 0) & 0xFFFFFFFF for name, value in nsis})
        inno = re.findall(r"^  (TARVO_[A-Z0-9_]+) = (\$?\w+);$", read("include/tarvo.iss"), re.M)
        self.assertEqual(expected, {name: int(value.replace("$", "0x"), 0) for name, value in inno})

    def test_constants_of_windows_are_those_of_its_headers(self):
        found = windows_constants("include/tarvo.nsh", r"^!define /ifndef ([A-Z]\w+) (\w+)")
        found += windows_constants("include/tarvo.iss", r"^  ([A-Z]\w+) = (\$?\w+);$")
        own = {"TARVO_ACCESS_READ": "GENERIC_READ | GENERIC_EXECUTE", "TARVO_ACCESS_FULL": "GENERIC_ALL",
               "TARVO_ACCESS_CHANGE": "TARVO_ACCESS_READ | GENERIC_WRITE | DELETE",
               "TARVO_RID_SYSTEM": "SECURITY_LOCAL_SYSTEM_RID", "TARVO_RID_USERS": "DOMAIN_ALIAS_RID_USERS",
               "TARVO_RID_AUTHENTICATED_USERS": "SECURITY_AUTHENTICATED_USER_RID",
               "TARVO_RID_LOCAL_SERVICE": "SECURITY_LOCAL_SERVICE_RID",
               "TARVO_RID_NETWORK_SERVICE": "SECURITY_NETWORK_SERVICE_RID",
               "TARVO_RID_ADMINISTRATORS": "DOMAIN_ALIAS_RID_ADMINS", "TARVO_RID_GUESTS": "DOMAIN_ALIAS_RID_GUESTS",
               "TARVO_RID_POWER_USERS": "DOMAIN_ALIAS_RID_POWER_USERS"}
        self.assertGreater(len(found), 60)
        source = ["#include <tarvo/tarvo.h>", "#include <accctrl.h>", "#include <lm.h>"]
        for name, value in found + list(own.items()):
            source.append(f'_Static_assert((DWORD)({name}) == (DWORD)({value.replace("$", "0x")}), "{name}");')
        done = subprocess.run(["i686-w64-mingw32-gcc-posix", "-xc", "-fsyntax-only", f"-I{CHECKOUT / 'include'}", "-"],
                              input="\n".join(source), capture_output=True, text=True, check=False)
        self.assertEqual(0, done.returncode, done.stderr)


if __name__ == "__main__":
    unittest.main()
