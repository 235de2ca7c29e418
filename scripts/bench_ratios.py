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
    'BayerNearestRgb24': ['CopyOfRgb24'],
    'BayerNearestBgr24': ['CopyOfRgb24'],
    'BayerNearestRgb48': ['CopyOfRgb48'],
    'BayerLinearRgb24': ['CopyOfRgb24'],
    'BayerLinearBgrx32': ['CopyOfBgrx32'],
    'BayerLinearRgb48': ['CopyOfRgb48'],
    'BayerCubicRgb24': ['CopyOfRgb24'],
    'BayerCubicRgb48': ['CopyOfRgb48'],
    'RecordTiff': ['DdToTheDisk'],
    'RecordOmeTiff': ['DdToTheDisk'],
    'RecordFits': ['DdToTheDisk'],
    'RecordSer': ['DdToTheDisk'],
    'RecordRaw': ['DdToTheDisk'],
}

# How many times the copy's time a colour image may take.
BAYER_TIMES = {
    'BayerNearestRgb24': 0.8, 'BayerNearestBgr24': 0.8, 'BayerNearestRgb48': 0.8,
    'BayerLinearRgb24': 1.9, 'BayerLinearBgrx32': 1.3, 'BayerLinearRgb48': 1.6,
    'BayerCubicRgb24': 4.0, 'BayerCubicRgb48': 2.8,
}

# The image primitives tell themselves how many times the copy's time they take; what they may take.
TIMES_THE_COPY = {'Gains8': 3.1, 'Gains16': 2.0, 'Pack3To8': 1.05}

# The colour paths beside other libraries: how many times the copy's time each may take, and how many times
# as fast as each peer it is to be.
MOST_COPIES = {
    'NearestRgb24': 0.8, 'NearestRgb48': 0.8, 'LinearRgb24': 1.9, 'LinearBgrx32': 1.3, 'LinearRgb48': 1.6,
    'CubicRgb24': 4.0, 'CubicRgb48': 2.8, 'Gains8': 3.1, 'Gains16': 2.0, 'ThreePlanes': 1.05,
}
LEAST_SPEED = {
    'NearestRgb24/OpenCvPieces': 5, 'NearestRgb48/OpenCvPieces': 4.5, 'LinearRgb24/OpenCvPieces': 2.7,
    'LinearRgb24/OpenCvDemosaic': 1, 'LinearBgrx32/OpenCvPieces': 2.7, 'LinearRgb48/OpenCvPieces': 3,
    'CubicRgb24/OpenCvPieces': 4, 'CubicRgb24/SwscalePlanes': 1.3, 'CubicRgb48/OpenCvPieces': 2.4,
    'CubicRgb48/SwscalePlanes': 2.4, 'Gains8/OpenCvLut': 2.5, 'Gains16/OpenCvMultiply': 2,
    'ThreePlanes/OpenCvMerge': 1,
}

# What an application's calls may take; the last one less one copy of the frame.
INTERFACE = {
    'GetParam': 'under 150 ns', 'SetParam': 'under 150 ns', 'SendWithoutCommit': 'under 20 us',
    'SendWithItsCommit': 'under 20 us', 'QueueAFrame': 'under 1 us', 'LastPacketToCallback': 'under 200 us',
}


# What the same camera takes on the virtual bus itself.
def print_linux(medians):
    print('| Benchmark | Virtual bus | Linux | Times |')
    print('|---|---|---|---|')
    for first, unit in (('PacketsToFrames', 'us'), ('UnplugToTheCallback', 'ms')):
        virtual, linux = (next(r for name, r in medians.items() if name.startswith(f'{first}/{bus}'))
                          for bus in ('VirtualBus', 'Linux'))
        times = linux['real_time'] / virtual['real_time']
        print(f"| {first} | {virtual['real_time']:.3g} {unit} | {linux['real_time']:.3g} {unit} | {times:.2f} |")
        for counter in ('driver_cpu', 'process_cpu', 'MB_per_s', 'bad_frames'):
            if counter in virtual:
                print(f'| {first}, {counter} | {virtual[counter]:.3g} | {linux[counter]:.3g} | |')
    print(f"| CopyOfTheFrame | {medians['CopyOfTheFrame']['real_time']:.3g} us | | |")


