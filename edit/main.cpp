// The editor's entry point: the options, directories, the scratch document, the files of the
// command line, character mode, the first paint, and then key rounds for ever.
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "core/base.h"
#include "core/file.h"
#include "core/halt.h"
#include "core/version.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/loop.h"
#include "edit/signals.h"
#include "edit/term.h"
#include "edit/undo.h"
#include "edit/view.h"
#include "lib/builtins.h"

static std::string finddir(const std::string &s) { return s.ends_with("/") ? s : s + "/"; }

// HOME first, then the fixed first try "/Users/Admin/", then the root.
static std::string findhome() {
  const char *home = getenv("HOME");
  if (home && *home && fileisdir(home)) return finddir(home);
  if (fileisdir("/Users/Admin/")) return "/Users/Admin/";
  return "/";
}

// The current directory, as long as its name is. One that was removed while the shell stood in it
// has no name; relative names then go through /proc/self/cwd/, which still reaches it, so that
// they fail to open or save there as they would in the directory itself, and the editor starts.
static std::string currentdir() {
  char *here = getcwd(nullptr, 0);
  std::string dir = here ? here : "/proc/self/cwd";
  free(here);
  return finddir(dir);
}

static void stopwith(const std::string &line) {
  fputs(line.c_str(), stdout);
  fflush(stdout);
  exit(1);
}

// Loads the named files; a name that cannot be a file path or cannot be read stops the start, and
// so does a file larger than a quarter of the memory limit, which could not be edited.
static void loadargs(const std::vector<std::string> &args) {
  for (const std::string &arg : args) {
    std::string path = arg.empty() || arg.ends_with("/") ? "" : normalpath(arg), text;
    if (path.empty()) stopwith("Cannot normalize file: " + arg + "\n");
    if (!fileisplain(path)) stopwith("Cannot open file: " + path + "\n");
    if (!docs.count(path)) {
      if (!fileload(path, text, textmost())) stopwith("Cannot open file: " + path + "\n");
      openlog(path);
      docs[path] = newdoc(std::move(text));
    }
    curname = path;
  }
}

static const char usage[] =
    "Usage: tolm [OPTION]... [FILE]...\n"
    "Edit each FILE in the terminal; the last one named is shown first. Without a FILE,\n"
    "start in the scratch document, which is never saved. Control-C ends tolm, and\n"
    "unsaved documents are kept in $XDG_STATE_HOME/tolm/rescue/.\n";

int main(int argc, char **argv) {
  std::vector<std::string> files = operands(argc, argv, "tolm", usage);
  tolmstart();
  builtinsinstall();
  homedir = findhome();
  workdir = currentdir();
  srand(0);
  openlog(scratchname);
  docs[scratchname] = newdoc("");
  curname = scratchname;
  loadargs(files);
  signalsinstall();
  consolemode();
  windowsize(width, height);
  needwindow(width, height);
  screenresize();
  screenout += "\x1b[1;1H";
  keepvisible(cur(), false);
  repaint();
  resetprompt();
  repaint();
  for (;;) keyround();
}
