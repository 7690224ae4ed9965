// Keys on the title row's line: C-h and C-t scroll it, M-a copies it and M-z the document into the
// kill text, and the Quip mode puts one of its ten lines there.
#include <cstdlib>

#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/prompt.h"
#include "edit/view.h"

bool prompthome() {
  if (promptline.top == 0) return false;
  promptline.top = 0;
  return true;
}

// Five cells of the row hold the word and the alphabet block, and one stays for the cursor.
bool promptstep() {
  if (promptline.top >= lenof(promptline) - width + 6) return false;
  promptline.top++;
  return true;
}

void tolmdoch() { plain("C-h", prompthome); }
void tolmdoct() { plain("C-t", promptstep); }

// The two copy keys neither log nor repaint: nothing on the screen changes.
void tolmdoma() {
  fresh = 1;
  keys.clear();
  killtext = textof(promptline);
}

void tolmdomz() {
  fresh = 1;
  keys.clear();
  killtext = textof(cur());
}

// rand() runs from the seed the entry point fixes, so the lines come in the same order in every run.
static const char *const quips[10] = {
    "A bug in the hand is worth two in the backlog.",
    "This line was typed in alphabet three, mostly.",
    "Undo is the only time machine that ships on time.",
    "Every byte is visible here, even the shy ones.",
    "There is no exit key. Think of it as commitment.",
    "Eight bits walk into a byte. It was a tight fit.",
    "Save early, save often, save before Control-C.",
    "The newline was a comma all along.",
    "Functions never change; only their arguments do.",
    "I am the final quip.",
};

static void quippainter() { paintdoc("Quip"); }

void tolmdomq() {
  std::string key = modekey("M-q", quippainter);
  if (key.empty()) {
    promptline = newdoc(quips[rand() % 10]);
    repaint();
  } else if (key == "\x1b" "a") {
    killtext = textof(promptline);
  } else {
    passon(key);
  }
}
