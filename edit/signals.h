// The ways out of the editor and the interrupt key. Every signal that ends the process, exit and
// the stops of core go through leaving; while a program runs the interrupt key only halts it.
#pragma once

// The way out: the terminal's modes back, the rescue copies, and the line that says where they
// went. Runs once, whichever way out comes first; safe in a signal handler.
void leaving();
// Points every way out at leaving and sets the rescue folder; the editor calls it once at start.
void signalsinstall();

// Brackets a run of Escape e. Between them the interrupt key halts the run, not the editor; a
// third press that the run has not answered ends the editor after all.
void runopen();
void runclose();
