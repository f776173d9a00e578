#include <memory>
#include <optional>
#include <pybind11/stl.h>
#include <type_traits>

#include "array.h"
#include "elements.h"
#include <DataStorage/positions/range1d.h>

namespace core {

namespace {

/// The context of `with array.edit() as view`.
///
/// The view's base is an array of NumPy, not the owner of the elements, because NumPy makes that array the
/// base of everything that is derived from the view. So the number of its owners shows whether something
/// derived outlives the block; then the array takes a block of its own, and nothing can be written to it
/// behind its back.
class Edit {
 public:
  explicit Edit(py::object array) : array_(std::move(array)) {}
  Edit(const Edit&) = delete;
  Edit& operator=(const Edit&) = delete;
  ~Edit() {  // also of a block that was opened and never closed
    const py::error_scope kept;
    try {
      Exit();
    } catch (...) {
      PyErr_Clear();
    }
  }

  py::object Enter() {
    if (editing_) throw py::buffer_error("this block is already open");
    auto& array = array_.cast<Array&>();
    editing_.emplace(array);
    base_ = WritableViewOf(editing_->Value());
    view_ = base_[py::ellipsis()];
    return view_;
  }

  void Exit() {
    if (!editing_) return;
    for (const py::object& view : {view_, base_}) view.attr("setflags")(py::arg("write") = false);
    // The base belongs to this object and to the view; the view to this object and to one name of the caller.
    const bool derived = base_.ref_count() > 2 || view_.ref_count() > 2;
    editing_->End();
    if (derived) {
      std::visit([](auto& array) { array.Elements(); }, array_.cast<Array&>().Free());
    }
    editing_.reset();
    view_ = base_ = py::none();
  }

