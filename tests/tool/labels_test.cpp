#include "file/labels.h"

#include <algorithm>
#include <tuple>

#include "file/failure.h"
#include "tool.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

TEST(Label, IsReadFromOneText) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"Energy (eV)", "Energy", "eV"},
      {" Energy[eV] ", "Energy", "eV"},
      {"Energy/eV", "Energy", "eV"},
      {"q / nm⁻¹", "q", "nm⁻¹"},
      {"Rate / (counts/s)", "Rate", "counts/s"},
      {"Flux/W m-2", "Flux", "W m-2"},
      {"2θ (°)", "2θ", "°"},
      {"Width/µm", "Width", "µm"},
      {"I (counts (a.u.))", "I", "counts (a.u.)"},
      {"(eV)", "", "eV"},
      {"counts", "counts", ""},
      {"counts/s", "counts/s", ""},
      {"signal/noise", "signal/noise", ""},
      {"I/I0", "I/I0", ""},
      {"a)b (", "a)b (", ""},
      {"(left)", "(left)", ""},
      {"x/", "x/", ""},
      {"", "", ""},
  };
  for (const auto& [text, name, units] : cases) {
    const dseries::Label label = dseries::ParseLabel(text);
    EXPECT_EQ(label.name, name) << text;
    EXPECT_EQ(label.units, units) << text;
    EXPECT_EQ(dseries::ParseLabel(dseries::LabelText(label)), label) << text;
  }
  EXPECT_EQ(dseries::ParseLabel("x/" + std::string(100000, 'm')).units, "");
}

class LabelFiles : public Tool {
 protected:
  void SetUp() override {
    Write("a.txt", "10 1\n11 nan\n12 4\n");
    Succeed("create a.dseries --dim n,,3,0,1");
    Succeed("append a.dseries a.txt --time 7");
  }
};

TEST_F(LabelFiles, AreWrittenWholeAndKeepWhatOthersWrote) {
  EXPECT_EQ(Succeed("label a.dseries"), "a.dseries: no labels\n");
  Write("a.dseries.json",
        "\xEF\xBB\xBF{ \"lab\": [1, {\"b\": 2}], \"value\": {\"name\": \"counts\", \"kind\": 1},\n"
        "\"attributes\": {\"run\": 3, \"nested\": {\"a\": null}}, \"axes\": {\"z\": 0}}");
  Succeed("label a.dseries --title \"$(printf 'L\\344nge')\" --x Energy/eV --set run=0012 --set on=true");
  EXPECT_EQ(Succeed("label a.dseries --set a.b=1.50 --set id=12345678901234567890123 --unset on"),
            "a.dseries\n  title   Länge\n  x       Energy (eV)\n  value   counts\n  run     0012\n"
            "  nested  {\"a\":null}\n  a.b     1.5\n  id      12345678901234567890123\n");
  const std::string written = Read("a.dseries.json");
  EXPECT_EQ(
      nlohmann::ordered_json::parse(written).dump(),
      "{\"title\":\"Länge\",\"axes\":{\"x\":{\"name\":\"Energy\",\"units\":\"eV\"},\"z\":0},"
      "\"value\":{\"name\":\"counts\",\"kind\":1},\"attributes\":{\"run\":\"0012\",\"nested\":{\"a\":null},"
      "\"a.b\":1.5,\"id\":\"12345678901234567890123\"},\"lab\":[1,{\"b\":2}]}");
  EXPECT_EQ(Succeed("label a.dseries --json"), written);
  for (const auto& [arguments, complaint] : {std::pair("--y depth", "1D data have no Y axis"),
                                             {"--set run", "write it as name=value"},
                                             {"--set =1", "write it as name=value"},
                                             {"--unset none", "no attribute 'none'"}}) {
    EXPECT_THAT(Run(std::string("label a.dseries --title x ") + arguments).err, HasSubstr(complaint));
  }
  // A full disk, and a link.
  const Result full = Run("label a.dseries --title " + std::string(5000, 'x'), "ulimit -f 1;");
  EXPECT_THAT(full.err, HasSubstr("a.dseries.json cannot be written: "));
  EXPECT_EQ(Read("a.dseries.json"), written);
  EXPECT_EQ(Files(), "a.dseries a.dseries.json a.txt err.txt out.txt ");
  std::filesystem::create_symlink("a.dseries", folder_ / "latest");
  EXPECT_THAT(Succeed("label latest"), HasSubstr("Länge"));
  Write("a.dseries.json", "{}");
  Succeed("label a.dseries --title x");
  Succeed("label a.dseries --title ''");
  EXPECT_FALSE(bExists("a.dseries.json"));
}

