// Whole-file helpers and the path functions over "/"-separated byte strings.
// Files are read and written whole, in place; paths are absolute once normalised.
#pragma once
#include <cstdint>
#include <string>

// The two directories the entry point sets; each ends in "/".
extern std::string homedir, workdir;

bool fileisdir(const std::string &path);
bool fileisplain(const std::string &path);
bool filereadable(const std::string &path);
// The whole file into text, or false with text empty: it cannot be opened, a read fails, or it
// holds more than most bytes. fileread is the same for a file its caller knows can be read.
bool fileload(const std::string &path, std::string &text, uint64_t most);
// What fd gives until its end, appended to text; false with text empty when a read fails, or, with
// errno EFBIG, when text would pass most bytes. A read that fails part way never leaves a part.
bool fdload(int fd, std::string &text, uint64_t most);
std::string fileread(const std::string &path);
void filewrite(const std::string &path, const std::string &text);
void fileappend(const std::string &path, const std::string &text);

// A descriptor the process keeps for itself, with the file it was opened on. A program may close
// any number (closesocket, or fclose of an fdopen) and open a file of its own under it, so the
// keeper asks whether the number still holds its file before it counts on it, and leaves a number
// that does not alone: it is the program's now.
struct Kept {
  int fd = -1;
  uint64_t dev = 0, ino = 0;
};
// fd's file as it is now; an fd below 0, or one that cannot be asked, gives fd -1.
Kept keepfd(int fd);
// Whether k's number still holds its file; safe in a signal handler. links, when given, gets the
// file's count of names.
bool kept(const Kept &k, uint64_t *links = nullptr);

// The directory part of a name with its "/": everything up to and including the last "/".
std::string filedirof(std::string path);
inline std::string dirpart(const std::string &s) { return filedirof(s); }

std::string normalpath(const std::string &s);
std::string normaldir(const std::string &s);
std::string normalany(const std::string &s);
std::string pretty(const std::string &s);
std::string dirof(const std::string &s);
