#!/usr/bin/env python3
"""Prints a benchmark run as a Markdown table: medians, and for each path its ratio to the plain copy of the
same bytes in the same run, beside what is asked of it."""
import json
import sys

# A path, and what it is compared with.
PARTNERS = {
    'Assemble': ['CopyPayloads'],
    'Turn': ['CopyFrame'],
    'PacketsToApplication': ['CopyOfTheFrame', 'CopyOfThePayloads'],
    'Gains8': ['CopyRgb24'],
    'AnyTables8': ['CopyRgb24'],
    'Gains16': ['CopyRgb48'],
    'AnyTables16': ['CopyRgb48'],
    'Pack3To8': ['CopyRgb24'],
    'EnlargeNearest8': ['CopyPlane'],
    'EnlargeLinear8': ['CopyPlane'],
    'EnlargeCubic8': ['CopyPlane'],
}

# The image primitives: how many times the copy's time they may take, where something is asked.
TIMES_THE_COPY = {'Gains8': 3.1, 'Gains16': 2.0, 'Pack3To8': 1.05}


def asked(name):
    first = name.partition('/')[0]
    if first in TIMES_THE_COPY:
        return 1 / TIMES_THE_COPY[first]
    if first.startswith(('AnyTables', 'Enlarge')):
        return None
    if name.startswith('Assemble/format:0'):
        return 0.8
    if name.startswith('Assemble'):
        return 0.9
    if name.startswith('Turn'):
        return 1 / 0.6
    return 0.35


def main():
    runs = json.load(open(sys.argv[1], encoding='utf-8'))['benchmarks']
    medians = {r['run_name']: r for r in runs if r.get('aggregate_name') == 'median'}
    print('| Benchmark | Median | Throughput against the copy | Asked for |')
    print('|---|---|---|---|')
    for name, run in medians.items():
        first, _, rest = name.partition('/')
        time = f"{run['real_time']:.3g} {run['time_unit']}"
        if first in PARTNERS:
            for partner in PARTNERS[first]:
                copy = medians[partner + ('/' + rest if rest else '')]
                ratio = copy['real_time'] / run['real_time']
                wanted = f'{asked(name):.2f}' if asked(name) else ''
                print(f'| {name} | {time} | {ratio:.2f} ({partner}) | {wanted} |')
        elif name.startswith('sensor'):
            print(f"| {name} | {run['items_per_second'] / 1e6:.0f} Mpixel/s | | 60 Mpixel/s |")
        elif first in ('GetParam', 'SetParam'):
            print(f'| {name} | {time} | | under 150 ns |')
        elif name.startswith('ListTenCameras'):
            print(f"| {name} | {run['cpu_time']:.3g} {run['time_unit']} of the processor | | under 200 ms |")
        elif name.startswith('ListOpenClose'):
            print(f'| {name} | {time} | | under 20 ms |')
    return 0


sys.exit(main())
