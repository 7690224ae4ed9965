// The parser as it was first written, kept as the oracle of the parser's tests.
// It recurses by nesting and scans each group again at every level, so it takes short texts only.
#pragma once
#include <string>

#include "core/cell.h"

CellRef ladderparse(const std::string &text);
