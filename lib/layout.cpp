// The layout table: each record starts as one anonymous run of its whole size, and each field is
// carved out of the anonymous run that holds it, leaving padding before and after it.
#include "lib/layout.h"

#include <cstddef>
#include <ctime>
#include <netdb.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <vector>

#include "core/base.h"

namespace {
struct Field {
  std::string name;
  size_t size;
};

struct Record {
  std::string name;
  std::vector<Field> items;
};

Record record(const std::string &name, size_t size) { return Record{name, {{"", size}}}; }

void carve(Record &r, const std::string &name, size_t size, size_t offset) {
  size_t start = 0;
  for (size_t i = 0; i < r.items.size(); start += r.items[i].size, i++) {
    if (offset >= start + r.items[i].size) continue;
    must(r.items[i].name.empty());
    must(offset + size <= start + r.items[i].size);
    size_t before = offset - start, after = start + r.items[i].size - offset - size;
    std::vector<Field> parts;
    if (before) parts.push_back({"", before});
    parts.push_back({name, size});
    if (after) parts.push_back({"", after});
    r.items.erase(r.items.begin() + (long)i);
    r.items.insert(r.items.begin() + (long)i, parts.begin(), parts.end());
    return;
  }
  must(false);
}

std::string recordtext(const Record &r) {
  std::string out = "[" + r.name;
  for (const Field &f : r.items) out += "[" + f.name + "[" + std::to_string(f.size) + "]]";
  return out + "]";
}
}  // namespace

#define FIELD(rec, type, field) carve(rec, #field, sizeof(((type *)nullptr)->field), offsetof(type, field))

std::string layouttable() {
  Record ai = record("addrinfo", sizeof(addrinfo));
  FIELD(ai, addrinfo, ai_flags);
  FIELD(ai, addrinfo, ai_family);
  FIELD(ai, addrinfo, ai_socktype);
  FIELD(ai, addrinfo, ai_protocol);
  FIELD(ai, addrinfo, ai_addrlen);
  FIELD(ai, addrinfo, ai_canonname);
  FIELD(ai, addrinfo, ai_addr);
  FIELD(ai, addrinfo, ai_next);
  Record de = record("dirent", sizeof(direntry));
  FIELD(de, direntry, d_ino);
  FIELD(de, direntry, d_off);
  FIELD(de, direntry, d_reclen);
  FIELD(de, direntry, d_namlen);
  FIELD(de, direntry, d_type);
  FIELD(de, direntry, d_name);
  std::string out = "[" + recordtext(ai) + recordtext(de);
  out += recordtext(record("fd_set", sizeof(fd_set))) + recordtext(record("size_t", sizeof(size_t)));
  out += recordtext(record("socklen_t", sizeof(socklen_t))) + recordtext(record("time_t", sizeof(time_t)));
  return out + "]";
}