 private:
  py::object array_, base_, view_;
  std::optional<Array::Editing> editing_;
};

dtyp_cDataType TypeOf(const Array::Value& value) {
  return std::visit([](const auto& array) { return array.DataType(); }, value);
}

/// Calls `change` with the array, whose type holds elements of another type first. When that throws, elements
/// and their type are as before.
template <class Change>
void ChangeWith(Array& array, dtyp_cDataType type, Change change) {
  Array::Editing editing(array);
  Array::Value& value = editing.Value();
  if (CommonType(TypeOf(value), type) == TypeOf(value)) return change(value);
  Array::Value widened = value;
  WidenFor(widened, type);
  change(widened);
  value = std::move(widened);
}

void SetAt(Array& array, const py::object& value, const Place& place) {
  const pnum_cNumber number = NumberOf(value, TypeOf(array.Get()));
  if (const auto* const line = std::get_if<Array1D>(&array.Get())) {
    RequireReachable(line->Cal().AxisX(), {X(place)});
  } else {
    const auto& cal = std::get<Array2D>(array.Get()).Cal();
    RequireReachable(cal.AxisX(), {XY(place).first});
    RequireReachable(cal.AxisY(), {XY(place).second});
  }
  ChangeWith(array, number.DataType(), [&](Array::Value& changed) {
    if (auto* const line = std::get_if<Array1D>(&changed)) {
      line->SetValue(number, X(place));
    } else {
      std::get<Array2D>(changed).SetValue(number, XY(place).first, XY(place).second);
    }
  });
}

/// Elements to be stored in an array, and their type.
std::pair<py::object, dtyp_cDataType> Stored(const py::object& value, dtyp_cDataType among) {
  const bool typed = py::hasattr(value, "dtype");
  if (typed ? value.attr("ndim").cast<int>() == 0 : PyNumber_Check(value.ptr()) != 0) {
    const pnum_cNumber number = NumberOf(value, among);
    return {ValueOf(number), number.DataType()};
  }
  const py::array elements = ElementsAmong(value, among);
  return {elements, ElementType(elements.dtype())};
}

/// Throws ValueError unless elements along an axis have as many nearest ones along that of the target.
void RequireNearest(const cal_cArrayCal& target, const cal_cArrayCal& source, int n) {
  const double sign = target.Delta() < 0 ? -1 : 1, start = source.Position(0);
  RequireReachable(target, {start, source.Position(n)});
  const bool in_step = source.Delta() == target.Delta();
  const double end = in_step ? source.Position(n) : start + target.Delta();
  const cal_c1DArrayCal rising(sign * target.Offset(), sign * target.Delta(), target.CalIndex());
  const rnge_c1DIndexRange nearest(rnge_c1DRange(sign * start, sign * end), rising, rnge_IndexNearest);
  if (nearest.NumIndicesX() != (in_step ? n : 1)) {
    throw py::value_error("the elements of the other array lie halfway between those of this one");
  }
}

void Merge(Array& array, Array& source) {
  const Array::Value other = source.Free();
  if (other.index() != array.Free().index())
    throw py::type_error("the other array has another number of dimensions");
  std::visit(
      [&]<class A>(const A& same) {
        if (same.NumIndices() == 0) return;
        const A& target = std::get<A>(array.Get());
        if constexpr (std::is_same_v<A, Array2D>) {
          RequireNearest(target.Cal().AxisX(), same.Cal().AxisX(), same.NumIndicesX());
          RequireNearest(target.Cal().AxisY(), same.Cal().AxisY(), same.NumIndicesY());
        } else if (same.DeltaX() == target.DeltaX()) {
          RequireNearest(target.Cal().AxisX(), same.Cal().AxisX(), same.NumIndices());
        } else {  // others are brought into step
          RequireReachable(target.Cal().AxisX(),
                           {same.Cal().PositionX(0), same.Cal().PositionX(same.NumIndices())});
        }
        ChangeWith(array, same.DataType(), [&](Array::Value& changed) { std::get<A>(changed).Set(same); });
      },
      other);
}

}  // namespace

void SetItem(Array& array, const py::object& key, const py::object& value) {
  const auto [elements, type] = Stored(value, TypeOf(array.Get()));
  const auto store = [&, elements = elements](Array::Value& changed) {
    WritableViewOf(changed)[key] = elements;
  };
  if (CommonType(TypeOf(array.Get()), type) != TypeOf(array.Get()) &&
      py::module_::import("numpy").attr("size")(ViewOf(array.Free())[key]).equal(py::int_(0))) {
    Array::Value nowhere = array.Free();  // as nothing is stored, the type stays
    WidenFor(nowhere, type);
    return store(nowhere);
  }
  ChangeWith(array, type, store);
}

void DefineChanges(py::module_& module, py::class_<Array>& array) {
  array.def("set", &SetAt, py::arg("value"), py::arg("position"), R"(set(self, value, position)
--

Sets the element whose cell contains a position. The array grows by zeros to reach it, and takes a type
that holds both its elements and the value. An axis whose delta is not positive does not grow:
IndexError.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9], dtype="ubin16", offset=20.0, delta=0.5)
>>> a.set(5.5, 22.1)
>>> a.numpy()
array([1. , 4. , 9. , 0. , 5.5])
)");
  array.def("__setitem__", &SetItem, py::arg("key"), py::arg("value"),
            R"(__setitem__(self, key, value, /)
--

Sets the elements that NumPy selects by index. The array takes a type that holds its elements and the
values.)");
  array.def("merge", &Merge, py::arg("other"), R"(merge(self, other)
--

Puts another array into this one by position: its elements replace the nearest ones, and this array grows
to cover it. One with another delta is first brought to that of this array, as rescale() does. Elements that
lie halfway between those of this array, within 1e-6 of its delta, have no nearest ones: ValueError. Nothing
happens when the other array has no elements.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9])
>>> a.merge(ds.Array([7, 8], offset=2.0))
>>> a.numpy()
array([1, 4, 7, 8], dtype=int32)
)");
  array.def(
      "edit", [](const py::object& self) { return std::make_unique<Edit>(self); }, R"(edit(self)
--

The elements in place: `with a.edit() as view:` gives a writable NumPy array for the block.

Meanwhile whatever would share, move or replace the elements raises BufferError. At the end of the block
the view becomes read-only. What was derived from it and outlives the block no longer belongs to the
array.

>>> import datastorage as ds
>>> a = ds.Array([1, 4, 9])
>>> with a.edit() as view:
...     view[:] *= 2
>>> a.numpy()
array([ 2,  8, 18], dtype=int32)
)");

  py::class_<Edit>(module, "Edit", "The context that Array.edit() returns.")
      .def("__enter__", &Edit::Enter)
      .def("__exit__", [](Edit& edit, const py::args&) { edit.Exit(); });
}

}  // namespace core
