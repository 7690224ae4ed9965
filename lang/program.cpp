// Programs: the prelude, loading a text into the definition table, the checks over the whole
// table in their order, and the run of the main expression.
#include "lang/program.h"

#include <cstddef>
#include <ctime>
#include <map>
#include <netdb.h>
#include <optional>
#include <set>
#include <sys/select.h>
#include <sys/socket.h>
#include <vector>

#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/chars.h"
#include "lang/eval.h"
#include "lang/lambda.h"
#include "lang/parse.h"
#include "lang/print.h"
#include "lib/builtins.h"

const char prelude[] =
    ",A\\a\\aS BKK,B\\a\\b\\c\\a b(c),C\\a\\b\\c\\a c b,D\\a\\b\\c\\d\\a b c(d),E\\a\\b\\c\\d\\e\\a b c(d)e,F\\a\\b\\Vb a,G\\a\\VZ BW(BC)DDV(V XJ),H\\a\\I,I\\a\\a,J\\a\\b\\c\\Va b,K\\a\\b\\a,L\\a\\aK K(KH),M\\a\\a a,N\\a\\K,O\\a\\b\\b a(b),P\\a\\a XS I,Q\\a\\aZK,R\\a\\aZH,U\\a\\b\\Ua,S\\a\\b\\c\\a c b(c),T\\a\\b\\b a,V\\a\\b\\c\\c a b,W\\a\\b\\a b b,Z\\a\\Z,X\\a\\b\\c\\d\\Vb a(d)c,Y\\a\\b\\a Ya b,[\\]\\a\\b\\c\\ABCDEFGHIJKLMNOPQRSTUVWXYZ,[{]\\a\\b\\c\\Z,[&]\\q\\r\\q r H,[|]\\q\\r\\qKr,[!]\\VHK,[+]\\plus,[-]\\dash,[*]\\mult,[/]\\over,[%]\\cent,[^]\\powa,[<]\\less,[>]\\gteq,[=]\\same,[#]\\diff,[$]\\buck,[~]\\wave,[.]\\T,[@]\\T,[:]\\I,[?]\\I,[;]\\I,[']\\I,[\"]\\I,[,]\\I";

std::vector<std::pair<size_t, std::string>> pieces(const std::string &text) {
  std::vector<size_t> commas = oppositions(text, ",");
  std::vector<std::pair<size_t, std::string>> out;
  size_t start = 0;
  for (size_t i = 0; i <= commas.size(); i++) {
    size_t end = i < commas.size() ? commas[i] : text.size();
    out.emplace_back(i ? commas[i - 1] : 0, text.substr(start, end - start));
    start = end + 1;
  }
  return out;
}

void preludeload() {
  tablesreset();
  deftable();
  freshnames();
  builtins();
  auto all = pieces(normalise(prelude));
  for (size_t i = 1; i < all.size(); i++) {
    CellRef t = parsetop(all[i].second);
    deftable().insert_or_assign(namecore(celltextof(t->left->right)), CellRef(t->right));
  }
}

static Outcome fails(const std::string &name, int64_t where, const std::string &status,
                     const std::string &message) {
  return Outcome{name, where, status, message};
}

// A built-in's entry: Z inside as many abstractions as it takes, only for its name and arity.
static CellRef builtinstub(int arity) {
  CellRef body("Z");
  for (int i = arity - 1; i >= 0; i--) body = cellpair3(CellRef("\\"), CellRef(std::string(1, (char)('a' + i))), std::move(body));
  return body;
}

std::optional<Definition> definitionof(const CellRef &t) {
  if (!cellispair(t) || isleafcell(t->left) || !leafis(t->left->left, "\\")) return std::nullopt;
  Cell *x = t->left->right;
  bool fresh = !isleafcell(x);
  if (fresh && !leafis(x->right, "}")) return std::nullopt;
  std::string named = celltextof(fresh ? x->left : x);
  if (!isname(named)) return std::nullopt;
  CellRef body(t->right);
  if (fresh) body = cellpair(CellRef("I"), std::move(body));
  return Definition{namecore(named), fresh, std::move(body)};
}

