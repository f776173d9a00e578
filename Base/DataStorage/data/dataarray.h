#pragma once

#include <DataStorage/data/calibrated.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/detail/gatheredoutput.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/numbers/datatype.h>

namespace detail {

/// Writes the raw form of a calibration: offset, delta (8 bytes each) and reference index (4 bytes) of each
/// axis.
inline type_cBoolean WriteRawCalibration(bstr_cBinary_ostream& out, const cal_c1DArrayCal& cal) {
  return bstr_WriteFields(out, cal.OffsetX(), cal.DeltaX(), cal.CalIndexX());
}
inline type_cBoolean WriteRawCalibration(bstr_cBinary_ostream& out, const cal_c2DArrayCal& cal) {
  return bstr_WriteFields(out, cal.OffsetX(), cal.DeltaX(), cal.CalIndexX(), cal.OffsetY(), cal.DeltaY(),
                          cal.CalIndexY());
}

/// Reads the raw form of a calibration; returns false and leaves `cal` unchanged on failure.
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

/// Common base of one- and two-dimensional data arrays: calibrated numbers and their persistence. `Numbers`
/// is the number array, `Calibration` its calibration.
template <class Numbers, class Calibration>
class DATASTORAGE_TEMPLATE DataArray : public Calibrated<Numbers, Calibration> {
 public:
  /// Writes the atoms of the number array, and the calibration as a nested object.
  type_cBoolean Write(tgio_cASCII_ostream& out) const override {
    return Numbers::Write(out) && out.Write(cal_, darr_CalibrationString, false);
  }
  type_cBoolean Write(tgio_cBinary_ostream& out) const override {
    return Numbers::Write(out) && out.Write(cal_, darr_CalibrationTag);
  }
  /// A missing calibration is read as offset 0, delta 1, index 0. Returns false and leaves the array
  /// unchanged when the object is damaged or holds no data.
  type_cBoolean Read(tgio_cASCII_istream& in) override { return ReadAtoms(in); }
  type_cBoolean Read(tgio_cBinary_istream& in) override { return ReadAtoms(in); }

  /// Writes the raw form in one piece: the calibration, then the raw form of the number array.
  type_cBoolean Write(bstr_cBinary_ostream& out) const {
    GatheredOutput gathered(out);
    return WriteRawCalibration(gathered, cal_) && this->WriteRawParts(gathered) && gathered.Finish();
  }
  /// Reads the raw form; returns false and leaves the array unchanged on failure.
  type_cBoolean Read(bstr_cBinary_istream& in) {
    Calibration cal;
    if (!ReadRawCalibration(in, cal) || !Numbers::Read(in)) return false;
    cal_ = cal;
    return true;
  }

  /// Collects the atoms of an array that is read from a tagged stream.
  struct DATASTORAGE_TEMPLATE sDarrayData : Record<sDarrayData, typename Numbers::sParrayData> {
    Calibration cal;  ///< the default until the calibration is read
    /// The atom in addition to those of the numbers.
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
