#pragma once

#include <DataStorage/data/darray2d.h>
#include <DataStorage/positions/pos2d.h>

/// @file
/// Work across calibrations: resampling onto another spacing, and carrying positions over. Resampling picks
/// for every new element one element of the source, whose type is kept; it never averages or interpolates.
///
/// The old and the new step have the same sign, and falling axes (negative steps) are treated as the mirror
/// image of rising ones. Other steps, and those that no array can have the elements for, raise arr_SizeError.

/// `source` on a grid of step `newDelta` through the position `origin`: the new cells whose centres lie
/// inside the source's range, each with the element in which its centre falls. The delta of the source gives
/// a copy.
DATASTORAGE_EXPORT darr_c1DArray resc_Rescale(const darr_c1DArray& source, double newDelta, double origin);

/// `source` on a grid of steps `newDeltaX`, `newDeltaY` through its own first position: every new cell that
/// its range touches, each with the element in which its start falls. Both deltas of the source give a copy.
DATASTORAGE_EXPORT darr_c2DArray resc_Rescale(const darr_c2DArray& source, double newDeltaX,
                                              double newDeltaY);

/// The position at the same fraction of the elements of `array`, laid out by `cal`, as `position` has of the
/// array's range; positions outside are carried on linearly. Along each axis that is, with N elements,
///
///     cal.PositionX(0) + N cal.DeltaX() (x - StartX) / (EndX - StartX)
///
/// An array without elements gives not-a-number or an infinity.
DATASTORAGE_EXPORT pos_c1DPosition darr_Transform(const pos_c1DPosition& position, const darr_c1DArray& array,
                                                  const cal_c1DArrayCal& cal);
DATASTORAGE_EXPORT pos_c2DPosition darr_Transform(const pos_c2DPosition& position, const darr_c2DArray& array,
                                                  const cal_c2DArrayCal& cal);
