#pragma once

/// @file
/// Segments and ranges.

#include <DataStorage/positions/pos2d.h>
#include <DataStorage/positions/range2d.h>

/// Cuts the segment from p1 to p2 down to the part that lies in the range and moves its ends there, p1 first,
/// like any other change of a position. False, and the ends not touched, when no part lies in the range. A
/// range that is turned cuts nothing: true only when it holds the whole box around the segment.
DATASTORAGE_EXPORT type_cBoolean rnge_ClipLine(const rnge_c2DRange& range, pos_c2DPosition& p1,
                                               pos_c2DPosition& p2);
