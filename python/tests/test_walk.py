"""A random walk over everything, by several threads, beside a literal model in NumPy.

DATASTORAGE_STEPS sets its length; a million takes some minutes.
"""

import os
import pickle
import random
import threading

import numpy as np

import datastorage as ds

STEPS = int(os.environ.get("DATASTORAGE_STEPS", 6000))
THREADS = 3
LENGTH = 3000  # elements of a datum: more than one page


class Walk:
    """Arrays and their models, the views that were taken of them, and a series that is written and read."""

    def __init__(self, seed, series, reader):
        self.random = random.Random(seed)
        self.series, self.reader = series, reader
        self.arrays = []  # array, model, offset
        self.views = []  # view, what it must hold

    def step(self):
        actions = [
            self.make,
            self.view,
            self.view,
            self.write,
            self.write,
            self.convert,
            self.select,
            self.delete,
            self.edit,
        ]
        actions += [
            self.pickle,
            self.merge,
            self.read,
            self.read,
            self.append,
            self.refresh,
            self.drop_view,
            self.share,
        ]
        self.random.choice(actions)()

    def pick(self):
        if not self.arrays:
            self.make()
        return self.random.randrange(len(self.arrays))

    def keep(self, array, model, offset):
        self.arrays.append((array, model, offset))
        if len(self.arrays) > 12:
            self.delete()

    def make(self):
        dtype = self.random.choice(["u1", "i2", "u4", "f4", "f8", "c16"])
        model = np.arange(self.random.choice([1, 10, LENGTH])).astype(dtype)
        self.keep(ds.Array(model, offset=0.5), model, 0.5)

    def view(self):
        array, model, _ = self.arrays[self.pick()]
        view = array.numpy() if self.random.random() < 0.8 else np.asarray(array)[::2]
        expected = model.copy() if len(view) == len(model) else model[::2].copy()
        self.views.append((view, expected))
        if len(self.views) > 12:
            self.drop_view()

    def drop_view(self):
        if self.views:
            view, expected = self.views.pop(self.random.randrange(len(self.views)))
            assert view.dtype == expected.dtype and (view == expected).all()

    def write(self):
        k = self.pick()
        array, model, offset = self.arrays[k]
        i, value = self.random.randrange(len(model)), self.random.choice([0, 1, -7, 300, 0.5])
        by_place = self.random.random() < 0.5
        array.set(value, offset + i) if by_place else array.__setitem__(i, value)
        model = model.astype(array.dtype)
        model[i] = value
        self.arrays[k] = array, model, offset
        assert array[i] == value

    def convert(self):
        array, model, offset = self.arrays[self.pick()]
        if model.dtype.kind != "c" and abs(model).max() < 2**24:
            target = self.random.choice(["f4", "f8", "c8"])
            self.keep(array.convert(target), model.astype(target), offset)

    def select(self):
        array, model, offset = self.arrays[self.pick()]
        first = self.random.randrange(len(model))
        last = self.random.randrange(first, len(model)) + 1
        self.keep(
            array.select(offset + first, offset + last, cells="inner"),
            model[first:last].copy(),
            offset + first,
        )

    def delete(self):
        if self.arrays:
            array, model, _ = self.arrays.pop(self.random.randrange(len(self.arrays)))
            assert array.dtype == model.dtype and (array.numpy() == model).all()

    def share(self):
        array, model, offset = self.arrays[self.pick()]
        self.keep(
            array.moved(1.0) if self.random.random() < 0.5 else array.moved(1.0).copy(),
            model.copy(),
            offset + 1.0,
        )

    def edit(self):
        k = self.pick()
        array, model, offset = self.arrays[k]
        with array.edit() as view:
            view[::3] = 5
            leftover = view[1:] if self.random.random() < 0.3 else None
            try:
                array.convert("f8")
                raise AssertionError("elements were shared while they were edited")
            except BufferError:
                pass
        model[::3] = 5
        if leftover is not None:
            leftover[:] = 77  # reaches nobody
            self.views.append((leftover, leftover.copy()))

    def merge(self):
        k = self.pick()
        array, model, offset = self.arrays[k]
        array.merge(ds.Array(model[:1], offset=offset + len(model)))
        model = np.append(model, model[:1])
        self.arrays[k] = array, model, offset

    def pickle(self):
        array, model, offset = self.arrays[self.pick()]
        self.keep(pickle.loads(pickle.dumps(array)), model.copy(), offset)

    def append(self):
        if len(self.series) < self.series.shape[0]:
            i = self.series.append(self.datum(self.random.randrange(1000)))
            assert i < len(self.series)

    @staticmethod
    def datum(k):
        return np.arange(k, k + LENGTH, dtype="i4")

    def read(self):
        source = self.random.choice([self.series, self.reader, pickle.loads(pickle.dumps(self.reader))])
        if n := len(source):
            i = self.random.randrange(n)
            if self.random.random() < 0.3:
                values = source.values(slice(max(0, i - 20), i + 1))
                assert (np.diff(values, axis=1) == 1).all()
            else:
                datum = source[i].numpy()
                assert (datum == self.datum(datum[0])).all()

    def refresh(self):
        before = len(self.reader)
        assert self.reader.refresh() >= before and len(self.reader.tags) >= before


def test_random_walk():
    series = ds.create("walk.dseries", [ds.Dim("x", "", 2000)])
    reader = ds.open("walk.dseries")
    failures = []

    def walk(seed):
        steps = Walk(seed, series, reader)
        try:
            for _ in range(STEPS // THREADS):
                steps.step()
            while steps.arrays:
                steps.delete()
            while steps.views:
                steps.drop_view()
        except BaseException as error:
            failures.append(error)
            raise

    threads = [threading.Thread(target=walk, args=(seed,)) for seed in range(THREADS)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures
    assert reader.refresh() == len(series) and ds.check("walk.dseries").whole == len(series)
