#include "array.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <optional>
#include <pybind11/complex.h>
#include <pybind11/stl.h>
#include <string>
#include <tuple>

#include "elements.h"
#include "errors.h"
#include <DataStorage/data/convert.h>
#include <DataStorage/data/rescl2.h>

namespace core {

double X(const Place& place) {
  const double* const x = std::get_if<double>(&place);
  if (x == nullptr) throw py::type_error("in one dimension this is a number");
  return *x;
}
const std::pair<double, double>& XY(const Place& place) {
  const auto* const both = std::get_if<std::pair<double, double>>(&place);
  if (both == nullptr) throw py::type_error("in two dimensions this is a pair (x, y)");
  return *both;
}

namespace {

[[noreturn]] void ThrowOutOfReach(double position) {
  throw py::value_error("the position " + std::string(py::repr(py::float_(position))) +
                        " is not finite, or out of reach of all indices");
}

void RequireFinite(double position) {
  if (!std::isfinite(position)) ThrowOutOfReach(position);
}

}  // namespace

void RequireReachable(const cal_cArrayCal& axis, std::initializer_list<double> positions) {
  for (const double position : positions) {
    RequireFinite(position);
    const double index = (position - axis.Offset()) / axis.Delta() + axis.CalIndex();
    if (!(std::abs(index) < static_cast<double>(detail::LargestCount))) ThrowOutOfReach(position);
  }
}

namespace {

py::object PairOf(double x, double y) { return py::make_tuple(x, y); }

/// Calls one of two functions with the array as the class that it is.
template <class Line, class Plane>
auto Choose(const Array::Value& value, Line line, Plane plane) {
  const auto* const one = std::get_if<Array1D>(&value);
  return one != nullptr ? line(*one) : plane(std::get<Array2D>(value));
}

template <class T>
T OneOf(const std::string& name, const char* what, std::initializer_list<std::pair<const char*, T>> choices) {
  std::string names;
  for (const auto& [known, value] : choices) {
    if (name == known) return value;
    names += (names.empty() ? "" : ", ") + std::string(known);
  }
  throw py::value_error(std::string(what) + " is one of " + names + ", not " + name);
}

rnge_eIndexSelect CellsNamed(const std::string& name) {
  return OneOf<rnge_eIndexSelect>(name, "cells",
                                  {{"inner", rnge_IndexInner},
                                   {"outer", rnge_IndexOuter},
                                   {"nearest", rnge_IndexNearest},
                                   {"innerstart", rnge_IndexInnerStart}});
}
conv_eComplexConversion ComplexNamed(const std::string& name) {
  return OneOf<conv_eComplexConversion>(name, "complex",
                                        {{"real", conv_Real},
                                         {"imaginary", conv_Imaginary},
                                         {"magnitude", conv_Magnitude},
                                         {"phase", conv_Phase}});
}
darr_eInterpolation InterpolationNamed(const std::string& name) {
  return OneOf<darr_eInterpolation>(name, "interpolation",
                                    {{"none", darr_NoInterpolation}, {"linear", darr_LinearInterpolation}});
}

py::tuple CalibrationOf(const Array::Value& value) {
  return Choose(
      value, [](const Array1D& a) { return CalibrationOfAxes(std::array{a.Cal().AxisX()}); },
      [](const Array2D& a) {
        return CalibrationOfAxes(std::array{a.Cal().AxisX(), a.Cal().AxisY()});
      });
}

void SetCalibration(Array& array, const std::tuple<Place, Place, Index>& calibration) {
  Array::Value& value = array.Free();
  if (auto* const line = std::get_if<Array1D>(&value)) {
    line->SetCal(std::apply(LineCal, calibration));
  } else {
    std::get<Array2D>(value).SetCal(std::apply(PlaneCal, calibration));
  }
}

py::tuple RangeOf(const Array::Value& value) {
  return Choose(
      value,
      [](const Array1D& a) {
        return py::make_tuple(a.Cal().PositionX(0), a.Cal().PositionX(a.NumIndices()));
      },
      [](const Array2D& a) {
        const cal_c2DArrayCal& cal = a.Cal();
        return py::make_tuple(PairOf(cal.PositionX(0), cal.PositionY(0)),
                              PairOf(cal.PositionX(a.NumIndicesX()), cal.PositionY(a.NumIndicesY())));
      });
}

py::array PositionsAlong(const cal_cArrayCal& axis, int n) {
  py::array_t<double> positions(n);
  for (int i = 0; i < n; ++i) positions.mutable_at(i) = axis.Position(i);
  return positions;
}

[[noreturn]] void ThrowOutside(const py::object& place, const Array::Value& value) {
  const py::tuple range = RangeOf(value);
  PyErr_SetObject(PyExc_IndexError, py::str("{} is outside the array, which reaches from {} to {}")
                                        .format(place, range[0], range[1])
                                        .ptr());
  throw py::error_already_set();
}

py::object ValueAt(const Array& array, const Place& place, const std::string& interpolation) {
  const darr_eInterpolation kind = InterpolationNamed(interpolation);
  return Choose(
      array.Get(),
      [&](const Array1D& a) {
        const double x = X(place);
        const int i = a.Cal().IndexX(x);
        if (i < 0 || i >= a.NumIndices()) ThrowOutside(py::float_(x), array.Get());
        if (kind == darr_NoInterpolation) return ValueOf(a.Value(i));
        if (!(a.DeltaX() > 0))
          throw py::value_error("linear interpolation needs an axis with a positive delta");
        const double beyond = std::max(x - a.Cal().PositionX(i), 0.0);  // rounding may put it before
        if (beyond < cal_cArrayCal::RoundFactor || i == a.NumIndices() - 1) return ValueOf(a.Value(i));
        const py::object here = ValueOf(a.Value(i)), next = ValueOf(a.Value(i + 1));
        const auto between = [&](auto from, auto to) {
          return py::cast(beyond / a.DeltaX() * (to - from) + from);
        };
        using Complex = std::complex<double>;
        return a.DataType().IsReal() ? between(here.cast<double>(), next.cast<double>())
                                     : between(here.cast<Complex>(), next.cast<Complex>());
      },
      [&](const Array2D& a) {
        const auto [x, y] = XY(place);
        const int i = a.Cal().IndexX(x), j = a.Cal().IndexY(y);
        if (i < 0 || i >= a.NumIndicesX() || j < 0 || j >= a.NumIndicesY()) {
          ThrowOutside(PairOf(x, y), array.Get());
        }
        if (kind != darr_NoInterpolation)
          throw py::value_error("there is no interpolation in two dimensions");
        return ValueOf(a.Value(i, j));
      });
}

using Result = std::unique_ptr<Array>;
Result Wrap(Array::Value value) { return std::make_unique<Array>(std::move(value)); }

/// What an interval selects along an axis. Along one that falls it is the mirror image of what it selects
/// along one that rises. Throws ValueError for positions that are not finite or without an index.
struct Interval {
  Interval(const cal_cArrayCal& given, double a, double b, rnge_eIndexSelect select)
      : sign(given.Delta() < 0 ? -1 : 1), axis(Mirrored(given)), from(sign * a), to(sign * b) {
    RequireReachable(given, {a, b});
    if (std::abs(to - from) / axis.Delta() >= detail::LargestCount) arr_SizeError(detail::LargestCount + 1);
    indices = rnge_c1DIndexRange(rnge_c1DRange(from, to), cal_c1DArrayCal(axis), select);
  }
  int Count() const { return std::max(indices.NumIndicesX(), 0); }
  /// The axis of the selection where that has no elements.
  cal_cArrayCal EmptyAxis() const {
    return Mirrored(cal_cArrayCal(axis.Position(indices.StartIndexX()), axis.Delta(), 0));
  }
  /// The axis that rises for the given one, and the reverse.
  cal_cArrayCal Mirrored(const cal_cArrayCal& other) const {
    return {sign * other.Offset() + 0.0, sign * other.Delta(), other.CalIndex()};  // no negative zero
  }

