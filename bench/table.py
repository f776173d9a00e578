#!/usr/bin/env python3
"""Makes a table of benchmark results: our time, the limit, the best peer, and whether the targets are met.
Reads files in the JSON format of Google Benchmark; the fastest repetition of each benchmark counts, in
processor time, which other programs disturb least, or in the time that passed where the name says so.

usage: table.py [--record PAGE] RESULTS.json...

With --record the table replaces the one between the two marks in the page."""

import fnmatch
import json
import pathlib
import re
import sys

TO_NANOSECONDS = {'ns': 1, 'us': 1e3, 'ms': 1e6, 's': 1e9}
TOLERANCE = 1.02  # repetitions can differ by 2 %
MARKS = ('<!-- table begins -->\n', '<!-- table ends -->\n')


def read_targets():
    """Yields (row pattern, compared with, must, strive); the last two are None where there is no target."""
    for line in pathlib.Path(__file__).with_name('targets.txt').read_text().splitlines():
        if line and not line.startswith('#'):
            pattern, compared_with, *ratios = line.split()
            yield (pattern, compared_with, *(None if ratio == '-' else float(ratio) for ratio in ratios))


def read_rows(paths):
    """Returns {row: {who: fastest run}}; a run is its JSON object, with 'time' in nanoseconds added."""
    rows = {}
    for path in paths:
        for run in json.loads(pathlib.Path(path).read_text())['benchmarks']:
            if run.get('run_type') != 'iteration' or run.get('error_occurred'):
                continue
            name, passed = run['name'].removesuffix('/real_time'), run['name'].endswith('/real_time')
            row, who = name.rsplit('/', 1)
            run['time'] = run['real_time' if passed else 'cpu_time'] * TO_NANOSECONDS[run['time_unit']]
            best = rows.setdefault(row, {}).setdefault(who, run)
            if run['time'] < best['time']:
                rows[row][who] = run
    return rows


def in_order(row):
    """Returns a sort key: by kind of work, by name and by size."""
    work, size = row.rsplit('/', 1)
    number, unit = re.match(r'(\d*)([KM]?)', size).groups()
    return work.split('/')[0], work, int(number or 0) * {'': 1, 'K': 1 << 10, 'M': 1 << 20}[unit], size


def significant(number):
    """Formats a number with three significant digits."""
    return f'{number:.0f}' if number >= 100 else f'{number:.3g}'


def time_text(nanoseconds):
    for unit in ('s', 'ms', 'us'):
        if nanoseconds >= TO_NANOSECONDS[unit]:
            return f'{significant(nanoseconds / TO_NANOSECONDS[unit])} {unit}'
    return f'{significant(nanoseconds)} ns'


def rate_text(run):
    for key, unit in (('bytes_per_second', 'B/s'), ('items_per_second', '/s')):
        if key in run:
            rate = run[key]
            for prefix, factor in (('G', 1e9), ('M', 1e6), ('k', 1e3), ('', 1)):
                if rate >= factor:
                    return f'{significant(rate / factor)} {prefix}{unit}'
    return ''


def compare(ours, others, best, compared_with):
    """Returns our time in the unit of a target, or None when there is no time to compare with."""
    if compared_with == 'ns':
        return ours
    if compared_with == 'ns_over_best':
        return ours - others[best] if best else None
    other = others.get(best if compared_with == 'best' else compared_with)
    return ours / other if other else None


def verdicts(row, ours, others, best, targets):
    """Returns two cells: whether a row meets the targets that must be met, and those to strive for."""
    result = []
    for which in (2, 3):
        judged, misses, met = set(), [], False
        for target in targets:
            pattern, compared_with = target[:2]
            if compared_with in judged or not fnmatch.fnmatchcase(row, pattern):
                continue
            judged.add(compared_with)
            value = compare(ours, others, best, compared_with)
            if target[which] is None or value is None:
                continue
            met = True
            if value > target[which] * TOLERANCE:
                misses.append(f'{significant(value)} > {target[which]:.3g} {compared_with}')
        result.append('**' + ', '.join(misses) + '**' if misses else 'yes' if met else '')
    return result


def make_table(rows):
    targets = list(read_targets())
    lines = [['work', 'size', 'ours', 'rate', 'limit', 'best peer', 'ours/limit', 'ours/peer', 'must', 'strive']]
    for row, runs in sorted(rows.items(), key=lambda item: in_order(item[0])):
        if 'ours' not in runs:
            continue
        ours = runs['ours']['time']
        others = {who: run['time'] for who, run in runs.items() if who != 'ours'}
        best = min((who for who in others if who != 'limit'), key=others.get, default=None)
        work, size = row.rsplit('/', 1)
        lines.append([
            work.replace('/', ' ', 1).replace('_', ' '), size, time_text(ours), rate_text(runs['ours']),
            time_text(others['limit']) if 'limit' in others else '',
            f'{time_text(others[best])} {best}' if best else '',
            significant(ours / others['limit']) if 'limit' in others else '',
            significant(ours / others[best]) if best else '',
            *verdicts(row, ours, others, best, targets)])
    lines.insert(1, ['---' if i in (0, 1, 5, 8, 9) else '--:' for i in range(len(lines[0]))])
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    return ''.join('| ' + ' | '.join(cell.ljust(width) for cell, width in zip(line, widths)) + ' |\n'
                   for line in lines)


def processor():
    try:
        for line in pathlib.Path('/proc/cpuinfo').read_text().splitlines():
            if line.startswith('model name'):
                return line.split(':', 1)[1].strip()
    except OSError:
        pass
    return 'an unknown processor'


def main(arguments):
    page = None
    if arguments[:1] == ['--record']:
        page = pathlib.Path(arguments[1])
        arguments = arguments[2:]
    table = f'Measured on: {processor()}.\n\n' + make_table(read_rows(arguments))
    if page:
        before, rest = page.read_text().split(MARKS[0])
        after = rest.split(MARKS[1])[1]
        page.write_text(before + MARKS[0] + '\n' + table + '\n' + MARKS[1] + after)
    print(table, end='')


main(sys.argv[1:])
