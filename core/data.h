// Data: lists whose leaves are bracket texts, built from the right end, and the table that
// lets a single character of a bracket text stand for a small tree.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "core/cell.h"

// The bracket encoding of a number from 0 to 676: 0 is "[]", 1 is "[[]]", 2 is "[[][]]".
std::string bracketcode(int n);
// The tree that one character of a bracket text stands for: a "[" leaf made once per process.
const CellRef &chartree(unsigned char byte);
// The byte whose tree has this text, or -1 when the text is no character's tree.
int treechar(std::string_view text);

// Every operation asserts that its argument is data.
bool dataempty(const CellRef &x);
CellRef datainit(const CellRef &x);
CellRef datalast(const CellRef &x);
CellRef dataflat(const CellRef &x);
std::string datatext(const CellRef &x);
uint64_t datalen(const CellRef &x);
uint64_t datacount(const CellRef &x);
CellRef datalist(const CellRef &x);
CellRef databox(const std::string &text);