  double sign;
  cal_cArrayCal axis;
  double from, to;
  rnge_c1DIndexRange indices;
};

Result Select(Array& array, const Place& from, const Place& to, const std::string& cells) {
  const rnge_eIndexSelect select = CellsNamed(cells);
  return Choose(
      array.Free(),
      [&](Array1D a) {
        const Interval x(a.Cal().AxisX(), X(from), X(to), select);
        if (x.Count() == 0) return Wrap(Array1D(0, a.DataType(), cal_c1DArrayCal(x.EmptyAxis())));
        a.SetCal(cal_c1DArrayCal(x.axis));
        a = a.Selection(x.from, x.to, select);
        a.SetCal(cal_c1DArrayCal(x.Mirrored(a.Cal().AxisX())));
        return Wrap(a);
      },
      [&](Array2D a) {
        const auto [x1, y1] = XY(from);
        const auto [x2, y2] = XY(to);
        const Interval x(a.Cal().AxisX(), x1, x2, select), y(a.Cal().AxisY(), y1, y2, select);
        if (x.Count() == 0 || y.Count() == 0) {
          return Wrap(Array2D(x.Count(), y.Count(), a.DataType(), {x.EmptyAxis(), y.EmptyAxis()}));
        }
        a.SetCal({x.axis, y.axis});
        a = a.Selection(x.from, y.from, x.to, y.to, select);
        a.SetCal({x.Mirrored(a.Cal().AxisX()), y.Mirrored(a.Cal().AxisY())});
        return Wrap(a);
      });
}

Result Moved(Array& array, const Place& distance) {
  return Choose(
      array.Free(),
      [&](const Array1D& a) {
        RequireFinite(X(distance));
        return Wrap(Array1D(a.Move(X(distance))));
      },
      [&](const Array2D& a) {
        const auto [x, y] = XY(distance);
        RequireFinite(x);
        RequireFinite(y);
        return Wrap(Array2D(a.Move(x, y)));
      });
}

Result Rescaled(Array& array, const Place& delta, const std::optional<double>& origin) {
  return Choose(
      array.Free(),
      [&](const Array1D& a) {
        if (origin) RequireReachable(cal_cArrayCal(a.Cal().PositionX(0), X(delta), 0), {*origin});
        return Wrap(Array1D(resc_Rescale(a, X(delta), origin.value_or(a.Cal().PositionX(0)))));
      },
      [&](const Array2D& a) {
        if (origin) throw py::type_error("origin is for arrays of one dimension");
        return Wrap(Array2D(resc_Rescale(a, XY(delta).first, XY(delta).second)));
      });
}

Result Converted(Array& array, const py::object& type, const std::string& complex) {
  const dtyp_cDataType target = ElementTypeNamed(type);
  const conv_eComplexConversion conversion = ComplexNamed(complex);
  return std::visit(
      [&]<class A>(const A& a) {
        if (a.NumIndices() > 0) return Wrap(A(conv_Convert(a, target, conversion)));
        if constexpr (std::is_same_v<A, Array1D>)
          return Wrap(A(0, target, a.Cal()));
        else
          return Wrap(A(a.NumIndicesX(), a.NumIndicesY(), target, a.Cal()));
      },
      array.Free());
}

Result Copied(Array& array) { return Wrap(array.Free()); }

py::array Numpy(Array& array, bool copy) {
  const py::array view = ViewOf(array.Free());
  return copy ? py::array(view.attr("copy")()) : view;
}

/// A function that draws.
py::object Display(const char* name) { return py::module_::import("datastorage._display").attr(name); }

py::object Representation(const py::object& self) {
  const Array& array = self.cast<const Array&>();
  const py::tuple range = RangeOf(array.Get()), calibration = CalibrationOf(array.Get());
  return py::str("<datastorage.Array {} {} from {} to {} by {}>")
      .format(self.attr("dtype"), self.attr("shape"), range[0], range[1], calibration[1]);
}

Result Made(const py::object& data, const py::object& type, const Place& offset, const Place& delta,
            const Index& index) {
  return Wrap(ValueFrom(ElementsOf(data, type), offset, delta, index));
}

}  // namespace

void DefineArray(py::module_& module) {
  py::class_<Array> array(module, "Array", R"(Array(data, dtype=None, *, offset=0.0, delta=1.0, index=0)
--

Numbers with physical axes, in one or two dimensions.

Element i is at offset + (i - index) * delta and its cell reaches to the position of the next element. In two
dimensions offset, delta, index and every position are pairs (x, y); x runs along the rows of the NumPy array.
The element types are uint8, uint16, uint32, int8, int16, int32, float32, float64, complex64 and complex128.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9], dtype="ubin16", offset=20.0, delta=0.5)
>>> a
<datastorage.Array uint16 (3,) from 20.0 to 21.5 by 0.5>
>>> a.at(20.5), a.at(20.25, interpolation="linear")
(4, 2.5)

Copies share their elements until one of them changes. Comparisons and arithmetic with numbers and arrays
give arrays of NumPy, element by element; `a += 1` and the like change the elements of `a`, and its type
where that does not hold them.)");

  array.def(py::init(&Made), py::arg("data"), py::arg("dtype") = py::none(), py::kw_only(),
            py::arg("offset") = Place(0.0), py::arg("delta") = Place(1.0), py::arg("index") = Index(0));
  array.def_property_readonly(
      "dtype", [](const Array& a) { return a.Visit([](const auto& v) { return NumpyType(v.DataType()); }); },
      "The NumPy type of the elements.");
  array.def_property_readonly(
      "shape",
      [](const Array& a) {
        return Choose(
            a.Get(), [](const Array1D& v) { return py::make_tuple(v.NumIndices()); },
            [](const Array2D& v) { return py::make_tuple(v.NumIndicesY(), v.NumIndicesX()); });
      },
      "The number of elements along each axis in the order of NumPy: rows (y) first.");
  array.def_property_readonly(
      "size", [](const Array& a) { return a.Visit([](const auto& v) { return v.NumIndices(); }); },
      "The number of elements.");
  array.def_property_readonly(
      "ndim", [](const Array& a) { return a.Visit([](const auto& v) { return v.Dimension(); }); }, "1 or 2.");
  array.def_property(
      "calibration", [](const Array& a) { return CalibrationOf(a.Get()); }, &SetCalibration,
      R"((offset, delta, index) of the axis; in two dimensions three pairs (x, y).

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9], offset=20.0, delta=0.5)
>>> a.calibration
(20.0, 0.5, 0)
>>> a.calibration = (0.0, 2.0, 1)
>>> a.positions
array([-2.,  0.,  2.])
)");
  array.def_property_readonly(
      "range", [](const Array& a) { return RangeOf(a.Get()); },
      "(from, to): the positions of the first element and of the end of the last cell.");
  array.def_property_readonly(
      "positions",
      [](const Array& a) -> py::object {
        return Choose(
            a.Get(),
            [](const Array1D& v) -> py::object { return PositionsAlong(v.Cal().AxisX(), v.NumIndices()); },
            [](const Array2D& v) -> py::object {
              return py::make_tuple(PositionsAlong(v.Cal().AxisX(), v.NumIndicesX()),
                                    PositionsAlong(v.Cal().AxisY(), v.NumIndicesY()));
            });
      },
      "The positions of the elements; in two dimensions those along x and those along y.");
  array.def("__len__", [](const Array& a) {
    return Choose(
        a.Get(), [](const Array1D& v) { return v.NumIndices(); },
        [](const Array2D& v) { return v.NumIndicesY(); });
  });
  array.def("__repr__", &Representation);
  array.def("_repr_html_", [](const py::object& self) { return Display("array_html")(self); });
  array.def(
      "plot",
      [](const py::object& self, const py::kwargs& options) {
        return Display("plot_array")(self, **options);
      },
      R"(plot(self, *, ax=None, labels=None, **options)
--

Draws the array with matplotlib and returns the axes. Curves take the options of matplotlib's plot(),
planes those of pcolormesh(); `labels` are those of a series.)");
  array.def(
      "to_xarray",
      [](const py::object& self, const py::kwargs& options) {
        return py::module_::import("datastorage.xarray_backend").attr("array_to_xarray")(self, **options);
      },
      "to_xarray(self, **options)\n--\n\nThe array as an xarray.DataArray with its positions as "
      "coordinates.");

  array.def("numpy", &Numpy, py::arg("copy") = false, R"(numpy(self, copy=False)
--

The elements as a NumPy array: a read-only view without copying, or an array of its own.

The view is a snapshot: what is written to this array later does not show in it. To change elements in
place use edit(); code that insists on writing gets an array of its own by copy=True.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9])
>>> view = a.numpy()
>>> a[0] = 7
>>> view, a.numpy(copy=True)
(array([1, 4, 9], dtype=int32), array([7, 4, 9], dtype=int32))
)");
  array.def(
      "__array__",
      [](Array& a, const py::object& type, const std::optional<bool>& copy) {
        const py::object view = ViewOf(a.Free());
        py::object elements = type.is_none() ? view : view.attr("astype")(type, py::arg("copy") = false);
        if (copy == true && elements.is(view)) return py::object(view.attr("copy")());
        if (copy == false && !elements.is(view))
          throw py::value_error("elements become those of another type only in a copy");
        return elements;
      },
      py::arg("dtype") = py::none(), py::arg("copy") = py::none());
  array.def(
      "tolist", [](Array& a) { return py::object(ViewOf(a.Free()).attr("tolist")()); },
      "tolist(self)\n--\n\nThe elements as numbers of Python in a list, in two dimensions one for each row.");
  array.def(
      "__getitem__", [](Array& a, const py::object& key) { return py::object(ViewOf(a.Free())[key]); },
      py::arg("key"),
      "__getitem__(self, key, /)\n--\n\nWhat NumPy selects by index, as a number or a read-only view.");
  array.def("at", &ValueAt, py::arg("position"), py::kw_only(), py::arg("interpolation") = "none",
            R"(at(self, position, *, interpolation='none')
--

The value at a position: the element whose cell contains it or, with interpolation="linear", a value on
the straight line to the next element. That is a float, or complex; the last element and those nearer than
1e-6 in units of the axis are given as they are. Raises IndexError outside the array.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9], offset=20.0, delta=0.5)
>>> a.at(20.9), a.at(20.75, interpolation="linear")
(4, 6.5)
)");
  array.def("select", &Select, py::arg("start"), py::arg("end"), py::kw_only(), py::arg("cells") = "outer",
            R"(select(self, start, end, *, cells='outer')
--

The elements between two positions, which they keep; zeros where the interval leaves the array. The cells
at the ends belong to it by one of these rules: "outer" every cell that it touches, at least one, "inner"
those wholly inside, "nearest" those whose centre is inside and not at its ends, "innerstart" inner at the
first index and outer at the last one. Ends are compared with a tolerance of 2e-6 of delta.

An interval that no cell belongs to gives an array without elements. Along an axis that falls (delta < 0)
all this holds as in a mirror. Positions that are not finite, or beyond all indices, are a ValueError.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9, 16], offset=20.0, delta=0.5)
>>> a.select(20.6, 21.2)
<datastorage.Array int32 (2,) from 20.5 to 21.5 by 0.5>
>>> a.select(20.6, 20.9, cells="inner")
<datastorage.Array int32 (0,) from 21.0 to 21.0 by 0.5>
)");
  array.def("convert", &Converted, py::arg("dtype"), py::kw_only(), py::arg("complex") = "real",
            R"(convert(self, dtype, *, complex='real')
--

A copy with elements of another type. Floats that become integers take the nearest value, ties to even,
within the limits of the type; not-a-number becomes 0. Integers that become narrower, or lose their sign,
keep their low bits: 300 is 44 as uint8. Complex elements become real by their "real" or "imaginary" part,
"magnitude" or "phase".

>>> import datastorage as ds
>>> ds.Array([3 + 4j, 300]).convert("ubin8", complex="magnitude").numpy()
array([  5, 255], dtype=uint8)
)");
  array.def("rescale", &Rescaled, py::arg("delta"), py::arg("origin") = py::none(),
            R"(rescale(self, delta, origin=None)
--

A copy with another distance between its elements, on a grid through `origin` (one dimension only) or the
first element. Each new element is one of the old ones: nothing is averaged.

>>> import datastorage as ds
>>> ds.Array([1, 4, 9], delta=0.5).rescale(0.25).numpy()
array([1, 1, 4, 4, 9, 9], dtype=int32)
)");
  array.def("moved", &Moved, py::arg("distance"), R"(moved(self, distance)
--

A copy whose positions are shifted; the elements are shared.

>>> import datastorage as ds
>>> ds.Array([1, 4, 9]).moved(2.5).range
(2.5, 5.5)
)");
  array.def("copy", &Copied,
            "copy(self)\n--\n\nA copy, which shares the elements until one of the two changes.");
  array.def("__copy__", &Copied);
  array.def(
      "__deepcopy__", [](Array& a, const py::dict&) { return Copied(a); }, py::arg("memo"));
  array.def(py::pickle([](Array& a) { return py::make_tuple(ViewOf(a.Free()), CalibrationOf(a.Get())); },
                       [](const py::tuple& state) {
                         const auto [offset, delta, index] = state[1].cast<std::tuple<Place, Place, Index>>();
                         return Made(state[0], py::none(), offset, delta, index);
                       }));
  DefineOperators(array);
  DefineChanges(module, array);
}

}  // namespace core
