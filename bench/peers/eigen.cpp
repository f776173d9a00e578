// Conversions and copies of blocks by Eigen.

#include <Eigen/Core>
#include <limits>
#include <type_traits>

#include "../conversion.h"

namespace {

/// The scalar type of Eigen for elements of type `T`.
template <class T>
struct Scalar {
  using Type = T;
};
template <class Part>
struct Scalar<comp_cComplex<Part>> {
  using Type = std::complex<Part>;
};

template <class T>
using Vector = Eigen::Array<typename Scalar<T>::Type, Eigen::Dynamic, 1>;

template <class Target, class Values>
auto ToReal(const Values& values) {
  using Source = typename Values::Scalar;
  if constexpr (std::is_integral_v<Target> && std::is_floating_point_v<Source>) {
    using Limits = std::numeric_limits<Target>;
    using Wide = WideEnough<Target, Source>;
    return values.template cast<Wide>()
        .rint()
        .max(static_cast<Wide>(Limits::min()))
        .min(static_cast<Wide>(Limits::max()))
        .template cast<Target>();
  } else {
    return values.template cast<Target>();
  }
}

struct ByEigen {
  template <class Pair>
  static constexpr const char* name = "eigen";
  template <class Pair>
  static void Convert(const typename Pair::Source* from, typename Pair::Target* to, std::int64_t count) {
    using Source = typename Scalar<typename Pair::Source>::Type;
    using Target = typename Scalar<typename Pair::Target>::Type;
    const Eigen::Map<const Vector<Source>> source(reinterpret_cast<const Source*>(from), count);
    Eigen::Map<Vector<Target>> target(reinterpret_cast<Target*>(to), count);
    if constexpr (!is_complex<typename Pair::Source> || is_complex<typename Pair::Target>) {
      target = ToReal<Target>(source);
    } else if constexpr (Pair::complex == conv_Magnitude) {
      target = ToReal<Target>(source.abs());
    } else if constexpr (Pair::complex == conv_Phase) {
      target = ToReal<Target>(source.arg());
    } else {
      target = ToReal<Target>(source.real());
    }
  }
};

using Matrix = Eigen::Array<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

void Selection(benchmark::State& state, int edge) {
  const Matrix source = Matrix::Ones(edge, edge);
  const int start = edge / 8, size = edge * 3 / 4;
  for (auto _ : state) {
    const Matrix target = source.block(start, start, size, size);
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
}

template <class Source>
void Store(benchmark::State& state, int edge) {
  const int start = edge / 8, size = edge * 3 / 4;
  const auto source =
      Eigen::Array<Source, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>::Ones(size, size).eval();
  Matrix target = Matrix::Zero(edge, edge);
  for (auto _ : state) {
    target.block(start, start, size, size) = source.template cast<double>();
    benchmark::ClobberMemory();
  }
}

[[maybe_unused]] const bool registered = [] {
  RegisterConversions<ByEigen>();
  RegisterConversionsIntoNewMemory<ByEigen>();
  for (const int edge : {256, 4096}) {
    const std::string size = '/' + std::to_string(edge) + 'x' + std::to_string(edge);
    Register("B/selection_2d" + size, "eigen", Selection, edge);
    Register("B/store_2d" + size, "eigen", Store<double>, edge);
    Register("B/widening_store_2d" + size, "eigen", Store<float>, edge);
  }
  return true;
}();

}  // namespace
