#pragma once

/// @file
/// The constants of streams, files and messages. The numbers and names are persistent: a released value never
/// changes.

/// An atom of arrays: its tag in binary streams or its name in ASCII streams.
inline constexpr unsigned short parr_DataTypeTag = 0x0200;
inline constexpr char parr_DataTypeString[] = "DataType";
inline constexpr unsigned short parr_DataTag = 0x0210;
inline constexpr char parr_DataString[] = "Data";
inline constexpr unsigned short darr_CalibrationTag = 0x0220;
inline constexpr char darr_CalibrationString[] = "Calibration";

/// An atom of positions.
inline constexpr unsigned short pos_X_Tag = 0x0300;
inline constexpr char pos_X_String[] = "X";
inline constexpr unsigned short pos_Y_Tag = 0x0310;
inline constexpr char pos_Y_String[] = "Y";

/// An atom of ranges.
inline constexpr unsigned short rnge_XminTag = 0x0400;
inline constexpr char rnge_XminString[] = "Xmin";
inline constexpr unsigned short rnge_XmaxTag = 0x0410;
inline constexpr char rnge_XmaxString[] = "Xmax";
inline constexpr unsigned short rnge_XcenterTag = 0x0420;
inline constexpr char rnge_XcenterString[] = "Xcenter";
inline constexpr unsigned short rnge_YcenterTag = 0x0430;
inline constexpr char rnge_YcenterString[] = "Ycenter";
inline constexpr unsigned short rnge_XwidthTag = 0x0440;
inline constexpr char rnge_XwidthString[] = "Xwidth";
inline constexpr unsigned short rnge_YwidthTag = 0x0450;
inline constexpr char rnge_YwidthString[] = "Ywidth";
inline constexpr unsigned short rnge_AngleTag = 0x0460;
inline constexpr char rnge_AngleString[] = "Angle";

/// The object type of a persistent class. The 1D and 2D data array types are also the data type identifiers
/// of series files; the 2D position type and `obty_DataTagType` are the tag kinds of data series.
inline constexpr unsigned short obty_1DParrayType = 0x0101;
inline constexpr char obty_1DParrayString[] = "1D number array";
inline constexpr unsigned short obty_2DParrayType = 0x0102;
inline constexpr char obty_2DParrayString[] = "2D number array";
inline constexpr unsigned short obty_1DCalType = 0x0111;
inline constexpr char obty_1DCalString[] = "1D calibration";
inline constexpr unsigned short obty_2DCalType = 0x0112;
inline constexpr char obty_2DCalString[] = "2D calibration";
inline constexpr unsigned short obty_1DDataArrayType = 0x0121;
inline constexpr char obty_1DDataArrayString[] = "1D data array";
inline constexpr unsigned short obty_2DDataArrayType = 0x0122;
inline constexpr char obty_2DDataArrayString[] = "2D data array";
inline constexpr unsigned short obty_1DPositionType = 0x0131;
inline constexpr char obty_1DPositionString[] = "1D position";
inline constexpr unsigned short obty_2DPositionType = 0x0132;
inline constexpr char obty_2DPositionString[] = "2D position";
inline constexpr unsigned short obty_2DPosListType = 0x0133;
inline constexpr char obty_2DPosListString[] = "2D position list";
inline constexpr unsigned short obty_1DRangeType = 0x0141;
inline constexpr char obty_1DRangeString[] = "1D range";
inline constexpr unsigned short obty_2DRangeType = 0x0142;
inline constexpr char obty_2DRangeString[] = "2D range";
inline constexpr unsigned short obty_DataTagType = 0x0150;

/// A message: `Changing` offers a change, `Changed` announces one that has been made.
inline constexpr unsigned long pos_1DPositionChanging = 0x1000;
inline constexpr unsigned long pos_1DPositionChanged = 0x1001;
inline constexpr unsigned long pos_2DPositionChanging = 0x1010;
inline constexpr unsigned long pos_2DPositionChanged = 0x1011;
inline constexpr unsigned long pos_2DPositionListChanging = 0x1020;
inline constexpr unsigned long pos_2DPositionListChanged = 0x1021;
inline constexpr unsigned long rnge_1DRangeChanging = 0x1030;
inline constexpr unsigned long rnge_1DRangeChanged = 0x1031;
inline constexpr unsigned long rnge_2DRangeChanging = 0x1040;
inline constexpr unsigned long rnge_2DRangeChanged = 0x1041;

/// A word in file headers.
inline constexpr unsigned short flfm_LittleEndian = 0x4949;   // the same bytes in either order, "II"
inline constexpr unsigned short flfm_DataSeriesID = 0x5344;   // "DS"
inline constexpr unsigned short flfm_BinaryImageID = 0x4942;  // "BI"

/// Magnitudes below this count as zero where a step or a slope must not vanish.
inline constexpr double type_MinValue = 1e-30;
