#pragma once

#include <array>
#include <initializer_list>
#include <pybind11/numpy.h>
#include <utility>
#include <variant>

#include <DataStorage/data/darray2d.h>

namespace core {

namespace py = pybind11;

/// A data array whose elements can be written where they are.
template <class Base>
struct Writable : Base {
  using Base::Base;
  Writable(const Base& array) : Base(array) {}

  /// The elements, which nothing else shares. Valid until the array changes otherwise.
  void* Elements() {
    return detail::VisitElementType(this->DataType().Type(), [this]<class T>(std::type_identity<T>) -> void* {
      return this->template OwnIfTyped<T>()->Elements().WriteAccess();
    });
  }
};

using Array1D = Writable<darr_c1DArray>;
using Array2D = Writable<darr_c2DArray>;

/// A position or a step: a number in one dimension, x and y in two.
using Place = std::variant<double, std::pair<double, double>>;
using Index = std::variant<int, std::pair<int, int>>;

/// The number, or the pair, that an array of one dimension, or two, needs. Throw TypeError for the other one.
double X(const Place& place);
const std::pair<double, double>& XY(const Place& place);

/// datastorage.Array: a data array of one or two dimensions.
///
/// The counts of owners in the library are plain numbers, so an Array, its copies and their views are touched
/// only by the thread that holds the interpreter's lock. While the elements are edited in place, whatever
/// would share, move or replace them throws BufferError.
class Array {
 public:
  using Value = std::variant<Array1D, Array2D>;

  explicit Array(Value value) : value_(std::move(value)) {}
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  /// The array, to be looked at.
  const Value& Get() const noexcept { return value_; }
  /// The array, to be copied or changed. Throws BufferError while it is edited.
  Value& Free();
  template <class F>
  decltype(auto) Visit(F f) const {
    return std::visit(f, value_);
  }

  /// While it exists, elements are written through a pointer.
  class Editing {
   public:
    explicit Editing(Array& array) : array_(&array) {
      array.Free();
      array.edited_ = true;
    }
    Editing(const Editing&) = delete;
    Editing& operator=(const Editing&) = delete;
    ~Editing() { End(); }
    Array::Value& Value() const noexcept { return array_->value_; }
    void End() noexcept {
      if (array_ != nullptr) array_->edited_ = false;
      array_ = nullptr;
    }

   private:
    Array* array_;
  };

 private:
  Value value_;
  bool edited_ = false;
};

/// Throws ValueError for positions that are not finite, or whose index along an axis no int holds.
void RequireReachable(const cal_cArrayCal& axis, std::initializer_list<double> positions);

/// Calibrations from arguments: one value of each kind in one dimension; a pair in two, or one for both axes.
cal_c1DArrayCal LineCal(const Place& offset, const Place& delta, const Index& index);
cal_c2DArrayCal PlaneCal(const Place& offset, const Place& delta, const Index& index);

/// The number of elements along each axis in the order of NumPy: rows first.
py::array::ShapeContainer ShapeOf(const Array::Value& value);
/// offset, delta and index of one axis, or the pairs of these of two.
template <class Axes>
py::tuple CalibrationOfAxes(const Axes& axes) {
  const auto of = [&](auto get) -> py::object {
    if constexpr (std::tuple_size_v<Axes> == 1)
      return py::cast(get(axes[0]));
    else
      return py::make_tuple(get(axes[0]), get(axes[1]));
  };
  return py::make_tuple(of([](const cal_cArrayCal& axis) { return axis.Offset(); }),
                        of([](const cal_cArrayCal& axis) { return axis.Delta(); }),
                        of([](const cal_cArrayCal& axis) { return axis.CalIndex(); }));
}
/// A read-only NumPy array of the elements as they are now. It owns a copy of the array, which shares them: a
/// later change of the array copies them first.
py::array ViewOf(const Array::Value& value);
/// The same, writable, of elements that only `value` owns.
py::array WritableViewOf(Array::Value& value);
/// A data array with a copy of the elements. Throws ValueError for other than one or two dimensions.
Array::Value ValueFrom(const py::array& elements, const Place& offset, const Place& delta,
                       const Index& index);
/// Makes the elements of a type that holds theirs and those of another type exactly.
void WidenFor(Array::Value& value, dtyp_cDataType type);

void DefineArray(py::module_& module);

/// Defines comparisons and arithmetic of datastorage.Array.
void DefineOperators(py::class_<Array>& array);
/// Defines the methods of datastorage.Array that change elements.
void DefineChanges(py::module_& module, py::class_<Array>& array);
/// Sets what NumPy selects by a key, as a[key] = value does.
void SetItem(Array& array, const py::object& key, const py::object& value);

}  // namespace core
