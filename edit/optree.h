// The records of the undo log and the red-black tree that holds them all, with its links inside
// the records, ordered by document key and then by number. The log's meaning is in edit/undo.h.
#pragma once
#include <cstdint>
#include <string>

// One operation. The tree's links live in the record; colour, type, number and offset share one
// 64-bit word, highest bit first, so an offset must fit in 30 bits.
struct Oper {
  std::string name;  // key of the document
  std::string data;  // payload, by type
  Oper *up = nullptr, *left = nullptr, *right = nullptr;
  uint64_t w : 30;   // an offset into the text, or for type 0 the link of the undo chain
  uint64_t v : 30;   // number within the document: 0 for the base record, then 1, 3, 5, ...
  uint64_t t : 3;    // type: 0 undo, 2 taps, 3 vows, 4 kill, 5 yank, 6 byte; 1 and 7 in undo.h
  uint64_t z : 1;    // 1 for a black node
  Oper() : w(0), v(0), t(0), z(0) {}
};

// Puts o in its place by name and v; its links and colour are the tree's from then on.
void nodeinsert(Oper *o);
// Takes o out of the tree and deletes it. Other records keep their places in memory, so a
// walk may hold the successor of o across the removal.
void noderemove(Oper *o);
// The record of name and v, or null.
Oper *nodefind(const std::string &name, int64_t v);
// The record of name with the highest number, or null when name has none.
Oper *nodelast(const std::string &name);
// The first record of the whole tree and the one after o, for walks in order; null at the end.
Oper *nodefirst();
Oper *nodenext(Oper *o);
// The count of black nodes on the path from the root down its left side.
int blackheight();
