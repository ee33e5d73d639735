#!/usr/bin/env python3
"""Fails when an #include in platform/ or tools/ runs against the layers.

The layers are the directories under platform/nym/, from the bottom (docs/ARCHITECTURE.md). A
file may include headers of its own layer and of the layers below it. An exported header
(platform/nym/include/nym/) belongs to the lowest layer whose directory holds a source that
includes it as its first project header, as every source includes its own header first; a
header that no source claims (a template, an enum) belongs to the highest layer it includes.
The tool under tools/ stands above every layer and sees only the exported headers.

    scripts/check_layers.py          check; prints each offending include
    scripts/check_layers.py --list   the layer of every exported header
"""
import os
import re
import sys

LAYERS = ["base", "text", "status", "lock", "time", "buffer", "security", "sync", "file", "thread",
          "config", "system"]
TOOLS = len(LAYERS)

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
NYM = os.path.join(ROOT, "platform", "nym")
EXPORTED = os.path.join(NYM, "include", "nym")
SOURCE = re.compile(r"\.(c|cc|cpp|h|hpp|inc)$")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def files_under(top):
    for folder, _, names in os.walk(top):
        for name in sorted(names):
            if SOURCE.search(name):
                yield os.path.join(folder, name)


def includes(path):
    """(line number, quoted?, name) of each #include."""
    with open(path, encoding="utf-8", errors="replace") as f:
        for number, line in enumerate(f, 1):
            m = INCLUDE.match(line)
            if m:
                yield number, m.group(1) == '"', m.group(2)


def rel(path):
    return os.path.relpath(path, ROOT)


def main():
    errors = []
    exported = {os.path.basename(p): p for p in files_under(EXPORTED)}

    # The owners of each exported header: the layers of the sources that include it first.
    owners = {name: set() for name in exported}
    for path in files_under(NYM):
        if path.startswith(EXPORTED + os.sep) or not path.endswith((".c", ".cc", ".cpp")):
            continue
        first = next((name for _, quoted, name in includes(path) if quoted), None)
        if first and first.startswith("nym/") and first[4:] in owners:
            owners[first[4:]].add(LAYERS.index(rel(path).split(os.sep)[2]))

    layer_of_header = {}

    def header_layer(name, seen=()):
        if name in layer_of_header:
            return layer_of_header[name]
        if owners[name]:
            layer = min(owners[name])
        else:
            layer = 0
            for _, quoted, inc in includes(exported[name]):
                if quoted and inc.startswith("nym/") and inc[4:] in exported and inc[4:] not in seen:
                    layer = max(layer, header_layer(inc[4:], seen + (name,)))
        layer_of_header[name] = layer
        return layer

    def layer_of_file(path):
        if path.startswith(EXPORTED + os.sep):
            return header_layer(os.path.basename(path))
        if path.startswith(os.path.join(ROOT, "tools") + os.sep):
            return TOOLS
        directory = rel(path).split(os.sep)[2]
        if directory not in LAYERS:
            errors.append(f"{rel(path)}: platform/nym/{directory} is in no layer (scripts/check_layers.py, LAYERS)")
            return None
        return LAYERS.index(directory)

    def describe(layer):
        return "the tool" if layer == TOOLS else LAYERS[layer]

    if "--list" in sys.argv:
        for name in sorted(exported):
            print(f"{describe(header_layer(name)):9} nym/{name}")
        return 0

    checked = 0
    for path in list(files_under(NYM)) + list(files_under(os.path.join(ROOT, "tools"))):
        layer = layer_of_file(path)
        if layer is None:
            continue
        checked += 1
        for number, quoted, name in includes(path):
            if not quoted:
                continue  # the C++ library, the system and the dependencies
            where = f"{rel(path)}:{number}"
            if name.startswith("nym/"):
                if name[4:] not in exported:
                    errors.append(f"{where}: {name} is no exported header")
                    continue
                target = header_layer(name[4:])
            elif name.split("/")[0] in LAYERS and os.path.exists(os.path.join(NYM, name)):
                if layer == TOOLS:
                    errors.append(f"{where}: the tool includes the internal header {name}; it uses exported ones")
                    continue
                target = LAYERS.index(name.split("/")[0])
            elif os.path.exists(os.path.join(os.path.dirname(path), name)):
                target = layer  # beside the file
            else:
                errors.append(f"{where}: cannot tell the layer of {name}")
                continue
            if target > layer:
                errors.append(f"{where}: {describe(layer)} includes {name} of the {describe(target)} layer above it")

    for e in errors:
        print(e, file=sys.stderr)
    if errors:
        print(f"layers: {len(errors)} include(s) against the layers", file=sys.stderr)
        return 1
    print(f"layers: {checked} files, every include runs downwards")
    return 0


if __name__ == "__main__":
    sys.exit(main())
