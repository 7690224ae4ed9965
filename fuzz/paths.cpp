// The fence of paths in the fuzz build: the libraries' calls of C functions that take a path come
// here (paths.map renames them), and no path reaches a file outside the private folder.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "fuzz/harness.h"

namespace {

std::string root;  // the folder that "/" names

// The real path of a path the libraries give, or "" for one the fence refuses. An absolute path
// is read under the root, with "." and ".." resolved by its text, so that nothing climbs above
// the root; a relative one must be a name in the working directory, where programs run.
std::string fenced(const char *path) {
  if (!path || !*path) return "";
  std::string p = path;
  if (p[0] != '/') return p.find('/') == std::string::npos && p != ".." ? p : "";
  std::vector<std::string> kept;
  for (size_t i = 0; i < p.size();) {
    size_t j = p.find('/', i);
    if (j == std::string::npos) j = p.size();
    std::string seg = p.substr(i, j - i);
    if (seg == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (!seg.empty() && seg != ".") {
      kept.push_back(seg);
    }
    i = j + 1;
  }
  std::string real = root;
  for (const std::string &seg : kept) real += "/" + seg;
  if (p.back() == '/' && !kept.empty()) real += '/';
  return real;
}

template <class T>
T refused(T failure) {
  errno = EACCES;
  return failure;
}

}  // namespace

void pathsinstall(const std::string &folder) { root = folder; }

extern "C" {

int fenced_open(const char *path, int flags, ...) {
  mode_t mode = 0;
  if (flags & (O_CREAT | O_TMPFILE)) {
    va_list args;
    va_start(args, flags);
    mode = (mode_t)va_arg(args, int);
    va_end(args);
  }
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : open(p.c_str(), flags, mode);
}

FILE *fenced_fopen(const char *path, const char *mode) {
  std::string p = fenced(path);
  return p.empty() ? refused<FILE *>(nullptr) : fopen(p.c_str(), mode);
}

int fenced_stat(const char *path, struct stat *st) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : stat(p.c_str(), st);
}

int fenced_lstat(const char *path, struct stat *st) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : lstat(p.c_str(), st);
}

int fenced_access(const char *path, int how) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : access(p.c_str(), how);
}

DIR *fenced_opendir(const char *path) {
  std::string p = fenced(path);
  return p.empty() ? refused<DIR *>(nullptr) : opendir(p.c_str());
}

// Relative to a directory that the fence let open, a plain name of it stays there.
int fenced_fstatat(int dir, const char *path, struct stat *st, int flags) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : fstatat(path[0] == '/' ? AT_FDCWD : dir, p.c_str(), st, flags);
}

int fenced_unlink(const char *path) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : unlink(p.c_str());
}

int fenced_rename(const char *from, const char *to) {
  std::string p = fenced(from), q = fenced(to);
  return p.empty() || q.empty() ? refused(-1) : rename(p.c_str(), q.c_str());
}

int fenced_remove(const char *path) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : remove(p.c_str());
}

int fenced_mkdir(const char *path, mode_t mode) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : mkdir(p.c_str(), mode);
}

int fenced_rmdir(const char *path) {
  std::string p = fenced(path);
  return p.empty() ? refused(-1) : rmdir(p.c_str());
}

// A temporary file would be made in the machine's own folder, and the shell reaches anything.
FILE *fenced_tmpfile() { return refused<FILE *>(nullptr); }
int fenced_system(const char *) { return refused(-1); }

}  // extern "C"
