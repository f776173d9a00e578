#pragma once

#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>

/// The message log of an application. This one writes each message as a line to `std::clog`.
class DATASTORAGE_EXPORT mslg_cMessageLog {
 public:
  virtual ~mslg_cMessageLog();
  /// Appends one line.
  virtual void Write(const str_cString& message);
};
