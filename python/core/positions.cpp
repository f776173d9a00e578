#include "positions.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <pybind11/stl.h>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/positions/poslist.h>
#include <DataStorage/positions/range1d.h>
#include <DataStorage/positions/range2d.h>

namespace core {

namespace {

using Pair = std::pair<double, double>;

/// How a class is seen in Python: its value, its messages and their payload.
template <class Sender>
struct Kind;

template <>
struct Kind<pos_c1DPosition> {
  using Value = double;
  using Change = pos_s1DPositionChange;
  static constexpr unsigned long changing = pos_1DPositionChanging, changed = pos_1DPositionChanged;
  static auto Old(Change& change) -> auto& { return change.OldPosition; }
  static auto New(Change& change) -> auto& { return change.NewPosition; }
  static Value Get(const pos_c1DPosition& position) { return position.X(); }
  static void Set(pos_c1DPosition& position, Value x) { position.SetX(x); }
};

template <>
struct Kind<pos_c2DPosition> {
  using Value = Pair;
  using Change = pos_s2DPositionChange;
  static constexpr unsigned long changing = pos_2DPositionChanging, changed = pos_2DPositionChanged;
  static auto Old(Change& change) -> auto& { return change.OldPosition; }
  static auto New(Change& change) -> auto& { return change.NewPosition; }
  static Value Get(const pos_c2DPosition& position) { return {position.X(), position.Y()}; }
  static void Set(pos_c2DPosition& position, const Value& to) { position.SetPosition(to.first, to.second); }
};

template <>
struct Kind<rnge_c1DRange> {
  using Value = Pair;
  using Change = rnge_s1DRangeChange;
  static constexpr unsigned long changing = rnge_1DRangeChanging, changed = rnge_1DRangeChanged;
  static auto Old(Change& change) -> auto& { return change.OldRange; }
  static auto New(Change& change) -> auto& { return change.NewRange; }
  static Value Get(const rnge_c1DRange& range) { return {range.StartX(), range.EndX()}; }
  static void Set(rnge_c1DRange& range, const Value& ends) { range.SetRange(ends.first, ends.second); }
};

template <>
struct Kind<rnge_c2DRange> {
  using Value = std::tuple<double, double, double, double, double>;
  using Change = rnge_s2DRangeChange;
  static constexpr unsigned long changing = rnge_2DRangeChanging, changed = rnge_2DRangeChanged;
  static auto Old(Change& change) -> auto& { return change.OldRange; }
  static auto New(Change& change) -> auto& { return change.NewRange; }
  static Value Get(const rnge_c2DRange& range) {
    return {range.CenterX(), range.CenterY(), range.SizeX(), range.SizeY(), range.Angle()};
  }
  static void Set(rnge_c2DRange& range, const Value& value) {
    std::apply([&](auto... values) { range.SetRange(values...); }, value);
  }
};

template <>
struct Kind<pos_c2DPositionList> {
  using Value = std::vector<Pair>;
  using Change = pos_sPosListChange;
  static constexpr unsigned long changing = pos_2DPositionListChanging, changed = pos_2DPositionListChanged;
  static auto Old(Change& change) -> auto& { return change.OldList; }
  static auto New(Change& change) -> auto& { return change.NewList; }
  static Value Get(const pos_c2DPositionList& list) {
    Value value;
    std::transform(list.begin(), list.end(), std::back_inserter(value),
                   [](const pos_c2DPosition* position) { return Pair(position->X(), position->Y()); });
    return value;
  }
  static void Set(pos_c2DPositionList& list, const Value& value) {
    pos_c2DPositionList source;
    for (const auto& [x, y] : value) source.AddAtTail(std::make_unique<pos_c2DPosition>(x, y).release());
    list = source;
  }
};

/// An object that sends messages, and the functions that are called with them.
///
/// The functions may refer to the object, so that the garbage collector must see them.
template <class Sender>
class Watched {
  using Of = Kind<Sender>;

 public:
  template <class... Arguments>
  explicit Watched(const Arguments&... arguments) : sender_(arguments...) {}
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;

  typename Of::Value Get() const { return Of::Get(sender_); }
  void Set(const typename Of::Value& value) { Of::Set(sender_, value); }
  Sender& Object() { return sender_; }
  /// Moves the centre of a list.
  void MoveCenter(const Pair& to) {
    const struct Moving {
      bool& moving;
      ~Moving() { moving = false; }
    } ends{moving_ = true};
    sender_.Center().SetPosition(to.first, to.second);
  }

