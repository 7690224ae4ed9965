// The built-in library: its 222 rows, filled into the table the language reads, each family's
// filler, and the reading of arguments out of an application.
#pragma once
#include <map>
#include <set>
#include <string>

#include "core/tables.h"

// Makes the library's built-ins and record layouts the ones the language reads: every program
// calls this once at start, before the first evaluation.
void builtinsinstall();

// Argument i (from 0) of an application of a built-in that reads n arguments: the last argument
// is the right child of the application, the one before it the right child of its left child.
Cell *argof(Cell *app, int n, int i);

// Each family of built-ins puts its functions into the rows of its names.
void fillstructure(Builtins &table);
void fillarith(Builtins &table);
void fillclib(Builtins &table);  // with the files and the directories below
void fillfiles(Builtins &table);
void filldirs(Builtins &table);
void fillsockets(Builtins &table);
void fillload(Builtins &table);
