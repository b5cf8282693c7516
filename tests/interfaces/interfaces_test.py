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


def listed_exports():
    """Name in the header -> name in the DLL, in order."""
    lines = re.findall(r'^    ("?)(TARVO_\w+|_TARVO_[\w@]+)\1(?: = "(\w+)@0")?$', read("src/tarvo.def"), re.M)
    return {inner or name: name for _, name, inner in lines}


def nsis_type(parameter, own_sizes):
    """(type in a System::Call, whether the macro has an argument for it)."""
    if parameter.name in own_sizes:
        return ("*" if "*" in parameter.type else "") + "i ${NSIS_MAX_STRLEN}", False
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
                arguments, _, body = macros[name].partition("\n")
                self.assertEqual(len(result) + sum(given for _, given in types), len(arguments.split()))
                called, parameters, after = re.search(
                    r"System::Call `\$\{TARVO_DLL\}::([\w@]+)\((.*)\)(.*)`", body).groups()
                self.assertEqual(listed_exports()[name], called)
                expected = result + (["? c"] if function.convention == "__cdecl" else [])
                self.assertEqual(" ".join(expected), after.strip())
                # The call takes its arguments from the stack in their order and leaves what it hands out there.
                for define, argument in re.findall(r"TARVO__OptionalText (\w+) `\$\{(\w+)\}`", body):
                    self.assertEqual(define, argument)
                pushed = re.findall(r"^  (?:Push|!insertmacro TARVO__OptionalText \w+) `\$\{(\w+)\}`$", body, re.M)
                popped = re.findall(r"^  Pop \$\{(\w+)\}$", body, re.M)
                given = arguments.split()[len(result):]
                with_argument = [text for text, has in types if has]
                names = iter(given)
                self.assertEqual(", ".join(text.replace("TARVO__", f"TARVO__{next(names)}") if has else text
                                           for text, has in types), parameters)
                self.assertEqual([a for a, t in zip(given, with_argument) if not t.endswith(" .s")], pushed[::-1])
                self.assertEqual(arguments.split()[:len(result)] +
                                 [a for a, t in zip(given, with_argument) if t.endswith((".s", " ss"))], popped)

    def test_nsis_takes_every_macro(self):
        lines = ["Unicode true", "Name all", "!include tarvo.nsh", "Section"]
        for name, arguments in re.findall(r"^!macro (TARVO_[A-Z]\w+)(.*)", read("include/tarvo.nsh"), re.M):
            if name in self.functions:
                lines.append(f"${{{name}}} " + " ".join(f"$R{i % 10}" for i in range(len(arguments.split()))))
        with tempfile.TemporaryDirectory() as folder:
            script = Path(folder, "all.nsi")
            script.write_text("\n".join(lines + ["SectionEnd", f"OutFile {folder}/all.exe"]), encoding="ascii")
            done = subprocess.run(["makensis", "-V2", "-WX", "-NOCD", f"-X!addincludedir {CHECKOUT / 'include'}", script],
                                  capture_output=True, text=True, check=False)
        self.assertEqual(0, done.returncode, done.stdout)

    def test_inno_setup_declares_as_the_header_says(self):
        declared = {}
        for kind, name, parameters, result, called in re.findall(
                r"^(function|procedure) (TARVO_\w+)(?:\(([^)]*)\))?(?:: (\w+))?;\s+external '(\w+)@\{#TarvoLibrary\} cdecl "
                r"delayload';$", read("include/tarvo.iss"), re.M):
            types = []
            for group in filter(None, re.split(r";\s*", parameters)):
                variable, names, kind_of = re.fullmatch(r"(var )?([\w,\s]+):\s+(\w+)", group).groups(default="")
                types += [variable + kind_of] * (names.count(",") + 1)
            declared[name] = (kind, types, result, called)
        # Inno Setup takes the first @ for the end of a name.
        wanted = {name: function for name, function in self.functions.items() if function.convention == "__cdecl"}
        self.assertEqual(list(wanted), list(declared))
        for name, function in wanted.items():
            with self.subTest(name):
                result = {"void": "", "HINSTANCE": "THandle"}.get(function.result, function.result)
                self.assertEqual(("function" if result else "procedure", [inno_type(p) for p in function.parameters],
                                  result, name), declared[name])

    def test_constants_are_the_same_everywhere(self):
        expected = header_constants()
        nsis = re.findall(r"^!define (TARVO_[A-Z0-9_]+) (-?\d+)$", read("include/tarvo.nsh"), re.M)
        self.assertEqual(expected, {name: int(value) & 0xFFFFFFFF for name, value in nsis})
        inno = re.findall(r"^  (TARVO_[A-Z0-9_]+) = (\$?\w+);$", read("include/tarvo.iss"), re.M)
        self.assertEqual(expected, {name: int(value.replace("$", "0x"), 0) for name, value in inno})


if __name__ == "__main__":
    unittest.main()
