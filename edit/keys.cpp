// Whole keys and the dispatcher: which command a key string reaches, in the table's order.
// A mode is matched by prefix, so every later key comes back to it while its prefix stands.
#include <string_view>

#include "core/base.h"
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/term.h"

using namespace std::literals;

// Complete when every unit from the front is whole; the terminal layer knows what a unit is.
bool keydone(const std::string &s) {
  for (size_t i = 0; i < s.size();) {
    size_t u = keyunit(s, i);
    if (!u) return false;
    i += u;
  }
  return true;
}

void tolmdocg() {
  tolmlog("C-g!\n");
  fresh = 1;
  painter = defaultpainter;
  keys.clear();
  bell();
}

// A CSI that reaches the dispatcher: the four arrows move, anything else is logged and dropped.
static void csi() {
  unsigned char b = (unsigned char)keys.back();
  if (b < 0x40 || b > 0x7E) return;
  switch (b) {
    case 'A': tolmdocp(); break;
    case 'B': tolmdocn(); break;
    case 'C': tolmdocf(); break;
    case 'D': tolmdocb(); break;
    default: tolmlog("Got a CSI with a final byte I don't handle (" + std::string(1, (char)b) + ".\n");
  }
  keys.clear();
}

static void unknown() {
  tolmlog("WHAT THE FUCK\n");
  for (size_t i = 0; i < keys.size(); i++)
    tolmlog("line[" + std::to_string(i) + "]=" + std::to_string((unsigned char)keys[i]) + "\n");
  keys.clear();
}

enum Test { prefix, equal };

struct Row {
  Test test;
  std::string_view key;
  void (*run)();
};

static const Row table[] = {
    {prefix, "\t"sv, tolmdoci},   {prefix, "\0"sv, tolmdocspace}, {equal, "\x01"sv, tolmdoca},
    {equal, "\x02"sv, tolmdocb},  {equal, "\x04"sv, tolmdocd},    {equal, "\x05"sv, tolmdoce},
    {equal, "\x06"sv, tolmdocf},  {equal, "\x07"sv, tolmdocg},    {equal, "\x08"sv, tolmdoch},
    {equal, "\x0b"sv, tolmdock},  {equal, "\x0c"sv, tolmdocl},    {equal, "\x0e"sv, tolmdocn},
    {equal, "\x10"sv, tolmdocp},  {equal, "\x12"sv, tolmdocr},    {equal, "\x14"sv, tolmdoct},
    {equal, "\x15"sv, tolmdocu},  {equal, "\x17"sv, tolmdocw},    {equal, "\x18"sv, tolmdocx},
    {equal, "\x19"sv, tolmdocy},  {equal, "\x1c"sv, tolmdocdel},  {equal, "\x1f"sv, tolmdocundo},
    {prefix, "\ea"sv, tolmdoma},  {prefix, "\eb"sv, tolmdomb},    {equal, "\ec"sv, tolmdomc},
    {equal, "\ed"sv, tolmdomd},   {prefix, "\ee"sv, tolmdome},    {equal, "\ef"sv, tolmdomf},
    {equal, "\eg"sv, tolmdomg},   {equal, "\eh"sv, tolmdomh},     {prefix, "\ei"sv, tolmdomi},
    {prefix, "\ej"sv, tolmdomj},  {prefix, "\ek"sv, tolmdomk},    {prefix, "\el"sv, tolmdoml},
    {equal, "\em"sv, tolmdomm},   {equal, "\en"sv, tolmdomn},     {prefix, "\eo"sv, tolmdomo},
    {prefix, "\ep"sv, tolmdomp},  {prefix, "\eq"sv, tolmdomq},    {equal, "\er"sv, tolmdomr},
    {equal, "\eu"sv, tolmdomu},   {prefix, "\es"sv, tolmdoms},    {prefix, "\et"sv, tolmdomt},
    {prefix, "\ev"sv, tolmdomv},  {prefix, "\ew"sv, tolmdomw},    {equal, "\ez"sv, tolmdomz},
    {prefix, "\ex"sv, tolmdomx},  {equal, "\ey"sv, tolmdomy},     {equal, "\e\x07"sv, [] { keys.clear(); }},
    {equal, "\e["sv, [] { tolmlog("CSI...\n"); }},                {prefix, "\e["sv, csi},
};

void keydispatch() {
  std::string_view k(keys);
  bool done = false;
  for (const Row &row : table) {
    if (row.test == prefix ? k.starts_with(row.key) : k == row.key) {
      row.run();
      done = true;
      break;
    }
  }
  if (!done) {
    unsigned char b = k.size() == 1 ? (unsigned char)k[0] : 0;
    if (k.size() == 1 && ((b > 31 && b != 127) || b == 10)) tolmtype();
    else if (k.size() == 1 && b == 127) tolmdocbs();
    else unknown();
  }
  flushout();
}