  /// Returns the function, so that this can decorate one.
  py::function Add(const py::function& function, bool offers) {
    if (functions_.empty()) sender_.AddReceiver(receiver_, mesg_LowestPriority);
    functions_.push_back({function, offers});
    return function;
  }
  void Remove(const py::object& function) {
    const std::vector<Called> before = functions_;  // comparing may run anything
    const auto found = std::find_if(before.begin(), before.end(),
                                    [&](const Called& called) { return called.function.equal(function); });
    if (found == before.end()) throw py::value_error("this function is not called on changes");
    const auto same = std::find_if(functions_.begin(), functions_.end(), [&](const Called& called) {
      return called.function.is(found->function) && called.offers == found->offers;
    });
    if (same != functions_.end()) functions_.erase(same);
    if (functions_.empty()) sender_.RemoveReceiver(receiver_);
  }

  static void SetUpCollection(PyHeapTypeObject* heap_type) {
    PyTypeObject& type = heap_type->ht_type;
    type.tp_flags |= Py_TPFLAGS_HAVE_GC;
    type.tp_traverse = [](PyObject* self, visitproc visit, void* arg) {
      Py_VISIT(Py_TYPE(self));
      if (const Watched* const watched = Behind(self)) {
        for (const Called& called : watched->functions_) Py_VISIT(called.function.ptr());
      }
      return 0;
    };
    type.tp_clear = [](PyObject* self) {
      if (Watched* const watched = Behind(self)) const auto cleared = std::exchange(watched->functions_, {});
      return 0;
    };
  }

 private:
  struct Called {
    py::function function;
    bool offers;
  };

  /// One receiver calls all functions, so that a change by one of them is offered to all others again.
  struct Receiver : mesg_cReceiver {
    explicit Receiver(Watched& w) : watched(w) {}
    void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData* data) override {
      if (data == nullptr || (id != Of::changing && id != Of::changed)) return;
      auto& change = *static_cast<typename Of::Change*>(data);
      const bool offers = id == Of::changing;
      bool changed = false;
      const std::vector<Called> functions = watched.functions_;  // which they may change
      for (const Called& called : functions) {
        if (called.offers == offers) changed |= watched.bChangedBy(called.function, change, offers);
      }
      if (offers) change.Modified = changed;
    }
    Watched& watched;
  };

  bool bChangedBy(const py::function& function, typename Of::Change& change, bool offers) const {
    const auto old = Of::Get(Of::Old(change)), proposed = Of::Get(Of::New(change));
    const py::object answer = function(proposed, old);
    if (!offers || answer.is_none()) return false;
    py::detail::make_caster<bool> truth;  // of Python or of NumPy
    const bool decided = truth.load(answer, false);
    if (decided && truth) return false;
    const auto wanted = decided ? old : Answered(answer);
    if (wanted == proposed) return false;
    if constexpr (std::is_same_v<typename Of::Value, std::vector<Pair>>) {
      if (moving_ && wanted.size() != proposed.size())
        throw py::value_error("while the centre of a list moves, its number of positions cannot change");
    }
    Of::Set(Of::New(change), wanted);
    return true;
  }
  static typename Of::Value Answered(const py::object& answer) {
    try {
      return answer.cast<typename Of::Value>();
    } catch (const py::cast_error&) {
      throw py::type_error("a function called on changes returns None, True, False or a value, not " +
                           std::string(py::repr(answer)));
    }
  }

  /// The object behind one of Python; null while that is being made.
  static Watched* Behind(PyObject* self) {
    return static_cast<Watched*>(
        reinterpret_cast<py::detail::instance*>(self)->get_value_and_holder().value_ptr());
  }

  Sender sender_;
  bool moving_ = false;  // by its centre
  Receiver receiver_{*this};
  std::vector<Called> functions_;
};

constexpr const char* change_text = R"(on_change(self, function)
--

Calls function(new, old) before each change, and returns it. It accepts by returning None or True,
refuses by returning False (of Python or NumPy), and changes the proposal by returning another value. What
it raises reaches the caller of the change, which is then not made.)";
constexpr const char* changed_text = R"(on_changed(self, function)
--

Calls function(new, old) after each change, and returns it.)";

template <class Sender>
auto Define(py::module_& module, const char* name, const char* text) {
  using W = Watched<Sender>;
  py::class_<W> type(module, name, text, py::custom_type_setup(W::SetUpCollection));
  type.def_property("value", &W::Get, &W::Set, "The value; setting it offers the change to the functions.")
      .def(
          "on_change", [](W& self, const py::function& f) { return self.Add(f, true); }, py::arg("function"),
          change_text)
      .def(
          "on_changed", [](W& self, const py::function& f) { return self.Add(f, false); },
          py::arg("function"), changed_text)
      .def("remove", &W::Remove, py::arg("function"),
           "remove(self, function)\n--\n\nNo longer calls a function.")
      .def("__repr__", [](const py::object& self) {
        return py::str("<datastorage.{} {}>").format(py::type::of(self).attr("__name__"), self.attr("value"));
      });
  return type;
}

}  // namespace

