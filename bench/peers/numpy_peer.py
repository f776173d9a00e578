#!/usr/bin/env python3
"""The same work by NumPy, with the names and the result format of the benchmark program.

usage: numpy_peer.py [--benchmark_filter=REGEX] [--benchmark_min_time=S] [--benchmark_repetitions=N] >RESULTS.json"""

import io
import json
import re
import sys
import time

import numpy as np

SIZES = {'1K': 1 << 10, '32K': 1 << 15, '16M': 1 << 24}
TYPES = {'ubin8': np.uint8, 'ubin16': np.uint16, 'ubin32': np.uint32, 'sbin8': np.int8, 'sbin16': np.int16,
         'sbin32': np.int32, 'float32': np.float32, 'float64': np.float64, 'complex64': np.complex64,
         'complex128': np.complex128}
CONVERSIONS = '''
    ubin8_to_ubin16 ubin16_to_ubin8 sbin32_to_sbin16 ubin16_to_float32 ubin16_to_float64 ubin32_to_float32
    ubin32_to_float64 sbin32_to_float32 float32_to_float64 float64_to_float32 float32_to_ubin8 float32_to_sbin16
    float32_to_sbin32 float32_to_ubin32 float64_to_ubin8 float64_to_sbin16 float64_to_sbin32 float64_to_ubin32
    sbin16_to_complex64 float32_to_complex64 float64_to_complex128 complex128_to_complex64 complex64_to_float32
    complex128_to_float64 complex64_to_float32_magnitude complex128_to_float64_magnitude
    complex128_to_sbin16_magnitude complex64_to_float32_phase complex128_to_float64_phase'''.split()
NEW_ARRAYS = '''
    ubin16_to_float32 float32_to_float64 float64_to_float32 float64_to_sbin16 complex128_to_float64_magnitude'''.split()


def converter(name):
    """Returns the source type, the target type, and a function that converts a source into a target."""
    source, target, part = re.fullmatch(r'(\w+?)_to_([a-z]+\d+)_?(\w*)', name).groups()
    source, target = TYPES[source], TYPES[target]

    def real(values):
        if part == 'magnitude':
            return np.abs(values)
        if part == 'phase':
            return np.arctan2(values.imag, values.real)
        return values.real if np.iscomplexobj(values) and not np.issubdtype(target, np.complexfloating) else values

    def convert(values, out):
        if part == 'phase':
            np.arctan2(values.imag, values.real, out=out)
        elif part == 'magnitude' and np.issubdtype(target, np.floating):
            np.abs(values, out=out)
        elif np.issubdtype(target, np.integer) and not np.issubdtype(source, np.integer):
            limits = np.iinfo(target)
            rounded = np.rint(real(values))
            np.clip(rounded, limits.min, limits.max, out=rounded)
            np.copyto(out, rounded, casting='unsafe')
        else:
            np.copyto(out, real(values), casting='unsafe')

    return source, target, convert


def conversion_source(dtype, n):
    i = np.arange(n)
    if np.issubdtype(dtype, np.complexfloating):
        return (i % 251 - 100 + 1j * (i % 83 - 40)).astype(dtype)
    return (i % 251 * 0.75).astype(dtype)


def convert(name, n):
    source, target, function = converter(name)
    values, out = conversion_source(source, n), np.zeros(n, target)
    return lambda: function(values, out)


def convert_into_new(name, n):
    source, target, function = converter(name)
    values = conversion_source(source, n)

    def run():
        out = np.empty(n, target)
        function(values, out)
    return run


def selection_1d(n):
    values = np.ones(n + 16)
    return lambda: values[16:].copy()


def store(shape, outer, where, dtype):
    values, out = np.ones(shape, dtype), np.zeros(outer)

    def run():
        out[where] = values
    return run


def selection_2d(edge, inner):
    values = np.ones((edge, edge))
    return lambda: values[inner, inner].copy()


def line(edge, where):
    values = np.ones((edge, edge))
    return lambda: values[where].copy()


def read_text():
    n = 1000000
    i = np.arange(n)
    text = io.StringIO()
    np.savetxt(text, np.column_stack((10.0 + i * 0.25, i % 977 * 1.37 + 0.001 * i)), '%.12g', '\t')

    def run():
        text.seek(0)
        np.loadtxt(text)
    return run


def rescale(dtype, step):
    values = np.zeros((2048, 2048), dtype)

    def run():
        index = (np.arange(int(np.ceil(2048 / step - 1e-6))) * step).astype(np.intp)
        values.take(index, axis=0).take(index, axis=1)
    return run


def benchmarks():
    """Yields pairs of a row and a function that returns the function to be timed."""
    for size, n in SIZES.items():
        for name in CONVERSIONS:
            yield f'A/{name}/{size}', lambda name=name, n=n: convert(name, n)
        for name in NEW_ARRAYS:
            yield f'AN/{name}/{size}', lambda name=name, n=n: convert_into_new(name, n)
        yield f'B/first_write/{size}', lambda n=n: np.ones(n).copy
        yield f'B/selection_1d/{size}', lambda n=n: selection_1d(n)
        yield f'B/store_1d/{size}', lambda n=n: store(n, n, slice(0, n), np.float64)
        yield f'B/widening_store_1d/{size}', lambda n=n: store(n, n, slice(0, n), np.float32)
    for edge in (256, 4096):
        size, inner, n = f'{edge}x{edge}', slice(edge // 8, edge // 8 + edge * 3 // 4), edge * 3 // 4
        yield f'B/selection_2d/{size}', lambda edge=edge, inner=inner: selection_2d(edge, inner)
        for row, dtype in (('store_2d', np.float64), ('widening_store_2d', np.float32)):
            yield (f'B/{row}/{size}', lambda edge=edge, inner=inner, n=n, dtype=dtype:
                   store((n, n), (edge, edge), (inner, inner), dtype))
        yield f'B/row/{size}', lambda edge=edge: line(edge, edge // 2)
        yield f'B/column/{size}', lambda edge=edge: line(edge, (slice(None), edge // 2))
    yield 'F/read/1M', read_text
    for name in ('float64', 'ubin8'):
        for what, step in (('to_half', 2.0), ('to_4_thirds', 0.75), ('to_double', 0.5)):
            yield f'I/rescale_{name}/{what}', lambda name=name, step=step: rescale(TYPES[name], step)


def seconds(function, calls):
    start = time.process_time()
    for _ in range(calls):
        function()
    return time.process_time() - start


def main(arguments):
    options = dict(argument.lstrip('-').split('=', 1) for argument in arguments if '=' in argument)
    wanted = re.compile(options.get('benchmark_filter', ''))
    min_time = float(options.get('benchmark_min_time', 0.1).removesuffix('s'))
    runs = []
    for row, make in benchmarks():
        if not wanted.search(row + '/numpy'):
            continue
        function, calls = make(), 1
        function()
        while seconds(function, calls) < min_time / 4:
            calls *= 2
        for _ in range(int(options.get('benchmark_repetitions', 1))):
            runs.append({'name': row + '/numpy', 'run_type': 'iteration', 'time_unit': 'ns',
                         'cpu_time': seconds(function, calls) / calls * 1e9})
    json.dump({'benchmarks': runs}, sys.stdout, indent=1)


main(sys.argv[1:])
