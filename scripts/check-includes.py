#!/usr/bin/env python3
"""Checks that no include points up the layers, and that no product file leans on one system alone."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# The server's floors, from below; each may include those under it.
#   dialect     SQL texts; asks a catalogue what tables there are, and knows no database
#   refusal     why something is refused, and what users are told
#   storage     what is needed of a database, the pool; the databases themselves stand beside one another
#               on top of it, and only the program and the host's embedded server choose among them
#   accounts    logins read their rows from the storage
#   provider    sessions: they ask accounts and storage, and know neither network nor log
#   monitoring  wraps sessions to log and count what they do
#   net         gives each client a monitored session; logs and counts connections
#   main        the program: chooses a database, builds all of it
FLOORS = ["dialect", "refusal", "storage", "accounts", "provider", "monitoring", "net", "main"]
DATABASES = ["sqlite", "postgres", "odbc"]


def server_layers():
    layers = {}
    for number, floor in enumerate(FLOORS):
        # "storage/" stands for the files of that folder itself, without the databases' folders.
        below = [f"server/{each}" + ("/" if each == "storage" else "") for each in FLOORS[:number]]
        layers[f"server/{floor}"] = ["wire", "company"] + below
    for database in DATABASES:
        layers[f"server/storage/{database}"] = layers["server/storage"] + ["server/storage/"]
    # The one place where the options that ask for demo data call for them.
    layers["server/provider/DemoData.cpp"] = layers["server/provider"] + ["server/provider", "demo"]
    layers["server/main"] += [f"server/storage/{each}" for each in DATABASES]
    return layers


# Folder -> the folders that it may include from, besides itself. A name that ends in "/": the files of that
# folder alone, not those of the folders in it.
ALLOWED = {
    **server_layers(),
    "wire": [],
    "company": ["wire"],
    "demo": ["wire", "company"],
    "runtime": ["wire", "company"],
    "runtime/data": ["wire", "runtime/Export.h"],
    "runtime/ui": ["wire", "runtime/", "runtime/data"],
    "runtime/controls": ["wire", "runtime"],
    "runtime/grid": ["wire", "runtime"],
    "import": ["wire", "runtime"],
    "module/data": ["wire", "company", "runtime"],
    "framework": ["wire", "company", "runtime", "module/data"],
    "orders": ["wire", "company", "runtime", "module/data", "framework"],
    "dispatch": ["wire", "company", "runtime", "module/data", "framework", "orders"],
    "reports": ["wire", "company", "runtime", "module/data", "framework", "orders"],
    "module": ["wire", "company", "runtime", "module/data", "framework", "orders", "dispatch", "reports"],
    "host": ["wire", "company", "runtime", "server/provider", "server/accounts", "server/storage", "demo"],
}
# What tests, measures and besieges the product: it includes any of it, never the other way. What they share
# stands in tests/support.
PRODUCT = sorted({layer.split("/")[0] for layer in ALLOWED})
OUTSIDE = {
    "tests": PRODUCT + ["tests/support", "siege"],
    "tests/support": ["wire", "demo", "runtime", "server"],
    "bench": PRODUCT + ["tests"],
    "fuzz": ["wire", "company", "demo", "server", "tests/server/conformance"],
    "siege": ["wire"],
    "siege/attack": ["wire", "demo", "siege/", "tests/support"],
    "siege/chaos": ["wire", "company", "demo", "runtime", "orders", "siege/", "tests/support"],
}
ALLOWED.update(OUTSIDE)
NO_WIDGETS = ("wire", "company", "demo", "runtime/data", "server")
WIDGET_HEADER = re.compile(r"<Q(Widget|Application|Dialog|MainWindow|TableView|LineEdit|MessageBox)>")
ONE_SYSTEM = re.compile(r"<(unistd|sys/\w+|fcntl|windows|winsock2|pthread|dlfcn)\.h>")
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]')


def is_allowed(target, allowed):
    if allowed.endswith("/"):
        return target.rpartition("/")[0] + "/" == allowed
    return target == allowed or target.startswith(allowed + "/")


def layer_of(path):
    for layer in sorted(ALLOWED, key=len, reverse=True):
        if path == layer or path.startswith(layer + "/"):
            return layer
    return None


def sources():
    for folder in sorted({layer.split("/")[0] for layer in ALLOWED}):
        for path in sorted((ROOT / folder).rglob("*")):
            layer = layer_of(path.relative_to(ROOT).as_posix())
            if path.suffix in (".h", ".cpp"):
                yield layer, path


def main():
    problems = []
    for layer, path in sources():
        name = path.relative_to(ROOT).as_posix()
        text = path.read_text(encoding="utf-8")
        if layer is None:
            problems.append(f"{name}: stands on no floor")
            continue
        without_widgets = any(is_allowed(name, folder) for folder in NO_WIDGETS)
        has_twin = "Q_OS_WIN" in text or "_WIN32" in text
        for number, line in enumerate(text.splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            place = f"{name}:{number}"
            kind, target = match.groups()
            if kind == "<":
                if without_widgets and WIDGET_HEADER.search(line):
                    problems.append(f"{place}: widgets below the visual half: {target}")
                if layer not in OUTSIDE and ONE_SYSTEM.search(line) and not has_twin:
                    problems.append(f"{place}: a header of one system alone: {target}")
                continue
            owner = layer_of(target)
            if owner is None or owner == layer:
                continue
            if not any(is_allowed(target, a) for a in ALLOWED[layer]):
                problems.append(f"{place}: {layer} may not include {target}")
    print("\n".join(problems))
    return 1 if problems else 0


sys.exit(main())