TEST_F(LabelFiles, DoNoHarmWhenDamaged) {
  const std::pair<std::string, const char*> cases[] = {
      {"", "not valid JSON at line 1, column 1"},
      {"{\"title\": \"x\"", "not valid JSON at line 1"},
      {"{\n \"title\": \"\xFF\"}", "not valid JSON at line 2"},
      {"[1]", "does not hold an object"},
      {"{\"title\": 3}", "\"title\" is not a text"},
      {"{\"axes\": {\"x\": \"eV\"}}", "\"x\" is not an object"},
      {"{\"value\": {\"units\": []}}", "\"units\" is not a text"},
      {"{\"attributes\": null}", "\"attributes\" is not an object"},
      {"{\"run\": 1e999}", "a number in it is too large"},
      {std::string(100000, '[') + std::string(100000, ']'), "nested more than 64 levels deep"},
      {"{\"a\": \"" + std::string(1 << 20, 'x') + "\"}", "more than 1.0 MiB"},
      {"folder", "it is a folder"},
      {"pipe", "it is not a regular file"},
  };
  const std::string plain = Succeed("info a.dseries");
  for (const auto& [bytes, fault] : cases) {
    std::filesystem::remove_all(folder_ / "a.dseries.json");
    if (bytes == "folder") {
      std::filesystem::create_directory(folder_ / "a.dseries.json");
    } else if (bytes == "pipe") {
      ASSERT_EQ(std::system(("mkfifo " + (folder_ / "a.dseries.json").string()).c_str()), 0);
    } else {
      Write("a.dseries.json", bytes);
    }
    const Result info = Run("info a.dseries a.dseries"), verify = Run("verify a.dseries"),
                 label = Run("label a.dseries --title new");
    EXPECT_EQ(info.out, plain + '\n' + plain) << fault;
    EXPECT_THAT(info.err, StartsWith("dseries: warning: a.dseries.json cannot be used: ")) << fault;
    EXPECT_THAT(info.err, HasSubstr(fault));
    EXPECT_EQ(std::count(info.err.begin(), info.err.end(), '\n'), 1) << info.err;  // reported once
    EXPECT_EQ(verify.status, 1) << fault;
    EXPECT_THAT(verify.out, HasSubstr(fault));
    EXPECT_EQ(verify.err, "dseries: the labels of a.dseries are damaged\n");
    EXPECT_EQ(label.status, 1) << fault;
    EXPECT_THAT(label.err, HasSubstr(fault));
    if (bytes != "folder" && bytes != "pipe") {
      EXPECT_EQ(Read("a.dseries.json"), bytes) << fault;
    }
  }
}

