// The table of known combinations of standard, sample layout and data format.
#pragma once

#include "raster/rzl.h"

constexpr int FORMAT_ROW_COUNT = 172;

// FORMAT_ROW_COUNT rows.
const rzl_format_row* format_table();
