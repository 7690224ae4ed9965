// Run-time base: start-up, the debug log, the two ways of stopping dead and the assertion form.
// Every source file stops through these, naming its source group: b (core, lang), l (lib), v (edit).
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

// Seconds since the epoch, taken first thing at start-up.
extern int64_t starttime;

// When set, the log goes to this string instead of its file; the tests read it there.
extern std::string *logcapture;

// Start-up: the start time and the memory limit of runs; the stack limit is left as it is.
void tolmstart();
void tolmlog(const std::string &text);
[[noreturn]] void tolmfail(const std::string &text);
[[noreturn]] void tolmabort(char group, int line);
// Called by tolmabort after its line and before the abort, when set: the editor points it at the
// rescue of its unsaved documents. It runs where anything may be broken, so it may only use calls
// that are safe in a signal handler.
extern void (*stophook)();

// The source group of a file from its path: the last directory named core or lang is b, lib is l,
// edit is v. The tests' folders mirror the sources, so a test file takes the group of what it tests.
constexpr char groupof(const char *path) {
  char group = 'b';
  for (const char *p = path; *p; p++) {
    if (*p != '/') continue;
    std::string_view rest(p + 1);
    if (rest.starts_with("lib/")) group = 'l';
    else if (rest.starts_with("edit/")) group = 'v';
    else if (rest.starts_with("core/") || rest.starts_with("lang/")) group = 'b';
  }
  return group;
}

// Assertions stay in every build: a broken invariant writes "ASSERTION FAILED:group:line" and aborts.
#ifndef TOLM_FUZZ
#define must(cond) ((cond) ? (void)0 : tolmabort(groupof(__FILE__), __LINE__))
#else
// The fuzz build hands every stop first to a judge that the fuzz harness sets, with the source
// file, function and condition of the stop, so that the stops the language asks for on a misuse
// end the input alone. A judge that lets the stop stand returns, and the process aborts as ever.
struct Stop {
  const char *file, *func, *cond;
  int line;
  char group;
};
extern void (*stopjudge)(const Stop &stop);
[[noreturn]] void tolmstop(const Stop &stop);
#define must(cond) ((cond) ? (void)0 : tolmstop(Stop{__FILE__, __func__, #cond, __LINE__, groupof(__FILE__)}))

// The fuzz build's bound of the machine: once machinesteps reaches stepbudget, the machine calls
// budgetspent, which ends the input or sets a new budget.
extern uint64_t stepbudget;
extern void (*budgetspent)();
#endif
