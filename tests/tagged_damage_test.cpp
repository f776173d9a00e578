#include "reference.h"
#include "test.h"
#include <DataStorage/interfaces/persistent.h>

using namespace fuzz;

// Objects made unreadable, atom by atom: each known atom gets invalid contents.

namespace {

/// A class of the user: an atom of each kind, read into a record.
class Settings : public tgio_cTaggedStreamObject {
 public:
  static constexpr tgio_cObjectType _ObjectType{"settings", 0x4321};
  const tgio_cObjectType& ObjectType() const override { return _ObjectType; }
  type_cBoolean Read(tgio_cBinary_istream& in) override { return TakeOver(in); }
  type_cBoolean Read(tgio_cASCII_istream& in) override { return TakeOver(in); }
  type_cBoolean Write(tgio_cBinary_ostream& out) const override { return values_.WriteAtoms(out); }
  type_cBoolean Write(tgio_cASCII_ostream& out) const override { return values_.WriteAtoms(out); }

 private:
  struct Values : tgio_cTaggedStreamObject {
    unsigned char gain = 3;
    int averages = 16;
    double bias = -0.5;
    str_cString tip = "W, etched";
    arr_c1DNumberArray<short> line{2, nullptr, 7, true};
    arr_c2DNumberArray<double> plane{2, 1, nullptr, 0.1, true};
    cal_c1DArrayCal cal{1, 2, 3};

    static auto Atoms(auto& self) {
      return std::tie(self.gain, self.averages, self.bias, self.tip, self.line, self.plane, self.cal);
    }
    bool WriteAtoms(auto& out) const {
      unsigned short tag = 1;
      const auto write = [&](const auto& value) {
        const detail::AtomId id{tag, names[tag]};
        return ++tag, detail::WriteAtom(out, value, id);
      };
      return std::apply([&](const auto&... value) { return (write(value) && ...); }, Atoms(*this));
    }
    bool TakeAtom(auto& in) {
      unsigned short tag = 0;
      const auto take = [&](auto& value) {
        return ++tag, detail::bAtAtom(in, {tag, names[tag]}) && in.Read(value);
      };
      return std::apply([&](auto&... value) { return (take(value) || ...); }, Atoms(*this)) && gain < 200;
    }
    type_cBoolean ReadAtom(tgio_cBinary_istream& in) override { return TakeAtom(in); }
    type_cBoolean ReadAtom(tgio_cASCII_istream& in) override { return TakeAtom(in); }

    static constexpr const char* names[] = {"", "Gain", "Averages", "Bias", "Tip", "Line", "Plane", "Cal"};
  };

  bool TakeOver(auto& in) {
    Values read;
    read.bias = 0;
    if (!read.Read(in)) return false;
    values_ = read;
    return true;
  }

