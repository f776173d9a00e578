#pragma once

#include <DataStorage/data/calibrated.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/numbers/datatype.h>

namespace detail {

/// The raw form of a calibration: offset, delta (8 bytes each) and reference index (4 bytes) of each axis.
inline type_cBoolean WriteRawCalibration(bstr_cBinary_ostream& out, const cal_c1DArrayCal& cal) {
  return bstr_WriteFields(out, cal.OffsetX(), cal.DeltaX(), cal.CalIndexX());
}
inline type_cBoolean WriteRawCalibration(bstr_cBinary_ostream& out, const cal_c2DArrayCal& cal) {
  return bstr_WriteFields(out, cal.OffsetX(), cal.DeltaX(), cal.CalIndexX(), cal.OffsetY(), cal.DeltaY(),
                          cal.CalIndexY());
}

/// Reads the raw form; the calibration stays as it was when that fails.
inline type_cBoolean ReadRawCalibration(bstr_cBinary_istream& in, cal_c1DArrayCal& cal) {
  double offset = 0;
  double delta = 0;
  int calIndex = 0;
  if (!bstr_ReadFields(in, offset, delta, calIndex)) return false;
  cal = cal_c1DArrayCal(offset, delta, calIndex);
  return true;
}
inline type_cBoolean ReadRawCalibration(bstr_cBinary_istream& in, cal_c2DArrayCal& cal) {
  cal_c1DArrayCal x;
  cal_c1DArrayCal y;
  if (!ReadRawCalibration(in, x) || !ReadRawCalibration(in, y)) return false;
  cal = cal_c2DArrayCal(x.AxisX(), y.AxisX());
  return true;
}

/// What data arrays of one and of two dimensions have in common: calibrated numbers, and the persistence of
/// both. `Numbers` is the number array, `Calibration` its calibration.
template <class Numbers, class Calibration>
class DATASTORAGE_EXPORT DataArray : public Calibrated<Numbers, Calibration> {
 public:
  /// The atoms of the number array and the calibration as a nested object.
  type_cBoolean Write(tgio_cASCII_ostream& out) const override {
    return Numbers::Write(out) && out.Write(cal_, darr_CalibrationString, false);
  }
  type_cBoolean Write(tgio_cBinary_ostream& out) const override {
    return Numbers::Write(out) && out.Write(cal_, darr_CalibrationTag);
  }
  /// A calibration that the stream does not hold is offset 0, delta 1, index 0. When false is returned (an
  /// object that is damaged or holds no data) the array is as it was.
  type_cBoolean Read(tgio_cASCII_istream& in) override { return ReadAtoms(in); }
  type_cBoolean Read(tgio_cBinary_istream& in) override { return ReadAtoms(in); }

  /// The raw form: the calibration, then the raw form of the number array.
  type_cBoolean Write(bstr_cBinary_ostream& out) const {
    return WriteRawCalibration(out, cal_) && Numbers::Write(out);
  }
  /// When false is returned the array is as it was.
  type_cBoolean Read(bstr_cBinary_istream& in) {
    Calibration cal;
    if (!ReadRawCalibration(in, cal) || !Numbers::Read(in)) return false;
    cal_ = cal;
    return true;
  }

  /// Collects the atoms of an array that is read from a tagged stream.
  struct DATASTORAGE_EXPORT sDarrayData : Record<sDarrayData, typename Numbers::sParrayData> {
    Calibration cal;  ///< the default until the calibration was read
    /// The atom beside those of the numbers.
    static auto Fields(auto& record) {
      return std::tuple(Atom(darr_CalibrationTag, darr_CalibrationString, record.cal));
    }
  };

 protected:
  using Calibrated<Numbers, Calibration>::Calibrated;
  using Calibrated<Numbers, Calibration>::cal_;
  using Numbers::operator=;

 private:
  template <class Stream>
  type_cBoolean ReadAtoms(Stream& in) {
    sDarrayData data;
    if (!data.Read(in) || data.letter == nullptr) return false;
    Numbers numbers(data.letter.release());
    const dtyp_cDataType type(static_cast<dtyp_eDataType>(data.data_type));
    if (type.HasDataType()) {
      if (type.SizeOf() == 0) return false;
      numbers.Convert(type);
    }
    Numbers::operator=(numbers);
    cal_ = data.cal;
    return true;
  }
};

}  // namespace detail
