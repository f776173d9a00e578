#pragma once

#include <functional>
#include <memory>
#include <string>

#include "file/series.h"

// The checksums beside a series file.

namespace dseries {

/// The file with the checksums of a series file.
std::string ChecksumsPath(const std::string& series);
/// Removes it, if there is one: for a series that is made anew.
void RemoveChecksums(const std::string& series);
/// The series, if it opens and has checksums of its data; otherwise null.
std::unique_ptr<Series> OpenSealed(const std::string& path);
/// A sentence about checksums that are there, but not of this series or damaged; otherwise empty.
std::string UnusedChecksums(const std::string& path);
/// Throws Failure when checksums cannot be written beside a series, which need not exist.
void RequireChecksums(const std::string& path);

/// The result of sealing a series.
struct Sealed {
  int before = 0;  ///< data that had checksums, and match them
  int sealed = 0;  ///< data that have got one
};

/// Stores checksums for all data that have none. Throws Failure, and stores nothing, when the file is
/// damaged, does not match the checksums that it has, or another program writes to the series. With `renew`,
/// checksums that are there are replaced. Calls `progress` with the number of data that are checked.
Sealed Seal(const std::string& path, bool renew, const std::function<void(int done, int data)>& progress);

}  // namespace dseries
