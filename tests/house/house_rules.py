#!/usr/bin/env python3
"""The rules of the house that a program can check. usage: house_rules.py SOURCE_ROOT [BUILD_ROOT]"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
BUILD = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
SRC = ROOT / "src"

# From the street to the cellar: what each folder may include besides itself. A feature's model/
# holds records and pure functions, and models may use each other.
FEATURES = ["blocking", "core", "rules", "schedule", "progress", "posture", "sound", "filter", "sync"]
MODELS = [f + "/model" for f in FEATURES]
GROUND = ["base", "ports"]
BELOW = {
    "base": [], "browser-host": [],
    "ports": ["base"],
    **{model: ["base", *MODELS] for model in MODELS},
    "blocking": [*GROUND, *MODELS],
    "core": [*GROUND, *MODELS, "blocking"],
    **{f: [*GROUND, *MODELS, "blocking", "core"]
       for f in ["rules", "schedule", "progress", "posture", "sound", "filter"]},
    "sync": [*GROUND, *MODELS, *[f for f in FEATURES if f != "sync"]],
    "app": [*GROUND, *MODELS, *FEATURES],
    "control": [*GROUND, *MODELS, *FEATURES, "app"],
    **{"platform/" + system: GROUND for system in ["macos", "sim", "linux"]},
    "shell": [*GROUND, *MODELS, *FEATURES, "app", "control", "platform/linux"],
    "window": ["control", "base"],
}
# What visibility judges is the port's window list, so this one model reads the port's records.
MODEL_PORTS = {("blocking/model", "ports/Desktop.h")}

# The wrapper of a library may show its types to the few files that are built on it.
WRAPPERS = {"platform/linux/X11Connection.h"}
HEAVY = re.compile(r"#include <(nlohmann/|date/|xcb/|cairo/|pango/|sqlite3|systemd/|boost/|idn2|unicase|unistr)")
QT = re.compile(r"#include <Q|#include <Qt")
CLOCKS = re.compile(r"system_clock::now|steady_clock::now|\bgettimeofday|\bclock_gettime|\bstd::time\("
                    r"|this_thread::sleep|\busleep\(|\bnanosleep\(")
STATIC = re.compile(r"(?:^|[{;])\s*(?:inline\s+)?(?:static|thread_local)\s+(?!const\b|constexpr\b|consteval\b|"
                    r"inline const|_?assert)([^()=;{]*?)(\s*=[^=]|\s*;|\s*\{)")
BANNED = re.compile(r"(?<![>.])\b[Ss]pec(s|ification)?\b|\b[Pp]art [0-9]+\.[0-9]+|as specified|/(work|farm)/|"
                    r"\bTODO\b|\bFIXME\b")
TEXT = {".cpp", ".h", ".py", ".js", ".mjs", ".html", ".md", ".txt", ".cmake", ".json", ".yml", ""}

problems = []


def problem(path, line, text):
    problems.append(f"{path.relative_to(ROOT)}:{line}: {text}")


def folder_of(relative):
    """The longest folder of the table that holds this path."""
    holding = (str(parent) for parent in pathlib.PurePath(relative).parents)
    return next((name for name in holding if name in BELOW), None)


def check_includes(path, lines):
    own = folder_of(str(path.relative_to(SRC)))
    if own is None:
        return problem(path, 1, "a folder that the house does not know")
    for n, line in enumerate(lines, 1):
        if match := re.match(r'\s*#include "([^"]+)"', line):
            target = match[1]
            other = folder_of(target)
            if other is None:
                if not re.fullmatch(r"[\w.-]+\.h", target):
                    problem(path, n, f"{target} is in no folder of the house")
            elif other != own and other not in BELOW[own] and (own, target) not in MODEL_PORTS:
                problem(path, n, f"{own}/ may not include {target}")
        if QT.match(line) and own != "window":
            problem(path, n, "Qt belongs to window/")
        wraps = str(path.relative_to(SRC)) in WRAPPERS
        if path.suffix == ".h" and not wraps and HEAVY.match(line):
            problem(path, n, "a heavy header belongs in a .cpp file")


def check_state_and_clocks(path, lines):
    own = folder_of(str(path.relative_to(SRC))) or ""
    for n, line in enumerate(lines, 1):
        code = line.split("//")[0]
        if (match := STATIC.search(code)) and "operator" not in code and len(match[1].split()) > 1:
            problem(path, n, "mutable process-wide state")
        if not own.startswith(("platform/linux", "shell", "browser-host")) and CLOCKS.search(code):
            problem(path, n, "time comes from the ports")


def check_symbols():
    """Whatever writable data the compiler made must be a constant by name."""
    known = re.compile(r"guard variable|vtable|typeinfo|VTT|json::Fields<|\bk[A-Z]\w*(\[abi|$|\b)|^_?_|"
                       r"DW\.ref|\.LC|initializer for|completed|std::")
    for library in sorted((BUILD / "src").glob("libvelmora_*.a")):
        out = subprocess.run(["nm", "-C", "--defined-only", library], capture_output=True, text=True)
        for line in out.stdout.splitlines():
            match = re.match(r"[0-9a-f]+ ([bBdD]) (.*)", line)
            if match and not known.search(match[2]):
                problems.append(f"{library.name}: writable data “{match[2]}”")


def check_texts():
    listed = subprocess.run(["git", "-C", ROOT, "ls-files"], capture_output=True, text=True)
    for name in listed.stdout.splitlines():
        path = ROOT / name
        if re.search(r"(^|[/_-])spec([/_.-]|$)|part[0-9]", name, re.I):
            problem(path, 1, "a file name that may not be")
        if path.suffix not in TEXT or not path.is_file() or path == pathlib.Path(__file__).resolve():
            continue
        for n, line in enumerate(path.read_text("utf-8", "replace").splitlines(), 1):
            if len(line) > 100 and path.is_relative_to(SRC) and '"' not in line:
                problem(path, n, "a line of over 100 characters")
            if BANNED.search(line):
                problem(path, n, f"a word that may not stand here: {line.strip()[:60]}")


for source in sorted(p for p in SRC.rglob("*") if p.suffix in {".cpp", ".h"}):
    text = source.read_text("utf-8").splitlines()
    check_includes(source, text)
    check_state_and_clocks(source, text)
check_texts()
if BUILD:
    check_symbols()
for found in problems:
    print(found)
print(f"{len(problems)} broken house rule(s)")
sys.exit(1 if problems else 0)
