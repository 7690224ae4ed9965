// Halting a run from outside its program: the interrupt key, the memory limit and the end of the
// C stack ask the machine to stop, and the machine looks at one flag between its steps.
#pragma once
#include <csignal>
#include <cstdint>

// Why the run in progress must stop; 0 while it may go on. A signal handler or the allocator sets
// it, the machine reads it before each step and returns at once, and whoever started the run
// clears it before the next one.
constexpr int haltinterrupt = 1;
constexpr int haltmemory = 2;
extern volatile std::sig_atomic_t runhalt;

// The bytes that terms may hold before a run is stopped: TOLM_MEMORY when it is a size (bytes,
// or a number with K, M or G behind it), else half of the physical memory.
extern uint64_t memorylimit;
// The largest text the editor takes in at one time, a file read whole or written over or the
// bytes of one Taps insertion: a quarter of the limit, so that the text, the copies a run or the
// undo log take of it and what a run may hold stay within the machine's memory.
inline uint64_t textmost() { return memorylimit / 4; }
// The size a text of TOLM_MEMORY gives, or 0 when it is none.
uint64_t memoryparse(const char *text);
void memorysetup();

// Thrown by the cell allocator when what terms hold passes the limit by a quarter while a run is
// armed for it: a built-in that makes cells in one call, with no step of the machine between them,
// can be stopped no other way before the system runs out of memory. runprogram arms it, catches
// it and halts the run as for memory; the throw disarms it, so that nothing the unwinding does can
// throw again.
struct Overrun {};
extern bool overrunarmed;

// The allocator's check, made whenever what terms hold grows by a slab or by a long text, before
// the memory is taken.
inline void memorycheck(uint64_t held) {
  if (held <= memorylimit) return;
  runhalt = haltmemory;
  if (overrunarmed && held - memorylimit > memorylimit / 4) {
    overrunarmed = false;
    throw Overrun{};
  }
}

// Whether a built-in may take bytes more than terms hold now for its next step: false once a halt
// was asked for, and false, asking for one, when they would take what terms hold past the limit.
// A built-in whose one call can grow without bound (a power) asks before each step of its loop,
// since the machine only looks between its own steps; what it gives after a no is never seen.
bool roomfor(uint64_t bytes);

// Whether the thread's C stack holds more than `bytes` below the caller. A run nested in a step
// (the built-in load) goes deeper on the C stack, not on the machine's own stacks; when the room
// runs short it asks for a halt as for memory, where the stack's end would end the process.
bool stackfor(uint64_t bytes);

// The title row's text for a run that was stopped.
const char *haltmessage(int why);
