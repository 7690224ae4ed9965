// Every command of the key table: tolmdoc and the key for Control keys, tolmdom and the key for
// Escape keys. Each takes its key from the global keys and clears it itself.
#pragma once

void tolmdoci();      // Tab: the document picker, by row or by a typed key
void tolmdocspace();  // C-space: insert the kill text at the point, undoably, never overtyping
void tolmdoca();      // C-a, Home: to the start of the line
void tolmdocb();      // C-b, Left: back one byte
void tolmdocd();      // C-d, Page Down: the next screen, the point to its middle
void tolmdoce();      // C-e, End: to the end of the line
void tolmdocf();      // C-f, Right: forward one byte
void tolmdocg();      // C-g: only the bell; in a mode, the mode's own C-g leaves it
void tolmdoch();      // C-h: the title row's line back to its first byte
void tolmdock();      // C-k: kill to the end of the line, gathering, or kill the selection
void tolmdocl();      // C-l: the point's row to the middle of the screen, and the whole screen drawn again
void tolmdocn();      // C-n, Down: to the next screen row, in the same column where it can
void tolmdocp();      // C-p, Up: to the previous screen row
void tolmdocr();      // C-r: redo, which takes back the last undo
void tolmdoct();      // C-t: the title row's line one byte further on
void tolmdocu();      // C-u, Page Up: the previous screen, the point half way up it
void tolmdocw();      // C-w: save the document to its file
void tolmdocx();      // C-x, Insert: switch between inserting and overtyping
void tolmdocy();      // C-y: type the kill text in, honouring overtype, with no undo
void tolmdocdel();    // Delete (0x1C): remove the byte at the point, as Backspace one further on
void tolmdocundo();   // C-_: undo, one record further back with each press
void tolmdocbs();     // Backspace (127): remove the byte before the point
void tolmtype();      // a typed byte: inserted or overtyped, in the current alphabet

void tolmdoma();  // M-a: the title row's line into the kill text
void tolmdomb();  // M-b, Byte mode: to an offset typed in base 64
void tolmdomc();  // M-c: close the document, unsaved text and all
void tolmdomd();  // M-d: forget the undo history of every document
void tolmdome();  // M-e, Eval mode: run the document or the selection, the result on the title row
void tolmdomf();  // M-f: the screen to the end of the text
void tolmdomg();  // M-g: typing alphabet 2
void tolmdomh();  // M-h: the screen to the start of the text
void tolmdomi();  // M-i, Dent mode: change the front and trim the end of every selected line
void tolmdomj();  // M-j, Mark mode: a selection from here to wherever the point goes
void tolmdomk();  // M-k: the colour word read from the sixteen bytes at the point
void tolmdoml();  // M-l, Line mode: to a line number typed in decimal
void tolmdomm();  // M-m: to the next unsaved difference, typing the saved byte back over it
void tolmdomn();  // M-n: a new document on a free temporary name
void tolmdomo();  // M-o, Open mode: pick a file to open
void tolmdomp();  // M-p, Pink mode: show the colour word
void tolmdomq();  // M-q, Quip mode: show a quip
void tolmdomr();  // M-r: typing alphabet 1
void tolmdomu();  // M-u: the default colour word
void tolmdoms();  // M-s, Find mode: incremental search, every hit marked on the screen
void tolmdomt();  // M-t, Taps mode: insert one byte a typed number of times
void tolmdomv();  // M-v, Vows mode: sort the program's definitions by name
void tolmdomw();  // M-w, Save mode: pick a name to save the document under
void tolmdomz();  // M-z: the whole document into the kill text
void tolmdomx();  // M-x, Swap mode: replace every occurrence in the selection or to the end
void tolmdomy();  // M-y: typing alphabet 3
