#!/usr/bin/env python3
"""Prints the ratios of a benchmark run as a Markdown table: every benchmark whose label is "vs NAME" is
compared with the benchmark of that name in the same run; those with items_per_second show that."""
import json
import sys


def main():
    runs = json.load(open(sys.argv[1], encoding='utf-8'))['benchmarks']
    medians = {r['run_name']: r for r in runs if r.get('aggregate_name', 'median') == 'median'}
    print('| Benchmark | Time | Against | Ratio of times | Throughput ratio |')
    print('|---|---|---|---|---|')
    for name, run in medians.items():
        label = run.get('label', '')
        time = f"{run['real_time']:.0f} {run['time_unit']}"
        if label.startswith('vs ') and label[3:] in medians:
            base = medians[label[3:]]
            ratio = run['real_time'] / base['real_time']
            print(f'| {name} | {time} | {label[3:]} | {ratio:.2f} | {1 / ratio:.2f} |')
        elif 'items_per_second' in run:
            print(f"| {name} | {time} | | | {run['items_per_second'] / 1e6:.1f} M/s |")
    return 0


sys.exit(main())
