// Programs: the prelude, loading a text into the definition table, the whole-program checks and
// the run of the main expression, each reported as an Outcome.
#pragma once
#include <cstdint>
#include <string>

#include "core/cell.h"

struct Outcome {
  std::string name;          // the function the report concerns
  int64_t where = -1;        // position in the document, -1 for none
  std::string status = "Empty";  // one five-letter word; "Empty" means no error
  std::string message;       // the text for the user
};

extern const char prelude[];

void preludeload();
Outcome textload(int64_t base, const std::string &text);
Outcome textcheck();
Outcome textrun();
CellRef textresult();
// A whole evaluation of a text found at offset base of its document: the prelude, the load, the
// checks and the run. printed gets the printed result, or the message of a failure.
Outcome runprogram(int64_t base, const std::string &text, std::string &printed);
// The table of the C records' sizes and field offsets that programs find under "_".
std::string layouttable();
