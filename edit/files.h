// The directory listings of the two file pickers, Open and Save, and closing a document.
// A listing is a vector of names shown in a grid of columns and pages under the title row.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

extern std::vector<std::string> listing;  // the names on show
// The directory of the listing, ending in "/". Find and Swap keep their texts in the same string
// under the name failtext (edit/find.h): a picker and a search are never active together.
extern std::string listdir;
extern int64_t listwidth;                 // length of the longest name, at least 2

// Open's listing of dir: "./", "../" unless dir is the root, then its subdirectories with a "/"
// behind and its regular files, sorted bytewise. An unreadable directory lists the first two only.
void listopen(const std::string &dir);
// Save's listing of dir: ".", ".." unless dir is the root, then its subdirectories, sorted.
void listsave(const std::string &dir);

// Drops a document and its undo log without a question and makes the first key current.
void closedoc(const std::string &name);