def size_of(name):
    return ' x '.join(part.partition(':')[2] for part in name.split('/') if part.startswith(('width:', 'height:')))


def print_peers(medians):
    """One line a path and size. Times of the processor: what else the machine does isn't counted."""
    print('| Path | Size | Times of the copy (at most) | Times as fast as (at least) |')
    print('|---|---|---|---|')
    for name, run in medians.items():
        path, who, rest = name.split('/', 2)
        if who != 'Zerix':
            continue
        copies = run['cpu_time'] / medians[f'{path}/Copy/{rest}']['cpu_time']
        peers = []
        for other, theirs in medians.items():
            first, peer, same = other.split('/', 2)
            if first == path and same == rest and peer not in ('Zerix', 'Copy'):
                least = LEAST_SPEED.get(f'{path}/{peer}')
                wanted = f' ({least})' if least else ''
                peers.append(f"{peer} {theirs['cpu_time'] / run['cpu_time']:.2f}{wanted}")
        print(f"| {path} | {size_of(rest)} | {copies:.2f} ({MOST_COPIES[path]}) | {', '.join(peers)} |")


def asked(name):
    if name.partition('/')[0] in BAYER_TIMES:
        return 1 / BAYER_TIMES[name.partition('/')[0]]
    if name.startswith(('Assemble/format:0', 'Record')):
        return 0.8
    if name.startswith('Assemble'):
        return 0.9
    if name.startswith('Turn'):
        return 1 / 0.6
    return 0.35


def main():
    runs = json.load(open(sys.argv[1], encoding='utf-8'))['benchmarks']
    medians = {r['run_name']: r for r in runs if r.get('aggregate_name') == 'median'}
    if any('/Zerix/' in name for name in medians):
        return print_peers(medians)
    if any(name.startswith('PacketsToFrames/Linux') for name in medians):
        return print_linux(medians)
    print('| Benchmark | Median | Throughput against the copy | Asked for |')
    print('|---|---|---|---|')
    for name, run in medians.items():
        first, _, rest = name.partition('/')
        time = f"{run['real_time']:.3g} {run['time_unit']}"
        if first in PARTNERS:
            for partner in PARTNERS[first]:
                copy = medians[partner + ('/' + rest if rest else '')]
                ratio = copy['real_time'] / run['real_time']
                print(f'| {name} | {time} | {ratio:.2f} ({partner}) | {asked(name):.2f} |')
        elif 'times_the_copy' in run:
            most = TIMES_THE_COPY.get(first)
            wanted = f'{1 / most:.2f}' if most else ''
            print(f"| {name} | {time} | {1 / run['times_the_copy']:.2f} (copy of the output) | {wanted} |")
        elif name.startswith('sensor'):
            print(f"| {name} | {run['items_per_second'] / 1e6:.0f} Mpixel/s | | 60 Mpixel/s |")
        elif name.startswith('ListTenCameras'):
            print(f"| {name} | {run['cpu_time']:.3g} {run['time_unit']} of the processor | | under 200 ms |")
        elif first in INTERFACE:
            figure = f"{run['less_copy_us']:.0f} us" if 'less_copy_us' in run else time
            print(f'| {name} | {figure} | | {INTERFACE[first]} |')
        elif name.startswith('Receive'):
            print(f"| {name} | {run['of_a_core'] * 100:.2f} % of a core for 8,000 packets/s | | |")
        elif name.startswith('ListOpenClose'):
            print(f'| {name} | {time} | | under 20 ms |')
    return None


sys.exit(main())
