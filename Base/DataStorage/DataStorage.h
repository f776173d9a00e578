#pragma once

/// @file
/// Brings in the whole library.

#include <DataStorage/data/asciirw.h>
#include <DataStorage/data/convert.h>
#include <DataStorage/data/dataset.h>
#include <DataStorage/data/rescl2.h>
#include <DataStorage/positions/clipline.h>
#include <DataStorage/positions/poslist.h>
#include <DataStorage/series/storedseries.h>
#include <DataStorage/services/application.h>
#include <DataStorage/services/binimage.h>
