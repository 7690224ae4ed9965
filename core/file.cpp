// Whole-file helpers and the path functions.
// fileload says when a file cannot be read; the other helpers assume it opens, and callers test
// with fileisplain, fileisdir or filereadable first.
#include "core/file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base.h"

std::string homedir = "/", workdir = "/";

bool fileisdir(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool fileisplain(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool filereadable(const std::string &path) {
  FILE *f = fopen(path.c_str(), "r");
  if (!f) return false;
  fclose(f);
  return true;
}

bool fdload(int fd, std::string &text, uint64_t most) {
  char chunk[65536];
  for (;;) {
    ssize_t n = read(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n == 0) return true;
    if (n > 0 && text.size() + (size_t)n <= most) {
      text.append(chunk, (size_t)n);
      continue;
    }
    if (n > 0) errno = EFBIG;
    std::string().swap(text);
    return false;
  }
}

// The size is asked first, so that a file too large to hold is refused before any of it is read
// and the text is allocated once; a file that grows while it is read is refused when it passes
// the bound all the same.
bool fileload(const std::string &path, std::string &text, uint64_t most) {
  text.clear();
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat st;
  bool ok = fstat(fd, &st) == 0 && (uint64_t)st.st_size <= most;
  if (ok) {
    text.reserve((size_t)st.st_size);
    ok = fdload(fd, text, most);
  }
  close(fd);
  return ok;
}

std::string fileread(const std::string &path) {
  std::string text;
  must(fileload(path, text, ~0ull));
  return text;
}

void filewrite(const std::string &path, const std::string &text) {
  FILE *f = fopen(path.c_str(), "w");
  must(f != nullptr);
  size_t done = 0;
  while (done < text.size()) {
    size_t n = fwrite(text.data() + done, 1, text.size() - done, f);
    must(n > 0);
    done += n;
  }
  must(fclose(f) == 0);
}

// The log goes through here, so a missing /tmp costs the trace and nothing else.
void fileappend(const std::string &path, const std::string &text) {
  int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
  if (fd < 0) return;
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n <= 0) break;
    done += (size_t)n;
  }
  must(close(fd) == 0);
}

Kept keepfd(int fd) {
  struct stat st;
  if (fd < 0 || fstat(fd, &st) != 0) return Kept{};
  return Kept{fd, (uint64_t)st.st_dev, (uint64_t)st.st_ino};
}

bool kept(const Kept &k, uint64_t *links) {
  struct stat st;
  if (k.fd < 0 || fstat(k.fd, &st) != 0 || (uint64_t)st.st_dev != k.dev || (uint64_t)st.st_ino != k.ino) return false;
  if (links) *links = (uint64_t)st.st_nlink;
  return true;
}

std::string filedirof(std::string path) {
  while (!path.empty() && path.back() != '/') path.pop_back();
  return path;
}

// "~/x" goes under homedir, a relative name under workdir.
static std::string expand(const std::string &s) {
  if (s.starts_with("~/")) return homedir + s.substr(2);
  if (!s.starts_with("/")) return workdir + s;
  return s;
}

// Walks the "/"-led segments: "/." goes, "/.." drops the last kept one. False when a "/.." finds
// nothing to drop; the kept segments are joined into out.
static bool walk(const std::string &s, std::string &out) {
  out.clear();
  size_t i = 0;
  while (i < s.size()) {
    size_t j = s.find('/', i + 1);
    if (j == std::string::npos) j = s.size();
    std::string seg = s.substr(i, j - i);
    if (seg == "/..") {
      if (out.empty()) return false;
      out.erase(out.rfind('/'));
    } else if (seg != "/.") {
      out += seg;
    }
    i = j;
  }
  return true;
}

std::string normalpath(const std::string &s) {
  must(!s.empty());
  must(s.back() != '/');
  std::string out;
  return walk(expand(s), out) ? out : "";
}

std::string normaldir(const std::string &s) {
  std::string e = expand(s);
  if (e.back() != '/') e += '/';
  e.pop_back();
  std::string out;
  if (!walk(e, out)) return "";
  return out + "/";
}

std::string normalany(const std::string &s) {
  if (expand(s).ends_with("/")) return normaldir(s);
  return normalpath(s);
}

std::string pretty(const std::string &s) {
  std::string r = normalany(s);
  if (r == "/" || s.ends_with("/./") || s.ends_with("/.")) return r;
  if (s.ends_with("/") && !r.empty()) r.pop_back();
  return r;
}

std::string dirof(const std::string &s) { return filedirof(normalany(s)); }
