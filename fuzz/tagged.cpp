#include <type_traits>

#include "objects.h"
#include "targets.h"

using namespace fuzz;

namespace {

/// Offers every object of the stream to an object of one class.
template <class Kind, class Object>
void ReadStream(Object object, const std::string& bytes) {
  // The position list is the one that keeps what could be read.
  constexpr bool whole_or_not_at_all = !std::is_same_v<Object, pos_c2DPositionList>;
  Object again(object);
  std::istringstream stream(bytes);
  typename Kind::In in(stream);
  tgio_cTaggedStreamObject& base = object;
  for (std::string before = TaggedForm<Binary>(base); !in.eof();) {
    if (bSucceeds([&] { return in.Read(base); })) {
      const std::string form = TaggedForm<Kind>(base);
      std::istringstream stream_again(form);
      typename Kind::In in_again(stream_again);
      Require(in_again.Read(static_cast<tgio_cTaggedStreamObject&>(again)) && in_again.eof());
      Require(TaggedForm<Kind>(again) == form);
      before = TaggedForm<Binary>(base);
    } else {
      if constexpr (whole_or_not_at_all) Require(TaggedForm<Binary>(base) == before);
      if (!in.SkipObject()) break;
    }
  }
}

template <class Kind>
int ReadObjects(const std::uint8_t* bytes, std::size_t n) {
  const std::string text = Text(bytes, n);
  std::apply([&](const auto&... objects) { (ReadStream<Kind>(objects, text), ...); }, PersistentObjects());
  return 0;
}

}  // namespace

int FuzzBinaryTagged(const std::uint8_t* bytes, std::size_t n) { return ReadObjects<Binary>(bytes, n); }
int FuzzAsciiTagged(const std::uint8_t* bytes, std::size_t n) { return ReadObjects<Ascii>(bytes, n); }
