// Saving a document to its file: the body of C-w, and the writer that saving under a new name
// shares, which leaves a file that cannot be opened for writing as it was.
#pragma once
#include <string>

#include "edit/doc.h"

// Writes the current text of d to path, truncating the file; false when it cannot be opened or
// written. A name that cannot be opened is never truncated.
bool writedoc(const std::string &path, const Doc &d);

// Writes the current document to its file when it has changes; the scratch document is never
// written. False when the file could not be written: the document then stays as it was.
bool savedoc();
