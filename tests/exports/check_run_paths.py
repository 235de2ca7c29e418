#!/usr/bin/env python3
"""Reads where every ELF binary below a folder has its libraries looked for: no entry may be empty or relative, for the
loader would take a library from the current directory there.

    check_run_paths.py [--only-origin | --none] FOLDER NAME...

Each NAME is a binary that must be among them, relative to the folder. In an installed tree that may be moved, entries
begin at the binary's own place (--only-origin); in the system's own folders there are none (--none)."""
import os
import re
import subprocess
import sys

EXECUTABLE, SHARED = 2, 3


def binaries(folder):
    """Programs and shared libraries, not objects; links are not followed."""
    for path, _, files in os.walk(folder):
        for name in files:
            file = os.path.join(path, name)
            if os.path.islink(file) or not os.path.isfile(file):
                continue
            with open(file, 'rb') as binary:
                start = binary.read(18)
            if start[:4] == b'\x7fELF' and int.from_bytes(start[16:18], 'little') in (EXECUTABLE, SHARED):
                yield file


def run_paths(file):
    """The binary's run paths, as they are: several entries, separated by colons."""
    text = subprocess.run(('readelf', '-W', '-d', file), check=True, capture_output=True, text=True).stdout
    return re.findall(r'\((?:RPATH|RUNPATH)\)\s+Library (?:rpath|runpath): \[(.*)\]', text)


def is_allowed(entry, option):
    from_origin = re.match(r'\$ORIGIN(/|$)', entry) is not None
    return option != '--none' and (from_origin or option != '--only-origin' and entry.startswith('/'))


def main():
    arguments = sys.argv[1:]
    option = arguments.pop(0) if arguments[0].startswith('--') else ''
    folder, *names = arguments
    found = sorted(binaries(folder))
    problems = [f'not there: {name}' for name in names
                if os.path.realpath(os.path.join(folder, name)) not in map(os.path.realpath, found)]
    for file in found:
        problems += [f'{file} looks for libraries in "{entry}"'
                     for path in run_paths(file) for entry in path.split(':') if not is_allowed(entry, option)]
    print('\n'.join(problems) if problems else f'{len(found)} binaries, no unsafe run path')
    return 1 if problems else 0


sys.exit(main())
