// A text compiled while a program runs, for the built-in load: its reached definitions enter the
// definition table for the length of the call and leave it again afterwards.
#pragma once
#include <string>

#include "lang/unit.h"

// Reads and checks the source against the current table and enters what the main expression
// reaches; false, with the table as it was, when any step refuses the text.
bool nestedenter(const std::string &source, Unit &u);
// Takes every name of the unit out of the table again.
void nestedleave(const Unit &u);
