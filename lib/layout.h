// The C records that programs build and read with the memory words: the directory entry record
// written by the directory bindings, and the table of every record's fields that programs find.
#pragma once
#include <cstdint>
#include <string>

// The language's own directory entry, 296 bytes, the layout programs read field by field.
struct direntry {
  uint32_t d_ino;
  uint32_t d_off;
  uint16_t d_reclen;
  uint64_t d_namlen;
  uint32_t d_type;
  char d_name[261];
};
static_assert(sizeof(direntry) == 296);

// The bracket text of the records' sizes and field offsets, for the definition "_".
std::string layouttable();
