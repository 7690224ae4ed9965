// Saving a document to its file, the body of C-w.
#pragma once

// Writes the current document to its file when it has changes; the scratch document is never
// written. False when the file could not be written: the document then stays as it was.
bool savedoc();
