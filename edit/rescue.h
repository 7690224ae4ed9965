// Rescue copies: on every way out of the editor each document that would be lost is written whole
// to a private folder. What they need is prepared beforehand; the writing is safe in a signal handler.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

// The folder of the copies, ending in "/": $XDG_STATE_HOME/tolm/rescue/ when that is an absolute
// path, else home's .local/state/tolm/rescue/. rescueinstall sets it; it is made when first needed.
extern std::string rescuedir;
std::string rescuefolder(const char *statehome, const std::string &home);

// The stem of a document's copies: its path with each "/" as "%", cut to its last 200 bytes, or
// "scratch" for the scratch document.
std::string rescuestem(const std::string &name);
// The file name of a copy into out: the stem, ".", the time as YYYYMMDDTHHMMSS from seconds
// counted in local time, and "-n" when n is above 1. Safe in a signal handler.
constexpr size_t rescuenamemax = 256;
void rescuename(char *out, const char *stem, int64_t seconds, int n);

// Notes the documents as they stand, leaving out one about to be closed: the copies are made from
// what was noted last, without reading the map of documents. Cheap when nothing changed, so the
// key loop calls it after every round.
void rescueready(const std::string &leaving = "");

// Writes a copy of every noted document that differs from its file, or for the scratch document
// holds anything, each into a new file of folder, and counts the copies kept and those that could
// not be written. Safe in a signal handler.
struct Rescued {
  int kept = 0, lost = 0;
};
Rescued rescuewrite(const char *folder);

// A descriptor held in reserve: a program run from the editor may open files until none is left,
// and a save or a copy must still be written then. sparefree gives it up for the one file written
// next (safe in a signal handler); spareopen takes it again, and is called at start and after
// each run, since a program may have closed it.
void spareopen();
bool sparefree();  // false when none was held

// The line on standard error after the copies: "tolm: N unsaved documents kept in FOLDER", and a
// like line for the copies that could not be written; nothing when there were none.
void rescuereport(const Rescued &r, const char *folder);
