#!/usr/bin/env python3
"""Checks what a DLL or a program for Windows says of itself: that it needs no older Windows than its imports do, and
its version resource.

    check_windows_file.py SHEET VERSION FILE BINUTILS-PREFIX

SHEET says which Windows was the first to have each imported function. A function that is not in it is a failure: look its
first version up and add it."""
import os
import re
import subprocess
import sys


def read_sheet(path):
    """The version that the files must state, and the first version of every function, by the name of its DLL."""
    oldest, version, first = None, None, {}
    for line in open(path, encoding='utf-8'):
        line = line.split('#')[0].strip()
        if line.startswith('oldest '):
            oldest = as_version(line.split()[1])
        elif line.startswith('['):
            version = as_version(line.strip('[]'))
        elif line:
            library, *names = line.split()
            first.update({(library.lower(), name): version for name in names})
    return oldest, first


def as_version(text):
    return tuple(int(part) for part in text.split('.'))


def header_version(text, name):
    return tuple(int(re.search(rf'^{part}{name}Version\s+(\d+)', text, re.MULTILINE).group(1))
                 for part in ('Major', 'Minor'))


def imports(text):
    library = None
    for line in text.splitlines():
        if found := re.match(r'\s*DLL Name: (\S+)', line):
            library = found.group(1)
        elif library and (found := re.match(r'\s+[0-9a-f]+\s+\d+\s+(\S+)$', line)):
            yield library.lower(), found.group(1)


def resource_problems(file, version):
    contents = open(file, 'rb').read()
    place = contents.find(b'\xbd\x04\xef\xfe')
    if place < 0:
        return ['no version resource']
    words = [int.from_bytes(contents[place + 8 + 2 * i:place + 10 + 2 * i], 'little') for i in range(8)]
    expected = list(as_version(version)) + [0]
    problems = [f'version {numbers} in the resource' for numbers in
                ([words[1], words[0], words[3], words[2]], [words[5], words[4], words[7], words[6]])
                if numbers != expected]
    return problems + [f'the resource lacks "{text}"' for text in
                       (version, 'The Zerix authors', 'MIT licence', os.path.basename(file))
                       if text.encode('utf-16-le') not in contents[place:]]


def main():
    sheet, version, file, prefix = sys.argv[1:]
    text = subprocess.run((prefix + 'objdump', '-p', file), check=True, capture_output=True, text=True).stdout
    oldest, first = read_sheet(sheet)
    needed = sorted(set(imports(text)))
    problems = [f'{library} {name} is not in the sheet' for library, name in needed if (library, name) not in first]
    problems += [f'{library} {name} needs Windows {first[library, name]}' for library, name in needed
                 if first.get((library, name), oldest) > oldest]
    problems += [f'{name}Version is {found}' for name in ('Subsystem', 'OSystem')
                 if (found := header_version(text, name)) != oldest]
    problems += resource_problems(file, version)
    print('\n'.join(problems) if problems else f'{len(needed)} functions of Windows {oldest} or older')
    return 1 if problems or not needed else 0


sys.exit(main())
