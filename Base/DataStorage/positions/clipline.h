#pragma once

/// @file
/// Clipping segments to ranges.

#include <DataStorage/positions/pos2d.h>
#include <DataStorage/positions/range2d.h>

/// Clips the segment from p1 to p2 to the range: moves its ends, p1 first, with messages and limits like any
/// other change. Returns false and moves nothing when no part lies in the range. Does not clip to a rotated
/// range: returns true only when that contains the bounding box of the segment.
DATASTORAGE_EXPORT type_cBoolean rnge_ClipLine(const rnge_c2DRange& range, pos_c2DPosition& p1,
                                               pos_c2DPosition& p2);
