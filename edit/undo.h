// The undo log of all documents: one ordered tree of records keyed by document and number.
// Every undoable edit is a record applied by edittodo and reversed by editundo.
#pragma once
#include <cstdint>
#include <string>

#include "edit/optree.h"

void openlog(const std::string &name);
void closelog(const std::string &name);
Oper *firstop();
Oper *lastop();
Oper *findop(int64_t v);
void addop(Oper *o);
void edittodo(int64_t v);
void editundo(int64_t v);
bool canundo();
void undo();
// False when the last record is no undo: nothing to redo.
bool redo();
// Forgets every record but the base records; false when there was none.
bool dropoplog();
// Removes every record of every document, base records too: the editor's state starts over.
void forgetlogs();
// One line for each record in order, then the tree's black height.
std::string dumplog();

void logtyped(unsigned char b);
void logback();
void logkill(const std::string &s);
void logyank();
void logtaps(const std::string &digits, unsigned char b);
void logvows();
// Changes the front of each whole line of the selection, or of the text, by b and takes the
// blanks off their ends; some ranges are refused, and then no record is made.
void logdent(unsigned char b);

// Types 1 (Swap, also every base record), 3 (the sort of definitions, which is reversed here from
// the text it keeps) and 7 (Dent) are applied and reversed by their commands: edit/find.cpp,
// edit/vows.cpp and edit/dent.cpp hold these.
void swaptodo(Oper *o);
void swapundo(Oper *o);
void vowstodo(Oper *o);
void denttodo(Oper *o);
void dentundo(Oper *o);
