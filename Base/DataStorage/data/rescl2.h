#pragma once

#include <DataStorage/data/darray2d.h>
#include <DataStorage/positions/pos2d.h>

/// @file
/// Resampling of data arrays to another spacing, and transformation of positions to another calibration.
/// Resampling sets every new element to one element of the source and keeps the type; it never averages or
/// interpolates.
///
/// The old and the new step must have the same sign; negative steps are treated as the mirror image of
/// positive ones. Other steps, and those that need more elements than an array can have, throw
/// arr_cSizeException.

/// Resamples `source` to a grid of step `newDelta` through the position `origin`: the result has the new
/// cells whose centres are inside the source's range, each with the source element at its centre. For the
/// delta of the source it returns a copy.
DATASTORAGE_EXPORT darr_c1DArray resc_Rescale(const darr_c1DArray& source, double newDelta, double origin);

/// Resamples `source` to a grid of steps `newDeltaX`, `newDeltaY` through its first position: the result has
/// every new cell that the source's range touches, each with the source element at its start. For the deltas
/// of the source it returns a copy.
DATASTORAGE_EXPORT darr_c2DArray resc_Rescale(const darr_c2DArray& source, double newDeltaX,
                                              double newDeltaY);

/// Transforms a position in the range of `array` to the position that it has when the elements are calibrated
/// by `cal`; positions outside are extrapolated linearly. Along each axis, with N elements, the result is
///
///     cal.PositionX(0) + N cal.DeltaX() (x - StartX) / (EndX - StartX)
///
/// An array without elements returns not-a-number or an infinity.
DATASTORAGE_EXPORT pos_c1DPosition darr_Transform(const pos_c1DPosition& position, const darr_c1DArray& array,
                                                  const cal_c1DArrayCal& cal);
DATASTORAGE_EXPORT pos_c2DPosition darr_Transform(const pos_c2DPosition& position, const darr_c2DArray& array,
                                                  const cal_c2DArrayCal& cal);
