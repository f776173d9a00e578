// Checks what a program outside the project needs: the headers, the exported symbols, class-wide objects,
// exceptions that keep their types when they leave the library, messages, and classes of its own that derive
// from those of the library.
#include <cstdio>
#include <iostream>
#include <limits>
#include <sstream>

#include <DataStorage/DataStorage.h>

namespace {

/// Links the virtual functions of arrays of any element type, which are in the library.
template <class T>
bool bArraysLink() {
  const arr_c1DNumberArray<T> line(2);
  return arr_c2DNumberArray<T>(2, 1).Row(0).NumIndices() == line.NumIndices();
}

/// Catches the exception that `f` throws as the class that the library threw.
template <class Exception, class F>
bool bThrows(F f) {
  try {
    f();
  } catch (const Exception&) {
    return true;
  }
  return false;
}

class Limit : public mesg_cReceiver {
 public:
  void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override {
    if (id != rnge_1DRangeChanging || dynamic_cast<rnge_c1DRange*>(&sender) == nullptr) return;
    auto& change = dynamic_cast<rnge_s1DRangeChange&>(*data);
    change.Modified = change.NewRange.EndX() > 1;
    if (change.Modified) change.NewRange.SetRange(0.0, 1.0);
  }
};

bool bArrays() {
  const darr_c1DArray array(4, pnum_cNumber(2.5), cal_c1DArrayCal(1.0, 0.5));
  std::stringstream stream;
  tgio_cBinary_ostream(stream).Write(array);
  darr_c1DArray copy;
  if (!tgio_cBinary_istream(stream).Read(copy) || copy.Cal() != array.Cal()) return false;
  const arr_c2DNumberArray<short> typed = parr_c2DNumberArray(3, 2, pnum_cNumber(short{7}));
  return copy.Value(2.0, darr_LinearInterpolation).Value() == 2.5 && typed.Value(2, 1) == 7 &&
         bArraysLink<char>() && bArraysLink<comp_cComplex<float>>() && bArraysLink<type_cBoolean>();
}

bool bExceptions() {
  bool text = false;
  try {
    pnum_cNumber(1e10).Count();
  } catch (const expt_cUserException& error) {
    text = error.Message() == "Cannot convert to integer - out of range.";
  }
  return text && bThrows<arr_cIndexException>([] { darr_c1DArray().Value(4); }) &&
         bThrows<arr_cSizeException>([] { parr_c1DNumberArray(-1, dtyp_UBin8); });
}

bool bClassWideObjects() {
  const darr_c1DArray array;
  const tgio_cTaggedStreamObject& object = array;
  return &object.ObjectType() == &darr_c1DArray::_ObjectType && str_cString::Null.Length() == 0 &&
         rnge_c1DRange::Null == rnge_c1DRange(rnge_c1DRange::Null) &&
         parr_c1DNumberArray::t1DValueArray == dtyp_Float64 && cal_c1DArrayCal::Default.DeltaX() == 1;
}

bool bMessages() {
  Limit limit;
  rnge_c1DRange range(10.0, 20.0);
  range.AddReceiver(limit, 0);
  range.SetRange(5.0, 6.0);
  return range.StartX() == 0 && range.EndX() == 1;
}

bool bSeries() {
  const char* const path = "consumer.dseries";
  dtsr_cDimensionArray line(1);
  line.Dimension(0) = dtsr_cDimension(2, cal_c1DArrayCal(0, 1), "x", "um", false);
  {
    dtsr_cFileSeries<darr_c1DArray> series(path, line, bstr_CreateLocked);
    series.Append(darr_c1DArray(3, pnum_cNumber(7), cal_c1DArrayCal()), dtsr_c2DPosition(1, 2, 3));
    if (!bThrows<dtsr_cFileLockedException>([&] { dtsr_cFileSeries<darr_c1DArray> second(path); }))
      return false;
  }
  bool read = false;
  {
    const dtsr_cFileSeries<darr_c1DArray> series(path, bstr_OpenReadOnly);
    read = series.NumberValidData() == 1 && series.Datum(0).Value(2).Count() == 7;
  }
  return std::remove(path) == 0 && read;
}

}  // namespace

int main() {
  const struct {
    const char* name;
    bool (*passes)();
  } checks[] = {{"arrays", bArrays},
                {"exceptions", bExceptions},
                {"class-wide objects", bClassWideObjects},
                {"messages", bMessages},
                {"series", bSeries}};
  int failures = 0;
  for (const auto& check : checks) {
    if (check.passes()) continue;
    std::cerr << "the consumer failed: " << check.name << '\n';
    ++failures;
  }
  return failures;
}
