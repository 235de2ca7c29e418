#!/usr/bin/env python3
"""Compares what a built library exports with the list of the tree: nothing may be missing, and nothing more.
For a DLL also which others it needs.

    compare_exports.py LIST NAME LIBRARY BINUTILS-PREFIX [--all-tables]

NAME is the library's in the list, before the names of its parts. With --all-tables the build keeps the tables of
classes that stand in headers whole, as a DLL does."""
import re
import subprocess
import sys

# What a 64-bit type is called differs from system to system; the list has the names of <stdint.h>.
TYPES = {
    'elf64': {'uint64_t': 'unsigned long', 'int64_t': 'long', 'size_t': 'unsigned long'},
    'elf32': {'uint64_t': 'unsigned long long', 'int64_t': 'long long', 'size_t': 'unsigned int'},
    'pe64': {'uint64_t': 'unsigned long long', 'int64_t': 'long long', 'size_t': 'unsigned long long'},
    'pe32': {'uint64_t': 'unsigned long long', 'int64_t': 'long long', 'size_t': 'unsigned int'},
}


def read_list(path):
    """The lines of each part of the list."""
    parts = {}
    part = None
    for line in open(path, encoding='utf-8'):
        line = line.rstrip('\n')
        if not line or line.startswith('#'):
            continue
        if line.startswith('['):
            part = parts.setdefault(line[1:-1], [])
        else:
            part.append(line)
    return parts


def run(*command, text=None):
    return subprocess.run(command, input=text, check=True, capture_output=True, text=True).stdout


def kind_of(library):
    with open(library, 'rb') as file:
        start = file.read(0x400)
    if start[:4] == b'\x7fELF':
        return 'elf64' if start[4] == 2 else 'elf32'
    header = int.from_bytes(start[0x3c:0x40], 'little')
    return 'pe64' if start[header + 4:header + 6] == b'\x64\x86' else 'pe32'


def exported(library, kind, prefix):
    """The names in the library's export table."""
    if kind.startswith('elf'):
        lines = run(prefix + 'nm', '-D', '--defined-only', library).splitlines()
        # The version is a symbol of its own.
        return {line.split()[-1].split('@')[0] for line in lines if line.split()[1] != 'A'}
    text = run(prefix + 'objdump', '-p', library)
    table = text[text.index('[Ordinal/Name Pointer] Table'):].split('\n\n')[0]
    return set(re.findall(r'^\s+\[\s*\d+\] (\S+)$', table, re.MULTILINE))


def demangled(names):
    # Names of types come along with their types on ELF alone.
    text = run('c++filt', text='\n'.join(sorted(names)))
    return {line for line in text.splitlines() if not line.startswith('typeinfo name for ')}


def imported(library, prefix):
    return set(re.findall(r'DLL Name: (\S+)', run(prefix + 'objdump', '-p', library)))


def differences(what, expected, found):
    return [f'{what} is missing: {name}' for name in sorted(expected - found)] + \
           [f'{what} is not in the list: {name}' for name in sorted(found - expected)]


def main():
    path, owner, library, prefix, *options = sys.argv[1:]
    kind = kind_of(library)
    parts = read_list(path)
    is_dll = kind.startswith('pe')
    lines = parts[f'{owner} functions'] + parts.get(f'{owner} classes', []) + \
        (parts.get(f'{owner} tables of headers', []) if is_dll or '--all-tables' in options else [])
    expected = {re.sub('|'.join(rf'\b{name}\b' for name in TYPES[kind]), lambda m: TYPES[kind][m.group()], line)
                for line in lines}
    problems = differences('an export', expected, demangled(exported(library, kind, prefix)))
    if is_dll:
        problems += differences('a needed DLL', set(parts[f'{owner} needs']), imported(library, prefix))
    print('\n'.join(problems) if problems else f'{len(expected)} exports of {kind}, all in the list')
    return 1 if problems else 0


sys.exit(main())
