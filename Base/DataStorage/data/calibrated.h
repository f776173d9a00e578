#pragma once

#include <type_traits>

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/positions/range2d.h>

namespace detail {

/// The calibration of the elements of an index range when these become an array of their own: they keep their
/// positions.
inline cal_c1DArrayCal Rebased(const cal_c1DArrayCal& cal, const rnge_c1DIndexRange& range) noexcept {
  return cal.Rebased(range.StartIndexX(), range.Contains(cal.CalIndexX()));
}
inline cal_c2DArrayCal Rebased(const cal_c2DArrayCal& cal, const rnge_c2DIndexRange& range) noexcept {
  return cal.Rebased(range.StartIndexX(), range.StartIndexY(),
                     range.Contains(cal.CalIndexX(), cal.CalIndexY()));
}

/// What data arrays and masks have in common: elements, and the calibration that gives their indices physical
/// positions. `Values` holds the elements.
template <class Values, class Calibration>
class DATASTORAGE_EXPORT Calibrated : public Values {
  static constexpr bool bHasY = std::is_base_of_v<CalibratedXY, Calibration>;
  using PositionRange = std::conditional_t<bHasY, rnge_c2DRange, rnge_c1DRange>;

 public:
  /// The positions covered.
  PositionRange Range() const {
    if constexpr (bHasY) {
      return PositionRange(rnge_c2DIndexRange(0, 0, this->NumIndicesX(), this->NumIndicesY()), cal_);
    } else {
      return PositionRange(rnge_c1DIndexRange(0, this->NumIndices()), cal_);
    }
  }

  /// What gives the elements their positions; valid as long as the array.
  const Calibration& Cal() const noexcept { return cal_; }
  /// Lays the elements out anew.
  void SetCal(const Calibration& cal) noexcept { cal_ = cal; }

  /// A value of the calibration.
  double OffsetX() const noexcept { return cal_.OffsetX(); }
  double DeltaX() const noexcept { return cal_.DeltaX(); }
  int CalIndexX() const noexcept { return cal_.CalIndexX(); }
  void SetOffsetX(double offset) noexcept { cal_.SetOffsetX(offset); }
  void SetDeltaX(double delta) noexcept { cal_.SetDeltaX(delta); }
  void SetCalIndexX(int calIndex) noexcept { cal_.SetCalIndexX(calIndex); }

  /// The same along Y, in two dimensions.
  double OffsetY() const noexcept requires bHasY { return cal_.OffsetY(); }
  double DeltaY() const noexcept requires bHasY { return cal_.DeltaY(); }
  int CalIndexY() const noexcept requires bHasY { return cal_.CalIndexY(); }
  void SetOffsetY(double offset) noexcept requires bHasY { cal_.SetOffsetY(offset); }
  void SetDeltaY(double delta) noexcept requires bHasY { cal_.SetDeltaY(delta); }
  void SetCalIndexY(int calIndex) noexcept requires bHasY { cal_.SetCalIndexY(calIndex); }

 protected:
  /// Shares the elements of `values`.
  Calibrated(const Values& values, const Calibration& cal) : Values(values), cal_(cal) {}
  Calibrated(const Calibrated&) = default;
  Calibrated& operator=(const Calibrated&) = default;

  Calibration cal_;  ///< lies beside the elements, which know nothing of positions
};

}  // namespace detail