Outcome textload(int64_t base, const std::string &text) {
  std::string error;
  int64_t where = -1;
  if (!matchcheck(text, base, error, where)) return fails("", where, error.substr(0, 5), error);
  for (const auto &[name, row] : builtins()) deftable().insert_or_assign(name, builtinstub(row.arity));
  std::string norm = normalise(text);
  auto all = pieces(norm);
  deftable().insert_or_assign("", parsetop(all[0].second));
  for (size_t i = 1; i < all.size(); i++) {
    std::optional<Definition> d = definitionof(parsetop(all[i].second));
    if (!d) continue;
    const std::string &n = d->name;
    size_t at = all[i].first + 1;
    while (at < norm.size() && norm[at] == ' ') at++;
    if (isvarname(n))
      return fails(n, base + (int64_t)at, "Lower",
                   "Single lowercase letters (" + n + ") cannot be defined as global variables.");
    if (n == "\\" || n == "{" || builtins().count(n))
      return fails(n, base + (int64_t)at, "Built", "Built in function [" + n + "] cannot be re-defined.");
    deftable().insert_or_assign(n, d->body);
    if (d->fresh) freshnames().insert(n);
    else freshnames().erase(n);
  }
  return Outcome();
}

// One record of the layout table: from one anonymous run of the whole size, each field is carved
// out of the anonymous run that holds it, leaving padding before and after it.
namespace {
struct Field {
  std::string name;
  size_t size;
};

struct Record {
  std::string name;
  std::vector<Field> items;
  size_t at = 0;  // offset of the next item while carving
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
  // The directory record is the editor's own, filled by its directory functions.
  Record de = record("dirent", 296);
  carve(de, "d_ino", 4, 0);
  carve(de, "d_off", 4, 4);
  carve(de, "d_reclen", 2, 8);
  carve(de, "d_namlen", 8, 16);
  carve(de, "d_type", 4, 24);
  carve(de, "d_name", 261, 28);
  std::string out = "[" + recordtext(ai) + recordtext(de);
  out += recordtext(record("fd_set", sizeof(fd_set))) + recordtext(record("size_t", sizeof(size_t)));
  out += recordtext(record("socklen_t", sizeof(socklen_t))) + recordtext(record("time_t", sizeof(time_t)));
  return out + "]";
}

// Applies f to every definition in name order, replacing each by what f gives.
template <typename F>
static void eachdef(F f) {
  for (auto &[name, term] : deftable()) term = f(term);
}

static Outcome funky() {
  for (const auto &[name, term] : deftable()) {
    CellRef bad = funkyterm(term);
    if (!cellispair(bad) && celllen(bad) == 0) continue;
    std::string e = swapnewline(termprint(bad));
    std::string where = name.empty() ? "" : " in function " + name;
    return fails(name, -1, "Funky", "Funky key in expression " + e + where + ".");
  }
  return Outcome();
}

std::vector<std::string> refsof(const CellRef &term) {
  std::vector<std::string> out;
  CellRef refs = globalrefs(term);
  for (Cell *c = refs.get(); !isleafcell(c); c = c->right) out.push_back(celltextof(c->left));
  return out;
}

// Every name reachable from the main expression must be defined; the smallest waiting name is
// taken first, and a missing one is reported with the definition that named it.
static Outcome alive() {
  std::map<std::string, std::string> work{{"", "nowhere"}};
  std::set<std::string> seen;
  Defs &defs = deftable();
  while (!work.empty()) {
    auto [m, f] = *work.begin();
    work.erase(work.begin());
    seen.insert(m);
    auto d = defs.find(m);
    if (d == defs.end()) {
      must(defs.count(f));
      std::string by = f.empty() ? "TOP" : f;
      return fails(swapnewline(m), -1, "Alive",
                   "Alive function [" + by + "] references undefined [" + swapnewline(m) + "].");
    }
    for (const std::string &n : refsof(d->second))
      if (!seen.count(n)) work[n] = m;
  }
  return Outcome();
}

// Definitions that name something undefined go, with every definition that names one of them.
static void prune() {
  Defs &defs = deftable();
  std::map<std::string, std::vector<std::string>> referrers;
  std::vector<std::string> todo;
  for (const auto &[name, term] : defs) {
    bool broken = false;
    for (const std::string &n : refsof(term)) {
      referrers[n].push_back(name);
      broken = broken || !defs.count(n);
    }
    if (broken) todo.push_back(name);
  }
  std::set<std::string> gone(todo.begin(), todo.end());
  while (!todo.empty()) {
    std::string n = todo.back();
    todo.pop_back();
    for (const std::string &r : referrers[n])
      if (gone.insert(r).second) todo.push_back(r);
  }
  must(!gone.count(""));
  for (const std::string &n : gone) defs.erase(n);
}

static Outcome places() {
  for (auto &[name, term] : deftable()) {
    auto renamed = wordlocals(name, term);
    if (!renamed)
      return fails(name, -1, "Place", name.empty() ? "Place error." : "Place error in function " + name + ".");
    term = *renamed;
  }
  return Outcome();
}

int paramcount(const CellRef &term) {
  int n = 0;
  for (Cell *d = term.get(); shapeof(d) == 'u'; d = d->right) n++;
  return n;
}

static Outcome arities() {
  for (const auto &[name, term] : deftable()) {
    if (paramcount(term) > 10) return fails(name, -1, "Arity", "Arity of function " + name + " may not exceed ten.");
  }
  return Outcome();
}

void keepvalues() {
  Keep &k = keepset();
  std::vector<Cell *> passing;
  for (size_t i = 0; i < k.members.keys.size(); i++) {
    Cell *member = (Cell *)(uintptr_t)k.members.values[i];
    if (k.members.keys[i] && !isnormal(member)) passing.push_back(member);
  }
  for (Cell *c : passing) keepdrop(k, c);
}

// Equal subterms of all definitions come to share one cell; only values stay in the set.
static void intern() {
  keepset() = Keep();
  eachdef([](const CellRef &t) { return cellkeep(t); });
  keepvalues();
}

static Outcome locals() {
  for (const auto &[name, term] : deftable()) {
    uint32_t s = freeset(term);
    if (!s) continue;
    std::string c(1, (char)('a' + __builtin_ctz(s)));
    std::string message = name.empty() ? "Local variable " + c + " unbound."
                                       : "Local variable " + c + " unbound in function [" + name + "].";
    return fails(name, -1, "Local", message);
  }
  return Outcome();
}

Outcome textcheck() {
  deftable().insert_or_assign("_", CellRef(layouttable()));
  eachdef([](const CellRef &t) { return unquote(t); });
  eachdef([](const CellRef &t) { return unpair(t); });
  Outcome o = funky();
  if (o.status == "Empty") o = alive();
  if (o.status != "Empty") return o;
  prune();
  o = places();
  if (o.status == "Empty") o = arities();
  if (o.status != "Empty") return o;
  intern();
  o = locals();
  if (o.status != "Empty") return o;
  for (const auto &[name, term] : deftable()) sizeup(term);
  return o;
}

Outcome textrun() {
  Defs &defs = deftable();
  auto main = defs.find("_");
  if (main != defs.end()) defs.insert_or_assign("", main->second);
  Outcome o = textcheck();
  if (o.status != "Empty") return o;
  CellRef r = evaluate(defs.at(""));
  unsigned char h = cellhead(r);
  std::string n = h ? celltext(r).substr(1) : "";
  if (h == ')') return fails(n, -1, "Cycle", "Cycle detected on function [" + n + "].");
  if (h == ']')
    return fails(n, -1, "Table",
                 "Table error while dereferencing the [" + n +
                     "] variable. This only occurs when you define a function in a load and use it again outside the load.");
  defs.insert_or_assign("", r);
  return o;
}

CellRef textresult() {
  auto main = deftable().find("");
  must(main != deftable().end());
  return main->second;
}

Outcome runprogram(int64_t base, const std::string &text, std::string &printed) {
  preludeload();
  Outcome o = textload(base, text);
  if (o.status == "Empty") o = textrun();
  printed = o.status == "Empty" ? termprint(textresult()) : o.message;
  return o;
}
