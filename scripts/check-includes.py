#!/usr/bin/env python3
"""Checks that no include points up the layers, and that nothing below the host leans on one system alone."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Folder -> the folders that it may include from, besides itself.
ALLOWED = {
    "wire": [],
    "company": ["wire"],
    "demo": ["wire", "company"],
    "runtime/data": ["wire", "runtime/Export.h"],
    "runtime/ui": ["wire", "runtime"],
    "server": ["wire", "company", "demo"],
    "module/data": ["wire", "company", "runtime"],
    "framework": ["wire", "company", "runtime", "module/data"],
    "orders": ["wire", "company", "runtime", "module/data", "framework"],
    "dispatch": ["wire", "company", "runtime", "module/data", "framework", "orders"],
    "reports": ["wire", "company", "runtime", "module/data", "framework", "orders"],
    "module": ["wire", "company", "runtime", "module/data", "framework", "orders", "dispatch", "reports"],
    "host": ["wire", "company", "runtime", "server", "demo"],
}
NO_WIDGETS = ("wire", "company", "demo", "runtime/data", "server")
WIDGET_HEADER = re.compile(r"<Q(Widget|Application|Dialog|MainWindow|TableView|LineEdit|MessageBox)>")
ONE_SYSTEM = re.compile(r"<(unistd|sys/\w+|fcntl|windows|winsock2|pthread|dlfcn)\.h>")
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')


def layer_of(path):
    for layer in sorted(ALLOWED, key=len, reverse=True):
        if path == layer or path.startswith(layer + "/"):
            return layer
    return None


def sources():
    for folder in sorted({layer.split("/")[0] for layer in ALLOWED}):
        for path in sorted((ROOT / folder).rglob("*")):
            layer = layer_of(path.relative_to(ROOT).as_posix())
            if layer and path.suffix in (".h", ".cpp"):
                yield layer, path


def main():
    problems = []
    for layer, path in sources():
        name = path.relative_to(ROOT).as_posix()
        text = path.read_text(encoding="utf-8")
        has_twin = "Q_OS_WIN" in text or "_WIN32" in text
        for number, line in enumerate(text.splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            place = f"{name}:{number}"
            kind, target = match.groups()
            if kind == "<":
                if layer in NO_WIDGETS and WIDGET_HEADER.search(line):
                    problems.append(f"{place}: widgets below the visual half: {target}")
                if ONE_SYSTEM.search(line) and not has_twin:
                    problems.append(f"{place}: a header of one system alone: {target}")
                continue
            owner = layer_of(target)
            if owner is None or owner == layer:
                continue
            if not any(target == a or target.startswith(a + "/") for a in ALLOWED[layer]):
                problems.append(f"{place}: {layer} may not include {target}")
    print("\n".join(problems))
    return 1 if problems else 0


sys.exit(main())
