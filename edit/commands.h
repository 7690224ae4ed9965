// Every command of the key table: tolmdoc and the key for Control keys, tolmdom and the key for
// Escape keys. Each takes its key from the global keys and clears it itself.
#pragma once

void tolmdoci();      // Tab: document picker
void tolmdocspace();  // C-space: insert the kill text, undoably
void tolmdoca();
void tolmdocb();
void tolmdocd();
void tolmdoce();
void tolmdocf();
void tolmdocg();
void tolmdoch();
void tolmdock();
void tolmdocl();
void tolmdocn();
void tolmdocp();
void tolmdocr();
void tolmdoct();
void tolmdocu();
void tolmdocw();
void tolmdocx();
void tolmdocy();
void tolmdocdel();   // the Delete key, 0x1C
void tolmdocundo();  // C-_
void tolmdocbs();    // Backspace, 127
void tolmtype();     // a typed byte

void tolmdoma();
void tolmdomb();
void tolmdomc();
void tolmdomd();
void tolmdome();
void tolmdomf();
void tolmdomg();
void tolmdomh();
void tolmdomi();
void tolmdomj();
void tolmdomk();
void tolmdoml();
void tolmdomm();
void tolmdomn();
void tolmdomo();
void tolmdomp();
void tolmdomq();
void tolmdomr();
void tolmdomu();
void tolmdoms();
void tolmdomt();
void tolmdomv();
void tolmdomw();
void tolmdomz();
void tolmdomx();
void tolmdomy();
