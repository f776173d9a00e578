#include "seeds.h"

#include <sstream>

#include "arrayseries.h"
#include "objects.h"
#include <DataStorage/data/asciirw.h>
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/services/binimage.h>

using namespace fuzz;

namespace {

class SeedList {
 public:
  /// Adds a seed, named by its kind and a number.
  void Add(const std::string& target, const std::string& kind, std::string bytes) {
    seeds_.push_back({target, kind + std::to_string(seeds_.size()), std::move(bytes)});
  }
  std::vector<Seed> Take() { return std::move(seeds_); }

 private:
  std::vector<Seed> seeds_;
};

dtsr_cDimensionArray Dimensions() {
  dtsr_cDimensionArray dimensions(2);
  dimensions.Dimension(0) = dtsr_cDimension(2, cal_c1DArrayCal(1, 0.5, 0), "bias", "V", true);
  dimensions.Dimension(1) = dtsr_cDimension(2, cal_c1DArrayCal(0, 1, 0), "", "nm", false);
  return dimensions;
}

void AddSeries(SeedList& seeds) {
  const MemoryDisk disk;
  ArraySeries series(Dimensions());
  seeds.Add("series", "empty", MemoryDisk::file);
  series.Append(darr_c1DArray(2, 1.5, cal_c1DArrayCal()), dtsr_c2DPosition(1, 2, 3));
  seeds.Add("series", "one", MemoryDisk::file);
  while (series.NextWriteIndex() < series.Size())
    series.Append(darr_c1DArray(1, 7, cal_c1DArrayCal()), dtsr_c2DPosition(4, 5, 6));
  seeds.Add("series", "full", MemoryDisk::file);
  ArraySeries plain(Dimensions());
  plain.Append(darr_c1DArray(), dtsr_cDataTag(3));
  seeds.Add("series", "plain", MemoryDisk::file);
}

void AddArrays(SeedList& seeds) {
  for (int type = dtyp_UBin8; type <= dtyp_Complex128; ++type) {
    const pnum_cNumber value(1.5, static_cast<dtyp_eDataType>(type));
    const darr_c1DArray line(3, value, cal_c1DArrayCal(1, 2, 3));
    const darr_c2DArray image(2, 2, value, cal_c2DArrayCal(1, 2, 3, 4, 5, 6));
    seeds.Add("raw_arrays", "line", RawForm(static_cast<const parr_c1DNumberArray&>(line)));
    seeds.Add("raw_arrays", "image", RawForm(static_cast<const parr_c2DNumberArray&>(image)));
    seeds.Add("raw_arrays", "calibrated_line", RawForm(line));
    seeds.Add("raw_arrays", "calibrated_image", RawForm(image));
    seeds.Add("binary_tagged", "line", TaggedForm<Binary>(line));
    seeds.Add("ascii_tagged", "image", TaggedForm<Ascii>(image));
  }
  bstr_cMemory_ostream header;
  bstr_WriteFields(header, flfm_LittleEndian, flfm_BinaryImageID);
  seeds.Add("raw_arrays", "file_image",
            std::string(static_cast<const char*>(header.Data()), 4) + RawForm(parr_c2DNumberArray(3, 1, 7)));
}

void AddObjects(SeedList& seeds) {
  std::string all_binary, all_text;
  const auto add = [&](const tgio_cTaggedStreamObject& object) {
    seeds.Add("binary_tagged", "object", TaggedForm<Binary>(object));
    seeds.Add("ascii_tagged", "object", TaggedForm<Ascii>(object));
    all_binary += TaggedForm<Binary>(object);
    all_text += TaggedForm<Ascii>(object);
  };
  std::apply([&](const auto&... objects) { (add(objects), ...); }, PersistentObjects());
  seeds.Add("binary_tagged", "all", all_binary);
  seeds.Add("ascii_tagged", "all", all_text);
}

void AddColumns(SeedList& seeds) {
  const double values[] = {0, -1.5, 1e300, 5e-324, 0.1};
  const darr_c1DArray line(arr_c1DNumberArray<double>(5, values), cal_c1DArrayCal(-1, 0.5));
  std::ostringstream one, two;
  asrw_WriteOneColumn(one, line, 6, 0);
  asrw_WriteTwoColumn(two, line, 17, std::ios::scientific);
  seeds.Add("columns", "one", one.str());
  seeds.Add("columns", "two", two.str());
  seeds.Add("columns", "falling", "3\t1\n2\tnan\n1\tinf\n");
}

void AddBitmaps(SeedList& seeds) {
  for (const int width : {0, 3, 4}) {
    bstr_cMemory_ostream out;
    dbrw_Write(out, arr_c2DNumberArray<unsigned char>(width, 2, nullptr, 200, true));
    seeds.Add("bitmap", "picture",
              {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())});
  }
}

void AddRecords(SeedList& seeds) {
  const dtsr_cDimensionArray dimensions = Dimensions();
  seeds.Add("records", "dimension", RawForm(dimensions.Dimension(0)));
  seeds.Add("records", "dimensions", RawForm(dimensions));
  seeds.Add("records", "tag", RawForm(dtsr_cDataTag(1000000000)));
  seeds.Add("records", "position", RawForm(dtsr_c2DPosition(1.5, -2, 1000000000)));
}

void AddInputs(SeedList& seeds) {
  seeds.Add("texts", "csv", "# a\nx (s),y,z\n1.5,2,OK\n2.5,,NA\n3.5,1e5,OK\n");
  seeds.Add("texts", "decimal_comma", "a;b\n1,5;2,5D+01\n2,5;-1\n");
  seeds.Add("texts", "quoted", "\"a \"\"b\"\", c\",d\n\"1\",\"2,5\"\n");
  seeds.Add("texts", "blanks", "Data\r\n1\t2 % c\r\n2\t\t3\r\n3 1.#IND\r\n");
  seeds.Add("texts", "wide",
            std::string("\xFF\xFE"
                        "1\0,\0002\0\n\0",
                        10));
  seeds.Add("texts", "table", "datum,n,time,position,value\n0,0,1970-01-01,1,2\n1,1,1970-01-02,1,2\n");
  seeds.Add("pictures", "pgm", "P5\n2 2\n999\n12345678");
  seeds.Add("pictures", "plain", "P3\n1 1 # c\n255\n1 2 3");
  bstr_cMemory_ostream bitmap, header;
  dbrw_Write(bitmap, arr_c2DNumberArray<unsigned char>(3, 2, nullptr, 200, true));
  bstr_WriteFields(header, 'B', 'M', std::uint32_t{0}, std::uint32_t{0}, std::uint32_t{1078});
  seeds.Add(
      "pictures", "bmp",
      std::string(static_cast<const char*>(header.Data()), 14) +
          std::string(static_cast<const char*>(bitmap.Data()), static_cast<std::size_t>(bitmap.Size())));
  std::string npy = "{'descr': '>i8', 'fortran_order': True, 'shape': (1, 2), }\n";
  npy = std::string("\x93NUMPY\1\0", 8) + static_cast<char>(npy.size()) + '\0' + npy;
  seeds.Add("pictures", "npy", npy + std::string(16, '\1'));
}

}  // namespace

std::vector<Seed> Seeds() {
  SeedList seeds;
  AddSeries(seeds);
  AddArrays(seeds);
  AddObjects(seeds);
  AddColumns(seeds);
  AddBitmaps(seeds);
  AddRecords(seeds);
  AddInputs(seeds);
  return seeds.Take();
}
