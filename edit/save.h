// Saving a document to its file: the body of C-w, and the writer that saving under a new name
// shares, which leaves the file as it was whenever the save fails.
#pragma once
#include <string>

#include "edit/doc.h"

// Writes the current text of d to path in place and flushes it to the disk; false when it cannot
// be opened or written, and then the file is as it was before, or not there when it was not.
bool writedoc(const std::string &path, const Doc &d);
// All n bytes at p on an open descriptor, going on after partial writes and interruptions; false
// when a write fails. Safe in a signal handler.
bool writeall(int fd, const char *p, size_t n);
// The current text of d on an open descriptor, piece by piece with write alone, so that it is
// safe in a signal handler; false when a write fails.
bool writetext(int fd, const Doc &d);

// Writes the current document to its file when it has changes; the scratch document is never
// written. False when the file could not be written: the document then stays as it was.
bool savedoc();
