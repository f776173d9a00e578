#!/usr/bin/env python3
"""Makes tables of how costs grow: of a series with the number of its data (what the library takes for one datum,
and time and peak memory of the command-line tool), and of a list with the number of its positions (for one
position). The fastest of several runs counts.

usage: growth.py [--record PAGE] GROWTH DSERIES

GROWTH is the program built from growth.cpp. With --record the tables replace those between the two
marks in the page."""

import json
import os
import pathlib
import subprocess
import sys
import tempfile

NUMBERS = (1000, 10_000, 100_000, 1_000_000)
STEPS = ('append', 'open', 'first search', 'later search', 'read')
POINTS = (10, 100, 1000, 10_000, 100_000)
LIST_STEPS = ('add at tail', 'add at head', 'move each', 'move all, heard')
COMMANDS = ('list', 'list --json', 'info', 'find', 'verify')
RUNS = 3
MARKS = ('<!-- growth begins -->\n', '<!-- growth ends -->\n')


def output(*command):
    return json.loads(subprocess.run(command, check=True, capture_output=True).stdout)


def time_text(nanoseconds):
    for unit, factor in (('s', 1e9), ('ms', 1e6), ('us', 1e3), ('ns', 1)):
        if nanoseconds >= factor:
            return f'{nanoseconds / factor:.3g} {unit}'
    return f'{nanoseconds:.3g} ns'


def arguments_of(command, path, number):
    name, *options = command.split()
    return [name, path, *options, *(['--at', f'{number - 1},0'] if name == 'find' else [])]


def row(program, tool, number, path):
    runs = [output(program, path, str(number)) for _ in range(RUNS)]
    cells = [f'{number:,}']
    cells += [time_text(min(run[step] for run in runs)) for step in STEPS]
    for command in COMMANDS:
        taken = [output(program, 'run', tool, *arguments_of(command, path, number)) for _ in range(RUNS)]
        cells.append(f'{time_text(1e9 * min(run["seconds"] for run in taken))}, '
                     f'{max(run["mebibytes"] for run in taken):.0f} MiB')
    return cells


def list_row(program, points):
    runs = [output(program, 'list', str(points)) for _ in range(RUNS)]
    return [f'{points:,}', *(time_text(min(run[step] for run in runs)) for step in LIST_STEPS)]


def table_text(lines):
    lines.insert(1, ['--:'] * len(lines[0]))
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    return ''.join('| ' + ' | '.join(cell.rjust(width) for cell, width in zip(line, widths)) + ' |\n'
                   for line in lines)


def main(arguments):
    page = None
    if arguments[:1] == ['--record']:
        page = pathlib.Path(arguments[1])
        arguments = arguments[2:]
    program, tool = (os.path.abspath(path) for path in arguments)
    lines = [['data', *STEPS, *(f'`{command}`' for command in COMMANDS)]]
    with tempfile.TemporaryDirectory(dir='.') as folder:  # that disk is measured
        for number in NUMBERS:
            lines.append(row(program, tool, number, os.path.join(folder, 'growth.dseries')))
    lists = [['points', *LIST_STEPS], *(list_row(program, points) for points in POINTS)]
    table = table_text(lines) + '\n' + table_text(lists)
    if page:
        before, rest = page.read_text().split(MARKS[0])
        after = rest.split(MARKS[1])[1]
        page.write_text(before + MARKS[0] + '\n' + table + '\n' + MARKS[1] + after)
    print(table, end='')


main(sys.argv[1:])
