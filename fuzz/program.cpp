// Fuzz target: any byte string as a document's text, on the road of Escape e: the prelude, the
// load with its checks, the run and the printing, within the bounds of one input.
#include <cstddef>
#include <cstdint>

#include "fuzz/harness.h"
#include "lang/chars.h"
#include "lang/program.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzzstart();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string text((const char *)data, size);
  fuzzinput([&] {
    std::string printed;
    Outcome o = runprogram(0, text, printed);
    if (o.status == "Empty") printed = swapnewline(printed);
  });
  return 0;
}
