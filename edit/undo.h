// The undo log of all documents: one ordered tree of records keyed by document and number.
// Every undoable edit is a record applied by edittodo and reversed by editundo.
#pragma once
#include <string>

void openlog(const std::string &name);
