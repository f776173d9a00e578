#pragma once

/// @file
/// Brings in the whole library.

#include <DataStorage/data/asciirw.h>
#include <DataStorage/data/convert.h>
#include <DataStorage/data/dataset.h>
#include <DataStorage/data/rescl2.h>
#include <DataStorage/positions/clipline.h>
#include <DataStorage/positions/poslist.h>
#include <DataStorage/series/fileseries.h>
#include <DataStorage/series/memoryseries.h>
#include <DataStorage/series/seriesbase.h>
#include <DataStorage/services/application.h>
#include <DataStorage/services/binimage.h>
