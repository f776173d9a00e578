#include <memory>

#include "array.h"
#include "elements.h"

namespace core {

namespace {

void MakeReadOnly(py::array& array) {
  py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
}

/// A NumPy array of the elements at an address. Its base owns a copy of `array` and so keeps them in memory.
template <class Numbers>
py::array ArrayAt(const void* elements, const Numbers& array, py::array::ShapeContainer shape) {
  const py::dtype type = NumpyType(array.DataType());
  if (elements == nullptr) return py::array(type, std::move(shape));
  auto owned = std::make_unique<Numbers>(array);
  const py::capsule owner(owned.get(), [](void* copy) { delete static_cast<Numbers*>(copy); });
  [[maybe_unused]] const Numbers* const given = owned.release();
  return py::array(type, std::move(shape), {}, elements, owner);
}

/// The value along X or Y of an argument for an array of two dimensions; a lone number is that of both axes.
template <class T>
T Along(int axis, const std::variant<T, std::pair<T, T>>& argument) {
  if (const auto* both = std::get_if<std::pair<T, T>>(&argument))
    return axis == 0 ? both->first : both->second;
  return std::get<T>(argument);
}

template <class T>
T Alone(const std::variant<T, std::pair<T, T>>& argument) {
  const T* const value = std::get_if<T>(&argument);
  if (value == nullptr) throw py::type_error("an array of one dimension has one offset, delta and index");
  return *value;
}

int Extent(const py::array& elements, int axis) {
  const py::ssize_t n = elements.shape(axis);
  if (n > detail::LargestCount) arr_SizeError(n);
  return static_cast<int>(n);
}

}  // namespace

cal_c1DArrayCal LineCal(const Place& offset, const Place& delta, const Index& index) {
  return {Alone(offset), Alone(delta), Alone(index)};
}

cal_c2DArrayCal PlaneCal(const Place& offset, const Place& delta, const Index& index) {
  const auto axis = [&](int i) { return cal_cArrayCal(Along(i, offset), Along(i, delta), Along(i, index)); };
  return {axis(0), axis(1)};
}

Array::Value& Array::Free() {
  if (edited_) {
    throw py::buffer_error(
        "the array is being edited: its elements cannot be shared, moved or replaced until the "
        "block of edit() ends");
  }
  return value_;
}

py::array::ShapeContainer ShapeOf(const Array::Value& value) {
  if (const auto* plane = std::get_if<Array2D>(&value)) {
    return {py::ssize_t{plane->NumIndicesY()}, py::ssize_t{plane->NumIndicesX()}};
  }
  return {py::ssize_t{std::get<Array1D>(value).NumIndices()}};
}

py::array ViewOf(const Array::Value& value) {
  return std::visit(
      [&](const auto& array) {
        py::array view = ArrayAt(array.Data(), array, ShapeOf(value));
        MakeReadOnly(view);
        return view;
      },
      value);
}

py::array WritableViewOf(Array::Value& value) {
  return std::visit(
      [&](auto& array) {
        void* const elements = array.Elements();  // before the copy shares them
        return ArrayAt(elements, array, ShapeOf(value));
      },
      value);
}

Array::Value ValueFrom(const py::array& elements, const Place& offset, const Place& delta,
                       const Index& index) {
  const dtyp_cDataType type = ElementType(elements.dtype());
  if (elements.ndim() == 1) {
    return Array1D(parr_c1DNumberArray(Extent(elements, 0), type, elements.data()),
                   LineCal(offset, delta, index));
  }
  if (elements.ndim() != 2) {
    throw py::value_error("an array has one or two dimensions, not " + std::to_string(elements.ndim()));
  }
  const parr_c2DNumberArray numbers(Extent(elements, 1), Extent(elements, 0), type, elements.data());
  return Array2D(numbers, PlaneCal(offset, delta, index));
}

void WidenFor(Array::Value& value, dtyp_cDataType type) {
  std::visit(
      [&](auto& array) {
        if (array.NumIndices() > 0) array.Convert(CommonType(array.DataType(), type));
      },
      value);
}

}  // namespace core
