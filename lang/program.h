// Programs: the prelude, a document's text loaded into the definition table, the checks over the
// whole table in their order, and the run of the main expression, each reported as an Outcome.
#pragma once
#include <cstdint>
#include <string>

#include "core/cell.h"
#include "lang/unit.h"

extern const char prelude[];

void preludeload();
Outcome textload(int64_t base, const std::string &text);
Outcome textcheck();
// A run that was asked to halt reports "Interrupted" or "Out of memory" with the status Halts and
// leaves the tables empty.
Outcome textrun();
CellRef textresult();
// A whole evaluation of a text found at offset base of its document: the prelude, the load, the
// checks and the run. printed gets the printed result, or the message of a failure.
Outcome runprogram(int64_t base, const std::string &text, std::string &printed);