TEST_F(LabelFiles, GoAlongWithTheirSeries) {
  const std::string options = " --dim n,,3,0,1 --title T --x 'Energy (eV)' --value counts --set by=me";
  Succeed("create b.dseries" + options);
  Succeed("append b.dseries a.txt a.txt");
  const std::string labels = Read("b.dseries.json");
  Succeed("convert b.dseries c.dseries --type float32");
  Succeed("repair b.dseries -o d");
  EXPECT_EQ(Read("c.dseries.json"), labels);
  EXPECT_EQ(Read("d.dseries.json"), labels);
  // Old labels do not come to lie beside other data.
  std::filesystem::remove(folder_ / "c.dseries");
  EXPECT_THAT(Run("create c.dseries --dim n,,1,0,1").err, HasSubstr("c.dseries.json exists already"));
  EXPECT_FALSE(bExists("c.dseries"));
  Succeed("create c.dseries --dim n,,1,0,1 --force");
  EXPECT_FALSE(bExists("c.dseries.json"));
  Succeed("convert a.dseries d --type float32 --force");
  EXPECT_FALSE(bExists("d.dseries.json"));
  EXPECT_NE(Run("create b.dseries --force --y q" + options).status, 0);
  EXPECT_EQ(Read("b.dseries.json"), labels);

  EXPECT_THAT(Succeed("plot b.dseries"), StartsWith("T\n"));
  EXPECT_THAT(Succeed("plot b.dseries"), HasSubstr("\ncounts\n"));
  EXPECT_THAT(Succeed("plot b.dseries"), HasSubstr(" Energy (eV)\n"));
  EXPECT_THAT(Succeed("plot b.dseries --heat"), HasSubstr("  counts\n"));
  EXPECT_THAT(Succeed("get b.dseries 0"), HasSubstr("\n  Energy (eV)  counts\n"));
  EXPECT_THAT(Succeed("export b.dseries 0 -o -"), StartsWith("Energy (eV),counts\n10,1\n"));
  Succeed("label b.dseries --x \"$(printf 'a\\tb,\\033c')\"");
  EXPECT_THAT(Succeed("export b.dseries 0 -o -"), StartsWith("\"a?b,?c\",counts\n"));
  EXPECT_THAT(Succeed("verify b.dseries"), Not(HasSubstr("note")));
  Write("b.dseries.json", "{\"axes\": {\"y\": {\"name\": \"depth\"}}}");
  EXPECT_THAT(Succeed("verify b.dseries"),
              HasSubstr("note: the labels name a Y axis, and 1D data have none"));
}

TEST_F(LabelFiles, StandInWhatAFileSaysAboutItself) {
  Succeed("label a.dseries --title T --x 'Energy (eV)' --value 'I (counts)'");
  Write("b.txt", "0 7\n0.5 8\n");
  EXPECT_THAT(Succeed("info a.dseries --stats"),
              HasSubstr("  elements  3 of type float64\n  x         Energy (eV) from 10 to 12 in steps of 1\n"
                        "  values    I (counts) 1 to 4, mean 2.5, 1 not a number\n"));
  Succeed("append a.dseries b.txt --type ubin8 --time 8");
  EXPECT_THAT(
      Succeed("info a.dseries"),
      HasSubstr(
          "  elements  2 … 3 of type ubin8 (1 datum), float64 (1 datum)\n  x         Energy (eV) from 0 "
          "to 12 in steps of 0.5 … 1, not the same in all data\n  values    I (counts)\n"));
  const auto json = nlohmann::json::parse(Succeed("info a.dseries --stats --json"));
  EXPECT_EQ(json["elements"], nlohmann::json({{"ubin8", 1}, {"float64", 1}}));
  EXPECT_EQ(json["axes"]["x"]["position"], nlohmann::json({0, 12}));
  EXPECT_EQ(json["axes"]["x"]["units"], "eV");
  EXPECT_EQ(json["values"]["mean"], 5);
  EXPECT_EQ(json["labels"]["title"], "T");
  // The element type of datum 1 is damaged: the others are described.
  std::string bytes = Read("a.dseries");
  bytes[63 + 3 * 8 + 26 + 3 * 8 + 8 + 20] = 99;
  Write("a.dseries", bytes);
  EXPECT_THAT(Succeed("info a.dseries"), HasSubstr("elements  3 of type float64\n"));
  EXPECT_THAT(Succeed("info a.dseries"), HasSubstr("damaged   1 datum; 'dseries verify a.dseries' lists"));
  EXPECT_EQ(Run("info a.dseries --stats").status, 1);
}

}  // namespace
