// The editor's global state and the frames that every command and mode shares.
// Commands are free functions without arguments over this state; a mode is a prefix left in keys.
#pragma once
#include <cstdint>
#include <map>
#include <string>

#include "edit/doc.h"

extern std::string keys;          // bytes received and not yet consumed
extern void (*painter)();         // repaint routine of the current mode
extern uint8_t hold;              // 1 while commands must not repaint
extern uint8_t fresh;             // 0 only while C-k gathers into one kill
extern Doc promptline;            // the text of the title row
extern std::string curname;       // key of the current document
extern std::map<std::string, Doc> docs;
extern const std::string scratchname;
extern int64_t mark;              // selection end, -1 for none
extern uint8_t alphabet;          // typing alphabet, 1 to 3
extern uint64_t kink;             // the colour word
extern std::string killtext;      // what C-k gathered, C-y and C-space put back
extern int64_t listsel;           // the selected slot of a picker; Find's starting point
constexpr uint64_t defaultkink = 0x76E948BA98800321ull;

Doc &cur();
void bell();
void repaint();
void defaultpainter();
void resetprompt();
void switchdoc(const std::string &name);

// The frame of a plain command: act returns false when it cannot act, which rings the bell.
void plain(const char *name, bool (*act)());
// The two halves of that frame, for the commands that keep fresh or paint in their own way:
// plainenter logs the name, sets the default painter and clears keys; plainend repaints or rings.
void plainenter(const char *name);
void plainend(bool done);

// Entry into a mode: sets fresh, logs, sets the painter, leaves the bare prefix in keys and
// returns the key that came after it (empty on the entry key).
std::string modekey(const char *name, void (*modepainter)());
void leavemode();
// The keys that every prompt mode shares: "\ek" a random colour word, "\eu" the default one,
// "\ea" and "\ez" the prompt line or the document into the kill text, and with alphabets also
// "\er", "\eg", "\ey". Returns true when it handled the key; the mode stays.
bool modecommon(const std::string &key, bool alphabets);
// Sets the typing alphabet; false when it is already so.
bool setalphabet(uint8_t a);
// The byte that a typed key stores in alphabet 1, 2 or 3.
unsigned char typed(uint8_t alpha, unsigned char key);
// Leaves the mode and hands the key to the dispatcher as if the mode had not been there.
void passon(const std::string &key);

bool keydone(const std::string &s);
void keydispatch();
