#pragma once

#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>

/// Where an application tells what happened. This one writes a line for each message to `std::clog`.
class DATASTORAGE_EXPORT mslg_cMessageLog {
 public:
  virtual ~mslg_cMessageLog();
  /// Appends one line.
  virtual void Write(const str_cString& message);
};
