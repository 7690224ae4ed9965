// The fuzz harness shared by the targets: the start of the process, and the start and end of each
// input with its budget of steps and the undoing of what the input left behind.
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

#include "core/number.h"
#include "core/tables.h"
#include "fuzz/harness.h"
#include "lang/eval.h"

namespace {
std::string sink;  // the log and the trace of exact sums go here, never to files
std::string folder, home;  // the private folder, and the working directory the fuzzer has
std::string root;          // the folder in it that "/" names
uint64_t inputsteps = 0;  // where the machine's count stood when the input began

// Every 4096 steps: the input ends when its steps or the memory it holds run out.
void spent() {
  heldcheck();
  if (machinesteps - inputsteps >= maxsteps) throw Ended{"steps"};
  stepbudget = machinesteps + 4096;
}
}  // namespace

void fuzzstart() {
  static bool started = false;
  if (started) return;
  started = true;
  char name[] = "/tmp/tolm.fuzz.XXXXXX";
  char *cwd = getcwd(nullptr, 0);
  if (!mkdtemp(name) || !cwd) abort();
  folder = name;
  root = folder + "/root";
  home = cwd;
  std::filesystem::create_directory(root);
  pathsinstall(root);
  free(cwd);
  atexit([] { std::filesystem::remove_all(folder); });
  logcapture = &sink;
  bothcapture = &sink;
  fenceinstall();
  judgeinstall();
  budgetspent = spent;
}

const std::string &fuzzroot() { return root; }

void inputbegin() {
  if (chdir(folder.c_str()) != 0) abort();
  sink.clear();
  inputsteps = machinesteps;
  stepbudget = machinesteps + 4096;
  heldbegin();
  srand(0);
}

void inputend() {
  stepbudget = ~0ull;
  fencereset();
  loadednames().clear();
  keepset() = Keep();
  deftable().clear();
  if (chdir(home.c_str()) != 0) abort();
}
