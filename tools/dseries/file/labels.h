#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace dseries {

/// The name of an axis, or of values, and its units; empty where they are not known.
struct Label {
  std::string name, units;

  bool bEmpty() const { return name.empty() && units.empty(); }
  bool operator==(const Label&) const = default;
};

/// Reads "Energy (eV)", "Energy [eV]" or "Energy/eV". A slash separates units only where units known here
/// follow it and the text before it is no unit itself: "counts/s" and "signal/noise" are names.
Label ParseLabel(std::string_view text);
/// "Energy (eV)", in one line that is safe for a terminal; `name` replaces an empty name.
std::string LabelText(const Label& label, std::string_view name = "");

/// What a series file says about its data and has no place for itself. It lies beside the file in
/// NAME.dseries.json and may be missing. It holds only text, so it stays valid whatever is appended.
struct Labels {
  using Json = nlohmann::ordered_json;

  std::string title;
  Label x, y;                        ///< the axes within a datum; y only for 2D data
  Label value;                       ///< of the elements
  Json attributes = Json::object();  ///< any others, such as sample and operator, by name
  Json document = Json::object();    ///< as read: members that are unknown here are kept when it is written

  bool bEmpty() const { return AsJson().empty(); }
  /// The document to write: the members above in this order, without the empty ones, then unknown ones.
  Json AsJson() const;
};

/// Reads the text of a document with labels. Throws Failure when it is none.
Labels ParseLabels(const std::string& text);

/// The file with the labels of a series file; links to the series are followed.
std::string LabelsPath(const std::string& series);
/// Empty labels when there is no file of labels. Throws Failure when it cannot be read or is damaged.
Labels ReadLabels(const std::string& series);
/// Writes the file whole or not at all, or removes it when the labels are empty. Throws Failure when it
/// cannot, or when the labels could not be read back.
void WriteLabels(const std::string& series, const Labels& labels);

/// The value of an attribute that a user typed: true, false, a number, or else a text.
Labels::Json ParseAttribute(const std::string& text);

}  // namespace dseries
