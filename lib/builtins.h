// The built-in table: 222 names with their arities and the functions that rewrite a saturated
// application of one into its result, and the reading of arguments out of the application.
#pragma once
#include <map>
#include <set>
#include <string>

#include "core/tables.h"

using Builtins = std::map<std::string, builtinrow>;

// The table, filled on first use and again after each reset of the tables.
Builtins &builtins();

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

// The names that a running load has put into the definition table.
std::set<std::string> &loadednames();
