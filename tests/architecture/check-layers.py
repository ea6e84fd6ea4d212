#!/usr/bin/env python3
"""Fails when a source file includes a header from a layer its own layer may not use.

The layers and what each may use are read from <root>/src/layers.txt, the table the build
links by. Quoted includes name their layer as the first folder ("sending/FXFaxConnection.h");
Qt Widgets headers (found in the folder given with --widgets) belong to the app layer alone.
Every folder below src/ must be a layer of the table.
"""
import argparse
import os
import re
import sys

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.M)
WIDGETS_LAYER = 'app'


def read_layers(path):
    layers = {}
    with open(path, encoding='utf-8') as table:
        for line in table:
            line = line.split('#', 1)[0].strip()
            if not line:
                continue
            name, _, uses = line.partition(':')
            layers[name.strip()] = set(uses.split())
    return layers


def widget_headers(folder):
    if not folder or not os.path.isdir(folder):
        return set()
    return set(os.listdir(folder))


def violations(root, layers, widgets):
    src = os.path.join(root, 'src')
    for entry in sorted(os.listdir(src)):
        path = os.path.join(src, entry)
        if not os.path.isdir(path):
            continue
        has_sources = any(name.endswith(('.h', '.cpp'))
                          for _, _, files in os.walk(path) for name in files)
        if entry not in layers and has_sources:
            yield f'src/{entry}: a folder that is no layer of src/layers.txt'
            continue
        if entry not in layers:
            continue
        allowed = layers[entry] | {entry}
        for folder, _, files in os.walk(path):
            for name in sorted(files):
                if not name.endswith(('.h', '.cpp')):
                    continue
                file = os.path.join(folder, name)
                with open(file, encoding='utf-8', errors='replace') as source:
                    text = source.read()
                for match in INCLUDE.finditer(text):
                    kind, header = match.groups()
                    line = text.count('\n', 0, match.start()) + 1
                    where = f'{os.path.relpath(file, root)}:{line}'
                    if kind == '"':
                        first = header.split('/', 1)[0]
                        if '/' in header and first in layers and first not in allowed:
                            yield f'{where}: the {entry} layer may not include "{header}"'
                    elif entry != WIDGETS_LAYER:
                        base = header.split('/', 1)[-1] if header.startswith('QtWidgets/') else header
                        if header.startswith('QtWidgets/') or base in widgets:
                            yield f'{where}: Qt Widgets belongs to the app layer, not {entry}'


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('root', help='the source tree (holding src/layers.txt)')
    parser.add_argument('--widgets', help="Qt Widgets' include folder")
    args = parser.parse_args()
    layers = read_layers(os.path.join(args.root, 'src', 'layers.txt'))
    for layer, uses in layers.items():
        for used in uses - set(layers):
            print(f'src/layers.txt: {layer} uses {used}, which is no layer')
            return 1
    found = list(violations(args.root, layers, widget_headers(args.widgets)))
    for line in found:
        print(line)
    print(f'{len(layers)} layers checked, {len(found)} forbidden includes')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
