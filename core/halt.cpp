// Halting a run: the flag the machine reads, the memory limit from the environment or from the
// size of the machine, the room left on the C stack, and the texts a stopped run shows.
#include "core/halt.h"

#include <pthread.h>

#include <cstdlib>
#include <unistd.h>

#include "core/cell.h"

volatile std::sig_atomic_t runhalt = 0;
uint64_t memorylimit = ~0ull;
bool overrunarmed = false;

uint64_t memoryparse(const char *text) {
  if (!text) return 0;
  uint64_t n = 0;
  const char *p = text;
  for (; *p >= '0' && *p <= '9'; p++) {
    if (n > (~0ull - 9) / 10) return 0;
    n = n * 10 + (uint64_t)(*p - '0');
  }
  if (p == text) return 0;
  int shift = 0;
  switch (*p) {
    case 'K': case 'k': shift = 10; p++; break;
    case 'M': case 'm': shift = 20; p++; break;
    case 'G': case 'g': shift = 30; p++; break;
  }
  if (*p || n > ~0ull >> shift) return 0;
  return n << shift;
}

void memorysetup() {
  uint64_t set = memoryparse(getenv("TOLM_MEMORY"));
  long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGESIZE);
  uint64_t half = pages > 0 && size > 0 ? (uint64_t)pages * (uint64_t)size / 2 : ~0ull;
  memorylimit = set ? set : half;
}

bool roomfor(uint64_t bytes) {
  uint64_t held = memoryheld();
  if (!runhalt && (bytes > memorylimit || held > memorylimit - bytes)) runhalt = haltmemory;
  return !runhalt;
}

bool stackfor(uint64_t bytes) {
  static thread_local uintptr_t low = 0;
  if (!low) {
    pthread_attr_t attr;
    void *addr = nullptr;
    size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attr) == 0) {
      pthread_attr_getstack(&attr, &addr, &size);
      pthread_attr_destroy(&attr);
    }
    low = addr ? (uintptr_t)addr : 1;  // unknown: no bound
  }
  uintptr_t here = (uintptr_t)__builtin_frame_address(0);
  if (here > low && here - low > bytes) return true;
  runhalt = haltmemory;
  return false;
}

const char *haltmessage(int why) { return why == haltmemory ? "Out of memory" : "Interrupted"; }
