#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

#include <DataStorage/data/asciirw.h>
#include <DataStorage/data/darray1d.h>
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/series/storedseries.h>

int main(int argc, char* argv[]) try {
  if (argc < 2) return 2;
  // Another program has written the file, or is still writing it.
  const dtsr_cFileSeries<darr_c1DArray> file(argv[1], bstr_OpenReadOnly);
  const dtsr_cDimensionArray& dimensions = file.DimensionArray();
  for (int k = 0; k < dimensions.NumberDimensions(); ++k) {
    dtsr_cDimension& axis = dimensions.Dimension(k);
    std::cout << axis.Description().CString() << ": " << axis.Size() << " from "
              << axis.Calibration().PositionX(0) << " by " << axis.Calibration().DeltaX() << ' '
              << axis.Units().CString() << (axis.bReverseOrder() ? ", last one first\n" : "\n");
  }
  std::cout << file.NextWriteIndex() << " of " << file.Size() << " data\n";

  if (argc == 2) return 0;
  if (argc - 2 != dimensions.NumberDimensions()) throw std::runtime_error("one position for each dimension");
  arr_cC_Array<double> place(argc - 2);
  for (int k = 0; k < place.Size(); ++k) {
    char* end;
    place[k] = std::strtod(argv[k + 2], &end);
    if (*end != '\0') throw std::runtime_error(std::string("not a number: ") + argv[k + 2]);
  }
  const arr_cC_Array<int> indices = dimensions.IndexPosition(place);
  for (int k = 0; k < place.Size(); ++k) {  // outside a dimension it could be the index of another datum
    if (indices[k] < 0 || indices[k] >= dimensions.Dimension(k).Size()) {
      throw std::runtime_error("a place outside of the dimensions");
    }
  }
  const int i = dimensions.Index(indices);
  const darr_c1DArray datum = file.Datum(i);

  // All tags of a file are of one kind; each kind has a class into which it is read.
  dtsr_cDataTag time;
  dtsr_c2DPosition position;
  const bool has_position = file.TagTypeID() == obty_2DPositionType;
  dtsr_cDataTag& tag = has_position ? position : time;
  file.GetTag(i, tag);
  std::cout << "datum " << i << ", taken at time " << tag.Time();
  if (has_position) std::cout << " at (" << position.X() << ", " << position.Y() << ')';
  std::cout << ", elements of type " << datum.DataType().StringOut().CString() << ":\n";
  asrw_WriteTwoColumn(std::cout, datum, 4, 0);
} catch (const expt_cUserException& error) {
  std::cerr << error.Message().CString() << '\n';
  return 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