void DefinePositions(py::module_& module) {
  Define<pos_c1DPosition>(module, "Position", R"(Position(x=0.0)
--

A position on an axis that offers every change to functions.)")
      .def(py::init([](double x) { return std::make_unique<Watched<pos_c1DPosition>>(x); }),
           py::arg("x") = 0.0);
  Define<pos_c2DPosition>(module, "Position2D", R"(Position2D(x=0.0, y=0.0)
--

A position (x, y) in a plane that offers every change to functions.)")
      .def(py::init([](double x, double y) { return std::make_unique<Watched<pos_c2DPosition>>(x, y); }),
           py::arg("x") = 0.0, py::arg("y") = 0.0);

  using Range = Watched<rnge_c1DRange>;
  Define<rnge_c1DRange>(module, "Range", R"(Range(start=0.0, end=0.0)
--

An interval that offers every change to functions, which may limit or refuse it.

>>> import datastorage as ds
>>> visible = ds.Range(0, 10)
>>> @visible.on_change
... def limit(new, old):
...     return max(new[0], 0), min(new[1], 100)
>>> visible.value = 50, 200
>>> visible, visible.center
(<datastorage.Range (50.0, 100.0)>, 75.0)
>>> visible.center = 20
>>> visible.value
(0.0, 45.0)
)")
      .def(py::init([](double start, double end) { return std::make_unique<Range>(start, end); }),
           py::arg("start") = 0.0, py::arg("end") = 0.0)
      .def_property_readonly(
          "start", [](Range& self) { return self.Object().StartX(); }, "The lower end.")
      .def_property_readonly(
          "end", [](Range& self) { return self.Object().EndX(); }, "The upper end.")
      .def_property(
          "center", [](Range& self) { return self.Object().CenterX(); },
          [](Range& self, double x) { self.Object().SetCenter(x); }, "The middle; setting it keeps the size.")
      .def_property(
          "size", [](Range& self) { return self.Object().SizeX(); },
          [](Range& self, double size) { self.Object().SetSizeX(size); },
          "The distance of the ends; setting it keeps the middle.")
      .def(
          "__contains__", [](Range& self, double x) -> bool { return self.Object().Contains(x); },
          py::arg("x"));

  using Rectangle = Watched<rnge_c2DRange>;
  Define<rnge_c2DRange>(module, "Range2D", R"(Range2D(center=(0.0, 0.0), size=(0.0, 0.0), angle=0.0)
--

A rectangle, rotated by an angle in radians, that offers every change to functions. Its value is a tuple:
x and y of the centre, the widths along its own axes, the angle.)")
      .def(py::init([](const Pair& center, const Pair& size, double angle) {
             return std::make_unique<Rectangle>(center.first, center.second, size.first, size.second, angle);
           }),
           py::arg("center") = Pair(), py::arg("size") = Pair(), py::arg("angle") = 0.0)
      .def(
          "__contains__",
          [](Rectangle& self, const Pair& place) -> bool {
            return self.Object().Contains(place.first, place.second);
          },
          py::arg("place"));

  using List = Watched<pos_c2DPositionList>;
  Define<pos_c2DPositionList>(module, "PositionList", R"(PositionList(positions=())
--

Positions (x, y) that move as one figure and offer every change to functions. The value is a list.

>>> import datastorage as ds
>>> corners = ds.PositionList([(0, 0), (2, 0)])
>>> corners.center = 5, 5
>>> corners.value
[(4.0, 5.0), (6.0, 5.0)]
)")
      .def(py::init([](const std::vector<Pair>& positions) {
             auto list = std::make_unique<List>();
             list->Set(positions);
             return list;
           }),
           py::arg("positions") = std::vector<Pair>())
      .def(
          "append",
          [](List& self, const Pair& p) {
            self.Object().AddAtTail(std::make_unique<pos_c2DPosition>(p.first, p.second).release());
          },
          py::arg("position"), "append(self, position)\n--\n\nAdds a position; this is not offered.")
      .def("__len__", [](List& self) { return self.Object().NumberPositions(); })
      .def("__iter__", [](List& self) { return py::iter(py::cast(self.Get())); })
      .def_property(
          "center", [](List& self) { return Pair(self.Object().Center().X(), self.Object().Center().Y()); },
          &List::MoveCenter, "The middle of the positions; setting it moves all of them.");
}

}  // namespace core
