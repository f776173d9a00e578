#pragma once

#include <type_traits>

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/positions/range2d.h>

namespace detail {

/// The calibration of a new array of the elements of `range`, which keep their positions.
inline cal_c1DArrayCal Rebased(const cal_c1DArrayCal& cal, const rnge_c1DIndexRange& range) noexcept {
  return cal.Rebased(range.StartIndexX(), range.Contains(cal.CalIndexX()));
}
inline cal_c2DArrayCal Rebased(const cal_c2DArrayCal& cal, const rnge_c2DIndexRange& range) noexcept {
  return cal.Rebased(range.StartIndexX(), range.StartIndexY(),
                     range.Contains(cal.CalIndexX(), cal.CalIndexY()));
}

/// Common base of data arrays and masks: elements, and the calibration that maps their indices to physical
/// positions. `Values` holds the elements.
template <class Values, class Calibration>
class DATASTORAGE_TEMPLATE Calibrated : public Values {
  static constexpr bool bHasY = std::is_base_of_v<CalibratedXY, Calibration>;
  using PositionRange = std::conditional_t<bHasY, rnge_c2DRange, rnge_c1DRange>;

 public:
  /// The range of positions that the elements cover.
  PositionRange Range() const {
    if constexpr (bHasY) {
      return PositionRange(rnge_c2DIndexRange(0, 0, this->NumIndicesX(), this->NumIndicesY()), cal_);
    } else {
      return PositionRange(rnge_c1DIndexRange(0, this->NumIndices()), cal_);
    }
  }

  /// The calibration; valid as long as the array.
  const Calibration& Cal() const noexcept { return cal_; }
  /// Sets the calibration; the elements do not change.
  void SetCal(const Calibration& cal) noexcept { cal_ = cal; }

  /// The values of the calibration along X.
  double OffsetX() const noexcept { return cal_.OffsetX(); }
  double DeltaX() const noexcept { return cal_.DeltaX(); }
  int CalIndexX() const noexcept { return cal_.CalIndexX(); }
  void SetOffsetX(double offset) noexcept { cal_.SetOffsetX(offset); }
  void SetDeltaX(double delta) noexcept { cal_.SetDeltaX(delta); }
  void SetCalIndexX(int calIndex) noexcept { cal_.SetCalIndexX(calIndex); }

  /// The values of the calibration along Y, only in two dimensions.
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

  Calibration cal_;  ///< positions of the elements
};

}  // namespace detail
