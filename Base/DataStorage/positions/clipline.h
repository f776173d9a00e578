#pragma once

/// @file
/// Segments between positions.

#include <DataStorage/positions/pos2d.h>
#include <DataStorage/positions/range2d.h>

/// Cuts the segment from p1 to p2 down to the part that lies in the range and moves its ends there, p1 first,
/// like any other change of a position. False, and the ends not touched, when no part lies in the range. A
/// range that is turned cuts nothing: true only when it holds the whole box around the segment.
DATASTORAGE_EXPORT type_cBoolean rnge_ClipLine(const rnge_c2DRange& range, pos_c2DPosition& p1,
                                               pos_c2DPosition& p2);

/// The length of the segment from a to b.
DATASTORAGE_EXPORT double pos_Distance(const pos_c2DPosition& a, const pos_c2DPosition& b) noexcept;

/// The direction from a to b in radians, -pi to pi, counter-clockwise from the X axis (Y points up); 0 when
/// the positions coincide.
DATASTORAGE_EXPORT double pos_Angle(const pos_c2DPosition& a, const pos_c2DPosition& b) noexcept;
