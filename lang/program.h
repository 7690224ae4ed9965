// Programs: the prelude, loading a text into the definition table, the whole-program checks and
// the run of the main expression, each reported as an Outcome.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

// The steps of loading and checking that the run-time loader shares.
// The pieces of a normalised text between its depth-0 commas: the text before the first comma,
// then each piece after a comma, with the comma's index.
std::vector<std::pair<size_t, std::string>> pieces(const std::string &text);
// A parsed piece of the form name\body or name()\body: the name's core, whether it has the form
// with (), and the body, which that form wraps as I body. Nothing for any other piece.
struct Definition {
  std::string name;
  bool fresh;
  CellRef body;
};
std::optional<Definition> definitionof(const CellRef &t);
// The global names a definition refers to, in plain byte order.
std::vector<std::string> refsof(const CellRef &term);
// The number of leading parameters of a definition.
int paramcount(const CellRef &term);
// Takes out of the interned set every member that is not a value.
void keepvalues();
