// Printing of terms: the text of a result, of a message and of a quoted expression.
// It reads like source, and writes two terms side by side wherever the tokens stay apart.
#pragma once
#include <string>

#include "core/cell.h"

std::string termprint(const CellRef &term);
