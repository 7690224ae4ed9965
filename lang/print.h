// Printing of terms: the text of a result, of a message and of a quoted expression.
// It reads like source, and writes two terms side by side wherever the tokens stay apart.
#pragma once
#include <string>

#include "core/cell.h"

// The text of a term; empty, with a halt asked for, when the run may not hold it (no text of a
// term is empty).
std::string termprint(const CellRef &term);