  Values values_;
};

/// The stream from which an object was parsed.
std::string Written(const Node& node, bool outermost = true) {
  std::string form;
  if (!node.text) {
    std::string payload = node.bytes;
    if (node.kind == "object") {
      payload.resize(2);
      detail::StoreLittleEndian(payload.data(), static_cast<unsigned short>(std::stoi(node.type)));
      for (const Node& atom : node.atoms) payload += Written(atom, false);
    }
    constexpr const char* kinds[] = {"", "byte", "int", "double", "string", "object", "data"};
    form.resize(11);
    detail::StoreLittleEndian(form.data(), static_cast<unsigned short>(outermost ? 0 : std::stoi(node.name)));
    form[2] = static_cast<char>(std::find(kinds, kinds + 7, node.kind) - kinds);
    detail::StoreLittleEndian(form.data() + 3, std::uint64_t{payload.size()});
    return form + payload;
  }
  form = node.name + ' ' + node.kind + ' ';
  if (node.kind == "object") {
    form += '"' + node.type + "\" {\n";
    for (const Node& atom : node.atoms) form += Written(atom, false);
    form += '}';
  } else {
    for (const std::string& token : node.tokens) form += token + ' ';
  }
  return form + '\n';
}

/// All versions of this atom that must be refused.
std::vector<Node> Damaged(const Node& atom) {
  std::vector<Node> damaged;
  const auto add = [&](auto change) { change(damaged.emplace_back(atom)); };
  for (const char* kind : {"byte", "int", "double", "string", "data", "unknown"})
    if (atom.kind != kind) add([&](Node& each) { each.kind = atom.text ? kind : *kind == 'u' ? "" : kind; });
  if (atom.kind == "object") {
    add([](Node& each) { each.type = each.text ? "2D range" : std::to_string(obty_2DRangeType); });
    return damaged;
  }
  add([](Node& each) { each.kind = "object", each.type = each.text ? "1D range" : "321"; });
  if (!atom.text) {
    if (atom.kind == "string") return damaged;  // may hold any bytes
    add([](Node& each) { each.bytes.pop_back(); });
    add([](Node& each) { each.bytes += '\0'; });
    add([](Node& each) { each.bytes.clear(); });
    if (atom.kind == "byte") add([](Node& each) { each.bytes[0] = static_cast<char>(200); });  // not a type
    if (atom.kind != "data") return damaged;
    for (const std::size_t place : {0U, 1U, 4U})  // element code, count
      for (const int change : {1, -1, 0x80})
        add([&](Node& each) { each.bytes[place] = static_cast<char>(each.bytes[place] + change); });
    return damaged;
  }
  const std::size_t last = atom.tokens.size() - (atom.kind == "data" ? 2 : 1);
  for (const char* value : {"0,5", "5x", "x", "1e999", "\"1\"", "", "\"\\x\"", "}"}) {
    if (*value == '"' && value[1] != '\\' && atom.kind == "string") continue;
    add([&](Node& each) { each.tokens[last] = value; });
  }
  add([&](Node& each) { each.tokens.insert(each.tokens.begin() + static_cast<int>(last), "1"); });
  if (atom.kind == "data") {
    add([](Node& each) { each.tokens[1] = "-1"; });
    add([](Node& each) { each.tokens.insert(each.tokens.end() - 1, {"}", "{"}); });
  }
  if (atom.kind == "int") add([](Node& each) { each.tokens[0] = "2147483648"; });
  if (atom.kind == "byte") add([](Node& each) { each.tokens[0] = "256"; });
  return damaged;
}

/// Calls a function with each version of the object in which one atom, or one of a nested object, is damaged.
void ForEachDamage(const Node& object, const std::function<void(const Node&)>& function) {
  for (std::size_t i = 0; i < object.atoms.size(); ++i) {
    Node whole = object;
    const auto with = [&](const Node& atom) {
      whole.atoms[i] = atom;
      function(whole);
    };
    for (const Node& damaged : Damaged(object.atoms[i])) with(damaged);
    ForEachDamage(object.atoms[i], with);
  }
}

struct Silence : mesg_cReceiver {
  void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override { ADD_FAILURE() << id; }
};

template <class Kind, class Object>
void CheckDamage(const Object& object) {
  SCOPED_TRACE(Object::_ObjectType.Name());
  const auto node = Parse<Kind>(TaggedForm<Kind>(object));
  ASSERT_TRUE(node);
  ASSERT_EQ(Written(*node), Written(*Parse<Kind>(Written(*node))));
  int count = 0;
  ForEachDamage(*node, [&](const Node& damaged) {
    ++count;
    Object read(object);
    Silence silence;
    if constexpr (std::is_base_of_v<mesg_cSender, Object>) read.AddReceiver(silence, 0xFFFF);
    if constexpr (requires { read.Center(); }) read.Center();
    std::istringstream stream(Written(damaged));
    typename Kind::In in(stream);
    EXPECT_FALSE(in.Read(static_cast<tgio_cTaggedStreamObject&>(read))) << stream.str();
    // The list keeps the positions before the damage.
    if constexpr (!std::is_same_v<Object, pos_c2DPositionList>) {
      EXPECT_EQ(TaggedForm<Kind>(read), TaggedForm<Kind>(object)) << stream.str();
    }
  });
  EXPECT_GE(count, 9);
}

TEST(TaggedDamage, OfAnAtomLeavesTheObjectAsItWas) {
  const auto check = [](const auto&... object) {
    (CheckDamage<Binary>(object), ...);
    const auto text = [](const auto& each) {
      if constexpr (!std::is_same_v<decltype(each), const pos_c2DPositionList&>) CheckDamage<Ascii>(each);
    };
    (text(object), ...);
  };
  std::apply(check, PersistentObjects());
  check(Settings());
}

}  // namespace
