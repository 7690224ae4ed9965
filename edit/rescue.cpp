// Rescue copies of the documents that would be lost. The folder, the documents and their stems
// are noted beforehand in normal code; the writing uses only calls that are safe in a signal
// handler and reads nothing but the noted records and the documents' own buffers.
#include "edit/rescue.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "core/file.h"
#include "edit/editor.h"
#include "edit/save.h"

std::string rescuedir;

std::string rescuefolder(const char *statehome, const std::string &home) {
  if (statehome && statehome[0] == '/') {
    std::string s = statehome;
    return s + (s.ends_with("/") ? "" : "/") + "tolm/rescue/";
  }
  return home + (home.ends_with("/") ? "" : "/") + ".local/state/tolm/rescue/";
}

std::string rescuestem(const std::string &name) {
  if (name == scratchname) return "scratch";
  std::string stem = name;
  for (char &c : stem)
    if (c == '/') c = '%';
  return stem.size() > 200 ? stem.substr(stem.size() - 200) : stem;
}

// Appends the decimal digits of v, at least width of them, at p; gives the end.
static char *digits(char *p, int64_t v, int width) {
  char buf[24];
  int n = 0;
  do buf[n++] = (char)('0' + v % 10), v /= 10;
  while (v > 0 || n < width);
  while (n > 0) *p++ = buf[--n];
  return p;
}

// The civil date of a day counted from 1970-01-01, in the proleptic Gregorian calendar.
static void civil(int64_t days, int64_t &y, int64_t &m, int64_t &d) {
  days += 719468;
  int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  int64_t doe = days - era * 146097;
  int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  int64_t mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y = yoe + era * 400 + (m <= 2);
}

void rescuename(char *out, const char *stem, int64_t seconds, int n) {
  size_t len = strnlen(stem, 200);
  memcpy(out, stem, len);
  char *p = out + len;
  int64_t days = seconds >= 0 ? seconds / 86400 : (seconds - 86399) / 86400, rest = seconds - days * 86400;
  int64_t y, m, d;
  civil(days, y, m, d);
  *p++ = '.';
  p = digits(digits(digits(p, y, 4), m, 2), d, 2);
  *p++ = 'T';
  p = digits(digits(digits(p, rest / 3600, 2), rest / 60 % 60, 2), rest % 60, 2);
  if (n > 1) *p++ = '-', p = digits(p, n, 1);
  *p = 0;
}

namespace {
struct Noted {
  const Doc *doc;
  std::string name, stem;
};

// Two tables, so that a handler always finds a whole one: the next is filled while the current
// stands, then becomes current. Nothing frees a document before it has left the current table.
std::vector<Noted> tables[2];
volatile std::sig_atomic_t current = 0;
volatile std::sig_atomic_t zone = 0;  // seconds east of UTC when last noted

bool unchanged(const std::string &leaving) {
  const std::vector<Noted> &t = tables[current];
  size_t i = 0;
  for (const auto &[name, d] : docs) {
    if (name == leaving) continue;
    if (i >= t.size() || t[i].doc != &d || t[i].name != name) return false;
    i++;
  }
  return i == t.size();
}
}  // namespace

void rescueready(const std::string &leaving) {
  time_t now = time(nullptr);
  tm local;
  if (localtime_r(&now, &local)) zone = (std::sig_atomic_t)local.tm_gmtoff;
  if (unchanged(leaving)) return;
  std::vector<Noted> &next = tables[1 - current];
  next.clear();
  for (const auto &[name, d] : docs)
    if (name != leaving) next.push_back({&d, name, rescuestem(name)});
  current = 1 - current;
}

// Makes every missing folder on the way to folder, private to the user.
static bool makefolder(const char *folder) {
  char path[4096];
  size_t n = strlen(folder);
  if (n == 0 || n >= sizeof path) return false;
  for (size_t i = 1; i <= n; i++) {
    if (i < n && folder[i] != '/') continue;
    memcpy(path, folder, i);
    path[i] = 0;
    if (mkdir(path, 0700) != 0 && errno != EEXIST) return false;
  }
  struct stat st;
  return stat(folder, &st) == 0 && S_ISDIR(st.st_mode);
}

// One copy in a file of its own, never over an earlier one; a copy that cannot be written whole
// is not left behind.
static bool keep(const char *folder, const char *stem, int64_t seconds, const Doc &d) {
  char path[4096 + rescuenamemax];
  size_t f = strlen(folder);
  if (f >= 4096) return false;
  memcpy(path, folder, f);
  int fd = -1;
  for (int n = 1; fd < 0 && n < 100; n++) {
    rescuename(path + f, stem, seconds, n);
    fd = open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0 && errno != EEXIST) return false;
  }
  if (fd < 0) return false;
  bool ok = writetext(fd, d) && fsync(fd) == 0;
  ok = close(fd) == 0 && ok;
  if (!ok) unlink(path);
  return ok;
}

static Kept spare;

void spareopen() {
  if (!kept(spare)) spare = keepfd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

bool sparefree() {
  if (!kept(spare)) return false;  // gone, or its number is a program's file now
  close(spare.fd);
  spare = Kept{};
  return true;
}

Rescued rescuewrite(const char *folder) {
  Rescued r;
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  int64_t seconds = (int64_t)now.tv_sec + zone;
  bool made = false;
  for (const Noted &n : tables[current]) {
    bool unsaved = n.name == scratchname ? lenof(*n.doc) > 0 : isdirty(*n.doc);
    if (!unsaved) continue;
    if (!made) made = makefolder(folder);
    if (made && keep(folder, n.stem.c_str(), seconds, *n.doc)) r.kept++;
    else r.lost++;
  }
  return r;
}

static void say(int count, const char *what, const char *folder) {
  char line[4200];
  char *p = line;
  auto put = [&](const char *s) {
    size_t n = strnlen(s, (size_t)(line + sizeof line - 2 - p));
    memcpy(p, s, n);
    p += n;
  };
  put("tolm: ");
  p = digits(p, count, 1);
  put(what);
  put(folder);
  *p++ = '\n';
  writeall(2, line, (size_t)(p - line));
}

void rescuereport(const Rescued &r, const char *folder) {
  if (r.kept) say(r.kept, " unsaved documents kept in ", folder);
  if (r.lost) say(r.lost, " unsaved documents could not be kept in ", folder);
}
