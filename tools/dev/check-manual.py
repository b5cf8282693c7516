#!/usr/bin/env python3
"""Checks the manual's examples and its completeness.

check-manual.py [PAGE...]    from anywhere; without pages all of docs/manual

- `nsis` blocks compile with makensis: the contents of a section unless they have one. What they unpack is empty.
- `c` blocks compile with MinGW-w64, warnings as errors: a function's body unless they #include something.
- `pascal` blocks call what tarvo.iss declares, with as many arguments, and hand variables to `var` parameters.
- Each name TARVO_... is in the include files, each link between pages leads somewhere, each export is on a page.
Prints PAGE:LINE: WHAT for each fault; exits with 1 if there are any.
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
MANUAL = ROOT / "docs/manual"
INCLUDE = ROOT / "include"
GCC = [*"i686-w64-mingw32-gcc-posix -xc -std=c99 -Wall -Wextra -Werror -c - -o /dev/null".split(), f"-I{INCLUDE}"]
C_HEAD = "#include <tarvo/tarvo.h>\n#include <stdio.h>\nvoid example(void);\nvoid example(void)\n{\n"
NSIS_HEAD = {"Unicode ": "Unicode true\n", "Name ": 'Name "Example"\n', "OutFile ": 'OutFile "lantern-setup.exe"\n',
             "LogicLib.nsh": "!include LogicLib.nsh\n", "tarvo.nsh": "!include tarvo.nsh\n"}
PASCAL_TRIVIA = re.compile(r"'[^'\n]*'|//[^\n]*|\{[^}]*\}|\(\*.*?\*\)", re.S)
faults = []


def fault(page, line, what):
    faults.append(f"{page.relative_to(ROOT)}:{line}: {what}")


def check_c(page, line, code):
    head, tail = ("", "") if "#include" in code else (C_HEAD, "}\n")
    source = f'{head}#line {line} "{page.relative_to(ROOT)}"\n{code}{tail}'
    done = subprocess.run(GCC, input=source, capture_output=True, text=True)
    if done.returncode:
        fault(page, line, f"does not compile\n{done.stderr.rstrip()}")


def check_nsis(page, line, code):
    head = "".join(text for sign, text in NSIS_HEAD.items() if not re.search(rf"^\s*(!include )?{sign}", code, re.M))
    begin, tail = ("", "") if re.search(r"^Section\b", code, re.M) else ("Section\n", "SectionEnd\n")
    with tempfile.TemporaryDirectory() as folder:
        for unpacked in re.findall(r'^\s*(?:File|!insertmacro TARVO_Load)\b.*?"([^"/]+)"\s*$', code, re.M):
            Path(folder, unpacked).touch()
        command = ["makensis", "-V2", "-WX", "-INPUTCHARSET", "UTF8", f'-X!addincludedir "{INCLUDE}"', "-"]
        done = subprocess.run(command, input=head + begin + code + tail, capture_output=True, text=True, cwd=folder)
    if done.returncode:
        offset = line - 1 - (head + begin).count("\n")
        said = re.sub(r"on line (\d+)", lambda at: f"on line {offset + int(at[1])}", done.stdout + done.stderr)
        fault(page, line, f"does not compile\n{said.rstrip()}")


def declared_in_iss():
    """Name -> for each parameter whether it is a var parameter; constants have none."""
    text = re.sub(r"//[^\n]*", "", (INCLUDE / "tarvo.iss").read_text())
    declared = dict.fromkeys(re.findall(r"^\s*(TARVO_\w+) =", text, re.M), [])
    for name, parameters in re.findall(r"(?:function|procedure) (TARVO_\w+)(?:\(([^)]*)\))?\s*[;:]", text):
        groups = [group.split(":")[0].strip() for group in parameters.split(";") if group.strip()]
        declared[name] = [group.startswith("var ") for group in groups for _ in group.split(",")]
    return declared


def arguments_at(code, at):
    """The arguments in the parentheses that begin at a place; without parentheses none."""
    left, text = None, code[at + 1 :] if code[at : at + 1] == "(" else ")"
    while left != text:  # what stands in inner parentheses or brackets does not count
        left, text = text, re.sub(r"\([^()]*\)|\[[^][]*\]", "+", text)
    given = text[: text.index(")")].strip()
    return [argument.strip() for argument in given.split(",")] if given else []


def check_pascal(page, line, code):
    declared = declared_in_iss()
    code = PASCAL_TRIVIA.sub(lambda found: "''" + "\n" * found[0].count("\n"), code)
    for found in re.finditer(r"\bTARVO_\w+", code):
        name, at = found[0], line + code.count("\n", 0, found.start())
        given = arguments_at(code, found.end())
        if name not in declared:
            fault(page, at, f"{name} is not in tarvo.iss")
        elif len(given) != len(declared[name]):
            fault(page, at, f"{name} takes {len(declared[name])} arguments, not {len(given)}")
        elif any(var and not re.fullmatch(r"[A-Za-z]\w*", text) for var, text in zip(declared[name], given)):
            fault(page, at, f"{name} wants a variable")


def check_text(page, text, known):
    for number, line in enumerate(text.splitlines(), 1):
        for name in set(re.findall(r"\bTARVO_\w*[A-Za-z0-9]\b", line)) - known:
            fault(page, number, f"there is no {name}")
        for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", line):
            if not (page.parent / target).exists():
                fault(page, number, f"there is no {target}")


def main():
    exports = set(re.findall(r"^\s+\"?_?(TARVO_\w+)", (ROOT / "src/tarvo.def").read_text(), re.M))
    known = {name for file in INCLUDE.rglob("tarvo.*") for name in re.findall(r"\bTARVO_\w+", file.read_text())}
    pages = [Path(page).resolve() for page in sys.argv[1:]] or sorted(MANUAL.glob("*.md"))
    checks = {"nsis": check_nsis, "pascal": check_pascal, "c": check_c}
    counts = dict.fromkeys(checks, 0)
    for page in pages:
        text = page.read_text()
        check_text(page, text, known)
        for block in re.finditer(r"^```(\w+)\n(.*?)^```$", text, re.M | re.S):
            if block[1] in checks:
                counts[block[1]] += 1
                checks[block[1]](page, text.count("\n", 0, block.start(2)) + 1, block[2])
        exports -= set(re.findall(r"\bTARVO_\w+", text))
    if len(sys.argv) == 1:
        faults.extend(f"docs/manual: no page tells about {name}" for name in sorted(exports))
    examples = ", ".join(f"{count} {kind}" for kind, count in counts.items())
    print(*faults or [f"{len(pages)} pages, examples: {examples}"], sep="\n")
    return 1 if faults else 0


sys.exit(main())
