#include <type_traits>

#include "reference.h"
#include "targets.h"

using namespace fuzz;

namespace {

/// Reads the next object of the stream into an object with other contents; returns whether it could be read.
template <class Kind, class Object>
bool bTakes(Object& object, typename Kind::In& in) {
  // Only a position list keeps what was read before a failure.
  constexpr bool whole_or_not_at_all = !std::is_same_v<Object, pos_c2DPositionList>;
  tgio_cTaggedStreamObject& base = object;
  Object again(object);
  if (!bSucceeds([&] { return in.Read(base); })) {
    if constexpr (whole_or_not_at_all) Require(TaggedForm<Binary>(base) == TaggedForm<Binary>(again));
    return false;
  }
  const std::string form = TaggedForm<Kind>(base);
  std::istringstream stream(form);
  typename Kind::In in_again(stream);
  Require(in_again.Read(static_cast<tgio_cTaggedStreamObject&>(again)) && in_again.eof());
  Require(TaggedForm<Kind>(again) == form);
  return true;
}

template <class Kind>
int ReadObjects(const std::uint8_t* bytes, std::size_t n) {
  std::istringstream stream(Text(bytes, n));
  typename Kind::In in(stream);
  auto objects = PersistentObjects();
  const auto offer = [&](auto&... object) { return (bTakes<Kind>(object, in) || ...); };
  const auto node = Parse<Kind>(stream.str());
  const auto expected = [&](const auto&... object) {
    return (bReadsAsExpected<Kind>(object, stream.str(), node) && ...);
  };
  Require(std::apply(expected, objects));
  while (!in.eof())
    if (!std::apply(offer, objects) && !in.SkipObject()) break;
  return 0;
}

}  // namespace

int FuzzBinaryTagged(const std::uint8_t* bytes, std::size_t n) { return ReadObjects<Binary>(bytes, n); }
int FuzzAsciiTagged(const std::uint8_t* bytes, std::size_t n) { return ReadObjects<Ascii>(bytes, n); }
